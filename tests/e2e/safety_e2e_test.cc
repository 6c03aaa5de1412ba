// The tool runs as root beside a daemon and on disks that fail. These runs plant
// hostile files and inject failing system calls (through strace) and check that
// nothing but the sensor gets a signal, nothing is written through a link or
// into a special file, a fault never costs the registry or the store, and the
// exit status says so whenever a value or an output was lost.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"
#include "tests/support/registry_image.h"

namespace vt_test {
namespace {

constexpr char kPidFile[] = "/var/run/vantor-sensor.pid";
constexpr char kLog[] = "/var/log/vantorctl.log";
constexpr char kNoStore[] = "ERROR: unable to initialize simple store\n";
const std::string kPidFailure = std::string("Failed to get vantor PID from PID file ") + kPidFile + ": ";

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

bool HaveStrace() { return std::system("strace -V >/dev/null 2>&1") == 0; }

// Shell words that start a traced run. The leak checker of a sanitizer build
// cannot work under ptrace, so it is turned off for these runs.
constexpr char kStrace[] =
    "ASAN_OPTIONS=\"${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0\" strace -f -qq -o /dev/null ";

// A registry with tags 0 and 7 and a damaged tail: the load keeps the tags and
// rewrites the file without the tail, so every --systags run on it flushes.
const std::string kTagged = Registry(Bitmap({{0, 0x01}}), {7});
const std::string kDamaged = kTagged + "\x7f\x01";

// ---- The reload signal ----

struct PidCase {
  std::string name;
  std::string pidText;  // shell words giving the PID file's content; $daemon is the fake sensor's PID
  bool daemonHoldsLock;
  std::string err;      // with "$sleeper" standing for the stray process's PID
  int hangups;
};

using SafetyE2e = ::vt_test::SandboxTest;

TEST_F(SafetyE2e, TheReloadSignalReachesOnlyTheLockHoldingSensor) {
  const std::string range = kPidFailure + std::strerror(ERANGE) + "\n";
  const std::vector<PidCase> cases = {
      // Process 1 of the sandbox ignores SIGHUP from inside its namespace.
      {"PID 1 is a PID", "1", true, "", 0},
      {"the daemon itself", "$daemon", true, "", 1},
      {"2^31", "2147483648", true, range, 0},
      {"2^32 - 1", "4294967295", true, range, 0},
      {"2^32, the process group", "4294967296", true, range, 0},
      {"2^32 + the daemon", "$((4294967296 + daemon))", true, range, 0},
      {"pid_max + 1", "$(( $(cat /proc/sys/kernel/pid_max) + 1 ))", true, range, 0},
      // The file is left behind by a dead daemon and names a live stray process.
      {"stale, live stray process", "$sleeper", false,
       std::string("Failed to send SIGHUP to vantor process (PID $sleeper): ") + std::strerror(ESRCH) + "\n", 0},
  };
  for (const PidCase& c : cases) {
    SCOPED_TRACE(c.name);
    SandboxOptions options;
    options.files = {StoreSeed(StoreImage())};
    options.env = {std::string("FAKE_SENSOR=") + FAKE_SENSOR_PATH};
    // The daemon writes its PID file under its lock; the test rewrites the same
    // inode in place, so the lock stays. Without the lock the daemon is gone.
    options.script =
        "sleep 300 & sleeper=$!; echo $sleeper >\"$OUT/sleeper\"\n"
        "\"$FAKE_SENSOR\" \"$OUT/count\" >\"$OUT/daemon.log\" 2>&1 & daemon=$!; n=0\n"
        "while [ ! -s \"$OUT/count\" ]; do n=$((n + 1))\n"
        "  if [ $n -gt 1000 ]; then echo 'fake sensor did not start' >&2; exit 99; fi; sleep 0.01\n"
        "done\n" +
        std::string(c.daemonHoldsLock ? "" : "kill -TERM $daemon; wait $daemon\n") + "printf '%s\\n' " +
        c.pidText + " >" + kPidFile +
        "\ntimeout 5 \"$VANTORCTL\" -s --trace=info --update; rc=$?\n"
        "sleep 0.1; kill -0 $sleeper && echo alive >\"$OUT/stray\"\n"
        "if kill -TERM $daemon 2>/dev/null; then wait $daemon; fi; exit $rc\n";
    const SandboxResult r = RunInSandbox(options);
    std::string err = c.err;
    const std::string sleeper = r.File(r.outDir + "/sleeper").value_or("?\n");
    if (const auto at = err.find("$sleeper"); at != std::string::npos) {
      err.replace(at, 8, sleeper.substr(0, sleeper.size() - 1));
    }
    ExpectRun(r, "\n", err, 0);
    EXPECT_EQ(r.File(r.outDir + "/count"), std::to_string(c.hangups) + "\n");
    EXPECT_EQ(r.File(r.outDir + "/stray"), "alive\n") << "the stray process was signalled";
    EXPECT_EQ(StoreAfter(r).Get("TRACE"), "info");
  }
}

// A PID file that is a FIFO or a link is refused at once, without blocking.
TEST_F(SafetyE2e, APidFileThatIsNoRegularFileIsRefusedWithoutBlocking) {
  for (const std::string plant : {"mkfifo /var/run/vantor-sensor.pid",
                                  "echo 1 >/run/elsewhere; ln -s /run/elsewhere /var/run/vantor-sensor.pid"}) {
    SCOPED_TRACE(plant);
    SandboxOptions options;
    options.files = {StoreSeed(StoreImage())};
    options.script = plant + "\ntimeout 5 \"$VANTORCTL\" -s --trace=info --update\n";
    const SandboxResult r = RunInSandbox(options);
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, "\n");
    EXPECT_TRUE(r.err.starts_with(kPidFailure)) << r.err;
  }
}

// ---- Planted links and special files ----

struct Planted {
  std::string path;
  std::string out;  // what -g --systags gives with that path refused
  std::string err;
  int exitCode;
};

// At each path the tool opens: a link to a file, a link to nothing, a FIFO and a
// directory. The link's target and the place a dangling link names must stay as
// they were, and no run may block.
TEST_F(SafetyE2e, NoFileIsOpenedThroughALinkOrAsASpecialFile) {
  const std::string systagsFailed = HandlerFailure("Could not read systags\n", "systags");
  const std::vector<Planted> paths = {
      {kStorePath, "\n", kNoStore, 1},
      {kRegistryPath, "\n", systagsFailed, 1},
      // The stale temporary entry is removed and the flush goes on.
      {std::string(kRegistryPath) + ".tmp", "0\n7\n\n", "", 0},
      // The log is refused; the run is unchanged.
      {kLog, "0\n7\n\n", "", 0},
  };
  const struct {
    const char* name;
    const char* make;  // shell, with $P the planted path
  } kinds[] = {
      {"link", "ln -s /run/target \"$P\""},
      {"dangling link", "ln -s /run/nothing \"$P\""},
      {"FIFO", "mkfifo \"$P\""},
      {"directory", "mkdir \"$P\""},
  };
  for (const Planted& p : paths) {
    for (const auto& kind : kinds) {
      SCOPED_TRACE(p.path + ": " + kind.name);
      const bool directoryAtTemp = p.path.ends_with(".tmp") && std::string(kind.name) == "directory";
      const bool registryRefused = p.path == kRegistryPath;
      SandboxOptions options;
      options.files = {{"/run/target", "precious\n"}};
      if (p.path != kStorePath) {
        options.files.push_back(StoreSeed(StoreImage().Add("CU", "x")));
      }
      if (!registryRefused) {
        options.files.push_back({kRegistryPath, kDamaged});
      }
      options.script = std::string("P='") + p.path + "'; " + kind.make + "\ntimeout 5 \"$VANTORCTL\" -g --systags\n";
      const SandboxResult r = RunInSandbox(options);
      // A directory at the temporary path makes the flush fail: the tags are
      // still printed, and the registry is kept as it was.
      ExpectRun(r, p.out, p.err, p.exitCode);
      EXPECT_EQ(r.File("/run/target"), "precious\n");
      EXPECT_EQ(r.File("/run/nothing"), std::nullopt);
      if (registryRefused) {
        EXPECT_EQ(r.File(kRegistryPath), std::nullopt);
      } else if (p.path != kStorePath) {
        EXPECT_EQ(r.File(kRegistryPath), directoryAtTemp ? kDamaged : kTagged);
      }
      if (p.path == kStorePath) {
        EXPECT_FALSE(r.File(kStorePath).has_value());
      } else {
        EXPECT_EQ(StoreAfter(r).Get("CU"), "x");
      }
    }
  }
}

// ---- Faults ----

// Runs `command` (shell, after the seeding) in the sandbox and returns the run.
SandboxResult RunScript(std::vector<SeedFile> files, const std::string& command, int timeoutSeconds = 60) {
  SandboxOptions options;
  options.files = std::move(files);
  options.script = command;
  options.timeoutSeconds = timeoutSeconds;
  return RunInSandbox(options);
}

TEST_F(SafetyE2e, AFaultNeverCostsTheRegistry) {
  if (!HaveStrace()) {
    GTEST_SKIP() << "strace is not installed";
  }
  // Every read of the registry file fails: the query fails and the file,
  // though it has a damaged tail, is never rewritten.
  SandboxResult r = RunScript(
      {{kRegistryPath, kDamaged}},
      std::string(kStrace) + "-P /opt/Marrowlight/Registry.bin -e trace=read,pread64 "
      "-e inject=read,pread64:error=EIO \"$VANTORCTL\" -g --systags");
  ExpectRun(r, "\n", HandlerFailure("Could not read systags\n", "systags"), 1);
  EXPECT_EQ(r.File(kRegistryPath), kDamaged);

  // A full disk: the repair cannot be written, the tags are still printed and
  // Registry.bin stays as it was.
  r = RunScript({{"/opt/seed/Registry.bin", kDamaged}, {"/opt/seed/vantorstore", StoreImage().bytes()}},
                "mount -t tmpfs -o size=16k tmpfs /opt/Marrowlight && cp -a /opt/seed/. /opt/Marrowlight/ && "
                "{ dd if=/dev/zero of=/opt/Marrowlight/fill bs=1k 2>/dev/null; [ $? -ne 0 ]; } && "
                "rm -r /opt/seed && \"$VANTORCTL\" -g --systags");
  ExpectRun(r, "0\n7\n\n", "", 0);
  EXPECT_EQ(r.File(kRegistryPath), kDamaged);
  EXPECT_EQ(r.File(std::string(kRegistryPath) + ".tmp"), std::nullopt);
  EXPECT_TRUE(Contains(r.File(kLog).value_or(""), "No space left on device")) << r.File(kLog).value_or("");
}

TEST_F(SafetyE2e, TheExitStatusSaysWhenAnOutputOrAValueWasLost) {
  const StoreImage withCid = StoreImage().Add("CU", std::string(16, '\x11'));
  // Standard output cannot be written, or is closed.
  for (const auto& [redirect, errnoValue] : {std::pair{">/dev/full", ENOSPC}, std::pair{">&-", EBADF}}) {
    SCOPED_TRACE(redirect);
    const SandboxResult r = RunScript({StoreSeed(withCid)}, std::string("\"$VANTORCTL\" -g --cid ") + redirect);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err, std::string("vantorctl: write error: ") + std::strerror(errnoValue) + "\n");
  }

  if (!HaveStrace()) {
    GTEST_SKIP() << "strace is not installed";
  }
  // Every flock is refused: nothing is written unlocked.
  SandboxResult r = RunScript({StoreSeed(withCid)},
                              std::string(kStrace) + "-e trace=flock -e inject=flock:error=ENOLCK "
                              "\"$VANTORCTL\" -s --trace=warn");
  ExpectRun(r, "\n", kNoStore, 1);
  EXPECT_TRUE(r.File(kStorePath) == withCid.bytes()) << "store changed";

  // The repair of a 5-byte store cannot write (or seek): the file stays as it
  // was and the run fails; the next run finds the same damage.
  r = RunScript({{kStorePath, "12345"}},
                std::string(kStrace) + "-P /opt/Marrowlight/vantorstore -e trace=write,pwrite64,lseek "
                "-e inject=write,pwrite64,lseek:error=EIO \"$VANTORCTL\" -s --trace=warn");
  ExpectRun(r, "\n", kNoStore, 1);
  EXPECT_EQ(r.File(kStorePath), "12345");
}

// Another process holds the store's lock for longer than the 10 s bound: the
// run gives up after the bound, fails and leaves the store alone.
TEST_F(SafetyE2e, ALockHeldElsewhereIsWaitedForTenSecondsAtMost) {
  const StoreImage seed = StoreImage().Add("TRACE", "info");
  const SandboxResult r = RunScript(
      {StoreSeed(seed)},
      "flock -s /opt/Marrowlight/vantorstore sleep 16 & holder=$!; sleep 0.5\n"
      "start=$(date +%s%N); \"$VANTORCTL\" -s --trace=warn; rc=$?; end=$(date +%s%N)\n"
      "echo $(( (end - start) / 1000000 )) >\"$OUT/ms\"; kill $holder; exit $rc",
      40);
  ExpectRun(r, "\n", kNoStore, 1);
  EXPECT_TRUE(r.File(kStorePath) == seed.bytes()) << "store changed";
  const int ms = std::stoi(r.File(r.outDir + "/ms").value_or("0"));
  EXPECT_GE(ms, 9900);
  EXPECT_LT(ms, 15000);
  EXPECT_TRUE(Contains(r.File(kLog).value_or(""),
                       "The store is locked by another process; gave up after 10 seconds"));
}

// A namespaced run logs to its own standard output. Sent to a regular file, the
// result line follows the log lines instead of overwriting them.
TEST_F(SafetyE2e, ANamespacedRunKeepsItsLogAndItsResultInOneFile) {
  const SandboxResult r = RunScript(
      {{kStorePath, "12345"}},
      "unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && "
      "\"$VANTORCTL\" -s -v --apd=true >\"$OUT/result\"'");
  EXPECT_EQ(r.exitCode, 0) << r.err;
  const std::string result = r.File(r.outDir + "/result").value_or("");
  EXPECT_TRUE(Contains(result, "Invalid file /opt/Marrowlight/vantorstore length: 5")) << result;
  EXPECT_TRUE(result.ends_with("]\napd=TRUE.\n")) << result;
}

}  // namespace
}  // namespace vt_test
