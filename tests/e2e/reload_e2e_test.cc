// --update through the real binary: the reload signal reaches a fake sensor
// daemon exactly once per calling handler (trace, feature, logcounters), never
// after a refused value, never from other options and never without --update;
// a missing or dead daemon is reported and the run still succeeds.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

const std::string kNoPidFile = std::string("Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: ") +
                               std::strerror(ENOENT) + "\n";

std::string ShellQuote(const std::string& word) {
  std::string quoted = "'";
  for (char ch : word) {
    quoted += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
  }
  return quoted + "'";
}

struct DaemonRun {
  SandboxResult result;
  int hangups = -1;
};

// Starts the fake sensor in the sandbox, waits until it holds the PID file and
// has written its count, runs vantorctl with `args`, then stops the daemon with
// SIGTERM and reads the final SIGHUP count it wrote.
//
// SIGHUP does not queue: signals sent back to back before the daemon runs merge
// into one. The daemon therefore runs at a real-time priority on the same CPU
// as the tool, so each kill() lets it take and count the signal before the tool
// continues to the next one.
DaemonRun RunWithDaemon(const std::vector<std::string>& args) {
  std::string command = "taskset -c 0 \"$VANTORCTL\"";
  for (const std::string& arg : args) {
    command += " " + ShellQuote(arg);
  }
  SandboxOptions options;
  options.files = {StoreSeed(StoreImage())};
  options.env = {std::string("FAKE_SENSOR=") + FAKE_SENSOR_PATH};
  options.script =
      "taskset -c 0 chrt -f 1 \"$FAKE_SENSOR\" \"$OUT/count\" >\"$OUT/daemon.log\" 2>&1 &\n"
      "daemon=$!\n"
      "n=0\n"
      "while [ ! -s \"$OUT/count\" ] || [ ! -s /var/run/vantor-sensor.pid ]; do\n"
      "  n=$((n + 1)); if [ $n -gt 1000 ]; then echo 'fake sensor did not start' >&2; exit 99; fi\n"
      "  sleep 0.01\n"
      "done\n" +
      command +
      "\n"
      "rc=$?\n"
      "kill -TERM $daemon\n"
      "wait $daemon\n"
      "exit $rc\n";
  DaemonRun run{RunInSandbox(options)};
  const std::optional<std::string> count = run.result.File(run.result.outDir + "/count");
  EXPECT_TRUE(count.has_value()) << "no count file from the fake sensor";
  if (count.has_value() && !count->empty()) {
    run.hangups = std::stoi(*count);
  }
  return run;
}

const char kReminder[] =
    "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging, \n"
    "          when you are done collecting telemetry data.\n";

TEST(ReloadWithDaemonE2E, OneSignalPerCallingHandler) {
  const struct {
    const char* name;
    std::vector<std::string> args;
    std::string out;
    int exitCode;
    int hangups;
  } cases[] = {
      {"trace with update", {"-s", "--trace=info", "--update"}, "\n", 0, 1},
      {"trace verbose with update", {"-s", "-v", "--trace=info", "--update"}, "trace=info, \n", 0, 1},
      {"trace without update", {"-s", "--trace=info"}, "\n", 0, 0},
      {"update alone", {"-s", "--update"}, "\n", 0, 0},
      {"refused trace", {"-s", "--trace=INFO", "--update"}, "\n", 1, 0},
      {"feature and logcounters", {"-s", "--feature=enableLog", "--logcounters=true", "--update"},
       std::string(kReminder) + "\n", 0, 2},
      {"trace, feature and logcounters",
       {"-s", "--trace=info", "--feature=enableLog", "--logcounters=true", "--update"},
       std::string(kReminder) + "\n", 0, 3},
      {"refused feature word", {"-s", "--feature=bogusWord", "--update"}, "\n", 1, 0},
      {"options that never signal",
       {"-s", "--metadata-query=enableAWS", "--tags=lab", "--loginterval=60", "--logduration=3600", "--update"}, "\n",
       0, 0},
      {"settings of this unit never signal",
       {"-s", "--apd=true", "--aph=proxy", "--app=3128", "--pcpt=ipv4", "--backend=bpf", "--billing=metered",
        "--fkm=false", "--update"},
       "\n", 0, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const DaemonRun run = RunWithDaemon(c.args);
    EXPECT_EQ(run.result.out, c.out);
    EXPECT_EQ(run.result.exitCode, c.exitCode) << run.result.err;
    if (c.exitCode == 0) {
      EXPECT_EQ(run.result.err, "");
    }
    EXPECT_EQ(run.hangups, c.hangups);
  }
}

TEST(ReloadE2E, MissingSensorIsReportedAndTheRunSucceeds) {
  const OptionCase cases[] = {
      {"no PID file", StoreImage(), {"-s", "--trace=info", "--update"}, "\n", kNoPidFile, 0, {{"TRACE", "info"}}},
      {"verbose: update is counted but prints nothing", StoreImage(), {"-s", "-v", "--trace=info", "--update"},
       "trace=info, \n", kNoPidFile, 0, {{"TRACE", "info"}}},
      {"update alone sends nothing", StoreImage(), {"-s", "--update"}, "\n", "", 0, {}, true},
      {"refused value sends nothing", StoreImage(), {"-s", "--trace=INFO", "--update"}, "\n",
       HandlerFailure("not a valid trace option: INFO\n", "trace"), 1, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(ReloadE2E, DeadSensorProcessIsReported) {
  // The sandbox has its own PID namespace, so no process 4000 exists there.
  SandboxOptions options;
  options.files = {StoreSeed(StoreImage())};
  options.script = "printf '4000\\n' >/var/run/vantor-sensor.pid\n"
                   "\"$VANTORCTL\" -s --trace=warn --update\n";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, "\n");
  EXPECT_EQ(r.err, std::string("Failed to send SIGHUP to vantor process (PID 4000): ") + std::strerror(ESRCH) + "\n");
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(StoreAfter(r).Get("TRACE"), "warn");
}

}  // namespace
}  // namespace vt_test
