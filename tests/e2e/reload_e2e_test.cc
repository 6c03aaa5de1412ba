// --update through the real binary: the reload signal reaches a fake sensor
// daemon exactly once per calling handler (trace, feature, logcounters), never
// after a refused value, never from other options and never without --update;
// a missing, bad or dead PID is reported and the run still succeeds.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

const std::string kPidFailure = "Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: ";

// Starts the fake sensor in the sandbox, waits until it holds the PID file and
// has written its count, runs vantorctl with `args`, then stops the daemon with
// SIGTERM. Returns the run and the daemon's final SIGHUP count (-1 if none).
//
// SIGHUP does not queue: signals sent back to back before the daemon runs merge
// into one. The daemon therefore runs at a real-time priority on the same CPU
// as the tool, so each kill() lets it take and count the signal before the tool
// continues to the next one.
std::pair<SandboxResult, int> RunWithDaemon(const std::vector<std::string>& args) {
  std::string command = "taskset -c 0 \"$VANTORCTL\"";
  for (const std::string& arg : args) {
    command += " '" + arg + "'";  // the arguments below hold no quote
  }
  SandboxOptions options;
  options.files = {StoreSeed(StoreImage())};
  options.env = {std::string("FAKE_SENSOR=") + FAKE_SENSOR_PATH};
  options.script = "taskset -c 0 chrt -f 1 \"$FAKE_SENSOR\" \"$OUT/count\" >\"$OUT/daemon.log\" 2>&1 & daemon=$!; n=0\n"
                 "while [ ! -s \"$OUT/count\" ] || [ ! -s /var/run/vantor-sensor.pid ]; do n=$((n + 1))\n"
                 "  if [ $n -gt 1000 ]; then echo 'fake sensor did not start' >&2; exit 99; fi; sleep 0.01\n"
                 "done\n" + command + "\nrc=$?; kill -TERM $daemon; wait $daemon; exit $rc\n";
  SandboxResult result = RunInSandbox(options);
  const std::optional<std::string> count = result.File(result.outDir + "/count");
  EXPECT_TRUE(count.has_value() && !count->empty()) << "no count file from the fake sensor";
  const int hangups = count.has_value() && !count->empty() ? std::stoi(*count) : -1;
  return {std::move(result), hangups};
}

using ReloadE2E = ::vt_test::SandboxTest;

TEST_F(ReloadE2E, OneSignalPerCallingHandler) {
  const struct {
    std::vector<std::string> args;
    std::string out;
    int exitCode;
    int hangups;
  } cases[] = {
      // update is counted in `remaining` but prints nothing, hence the ", ".
      {{"-s", "-v", "--trace=info", "--update"}, "trace=info, \n", 0, 1},
      {{"-s", "--trace=info"}, "\n", 0, 0},
      {{"-s", "--update"}, "\n", 0, 0},
      {{"-s", "--trace=INFO", "--update"}, "\n", 1, 0},
      {{"-s", "--feature=bogusWord", "--update"}, "\n", 1, 0},
      {{"-s", "--feature=enableLog", "--logcounters=true", "--update"}, std::string(kReminder) + "\n", 0, 2},
      {{"-s", "--trace=info", "--feature=enableLog", "--logcounters=true", "--update"}, std::string(kReminder) + "\n",
       0, 3},
      {{"-s", "--metadata-query=enableAWS", "--tags=lab", "--loginterval=60", "--logduration=3600", "--update"}, "\n",
       0, 0},
      {{"-s", "--apd=true", "--aph=proxy", "--app=3128", "--pcpt=ipv4", "--backend=bpf", "--billing=metered",
        "--fkm=false", "--update"},
       "\n", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[1] + " ... " + c.args.back());
    const auto [run, hangups] = RunWithDaemon(c.args);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
    EXPECT_EQ(run.err.empty(), c.exitCode == 0) << run.err;
    EXPECT_EQ(hangups, c.hangups);
  }
}

TEST_F(ReloadE2E, MissingBadOrDeadSensorIsReportedAndTheRunSucceeds) {
  ExpectCases({{"no PID file", StoreImage(), {"-s", "--trace=info", "--update"}, "\n",
                kPidFailure + std::strerror(ENOENT) + "\n", 0, {{"TRACE", "info"}}}});
  // The sandbox has its own PID namespace, so no process 4000 exists there.
  for (const auto& [pid, err] :
       {std::pair{"0", kPidFailure + std::strerror(ERANGE) + "\n"},
        std::pair{"4000", std::string("Failed to send SIGHUP to vantor process (PID 4000): ") + std::strerror(ESRCH) +
                              "\n"}}) {
    SCOPED_TRACE(pid);
    SandboxOptions options;
    options.files = {StoreSeed(StoreImage())};
    options.script =
        std::string("printf '") + pid + "\\n' >/var/run/vantor-sensor.pid\n\"$VANTORCTL\" -s --trace=warn --update\n";
    const SandboxResult r = RunInSandbox(options);
    ExpectRun(r, "\n", err, 0);
    EXPECT_EQ(StoreAfter(r).Get("TRACE"), "warn");
  }
}

}  // namespace
}  // namespace vt_test
