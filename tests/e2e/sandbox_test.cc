// The sandbox runner itself: what goes in comes out byte for byte, nothing leaks
// to the real system, and a hung run is cut off.
#include "tests/e2e/sandbox.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>

namespace vt_test {
namespace {

SandboxResult RunSh(const std::string& command, std::vector<SeedFile> files = {}) {
  SandboxOptions options;
  options.program = "/bin/sh";
  options.args = {"-c", command};
  options.files = std::move(files);
  return RunInSandbox(options);
}

TEST(Sandbox, CapturesStreamsAndStatusAsBytes) {
  const SandboxResult r = RunSh("printf 'a\\000b'; printf 'err\\n' >&2; exit 3");
  EXPECT_EQ(r.out, std::string("a\0b", 3));
  EXPECT_EQ(r.err, "err\n");
  EXPECT_EQ(r.exitCode, 3);
}

TEST(Sandbox, SignalDeathIsReportedAs128PlusSignal) {
  const SandboxResult r = RunSh("kill -9 $$");
  EXPECT_EQ(r.exitCode, 128 + 9);
  EXPECT_EQ(r.out, "");
}

TEST(Sandbox, SeedsKeepContentAndModeAndComeBack) {
  const SandboxResult r = RunSh(
      "stat -c '%a' /opt/Marrowlight/vantorstore /var/log/seeded /run/deep/er/file; "
      "cat /opt/Marrowlight/vantorstore; printf new >/var/log/written",
      {{"/opt/Marrowlight/vantorstore", std::string("x\0y", 3), 0640},
       {"/var/log/seeded", "log", 0600},
       {"/run/deep/er/file", "", 0444}});
  EXPECT_EQ(r.out, std::string("640\n600\n444\nx\0y", 15));
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.File("/opt/Marrowlight/vantorstore"), std::string("x\0y", 3));
  EXPECT_EQ(r.File("/var/log/seeded"), "log");
  EXPECT_EQ(r.File("/run/deep/er/file"), "");
  EXPECT_EQ(r.File("/var/log/written"), "new");
  EXPECT_EQ(r.File("/var/log/absent"), std::nullopt);
}

TEST(Sandbox, VendorDirectoryIsCreatedOnlyWhenAsked) {
  SandboxOptions options;
  options.script = "stat -c '%a' /opt/Marrowlight 2>/dev/null || echo missing";
  EXPECT_EQ(RunInSandbox(options).out, "770\n");
  options.createVendorDir = false;
  EXPECT_EQ(RunInSandbox(options).out, "missing\n");
}

TEST(Sandbox, MountsArePrivateTmpfsAndProcessOneIsTheSandbox) {
  const std::string name = "vt_sandbox_probe_" + std::to_string(getpid());
  SandboxOptions options;
  options.script = "for d in /opt /var/log /run; do stat -f -c '%T' $d; done; cat /proc/1/comm; "
                   "touch /opt/" + name + " /var/log/" + name + " /run/" + name;
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, "tmpfs\ntmpfs\ntmpfs\nsh\n");
  EXPECT_TRUE(r.File("/opt/" + name).has_value());
  for (const char* dir : {"/opt/", "/var/log/", "/run/"}) {
    struct stat st {};
    EXPECT_NE(lstat((dir + name).c_str(), &st), 0) << dir << " leaked to the host";
  }
}

TEST(Sandbox, ScriptSeesToolPathEnvironmentAndOut) {
  SandboxOptions options;
  options.env = {"PROBE=it's here"};
  options.script = "printf '%s|%s' \"$VANTORCTL\" \"$PROBE\"; printf kept >\"$OUT/extra\"; "
                   "mkdir \"$OUT/sub\"; printf deeper >\"$OUT/sub/f\"; ln -s /dev/stdout /var/log/link";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, VantorctlPath() + "|it's here");
  ASSERT_FALSE(r.outDir.empty());
  EXPECT_EQ(r.File(r.outDir + "/extra"), "kept");
  EXPECT_EQ(r.File(r.outDir + "/sub/f"), "deeper");
  EXPECT_EQ(r.links.at("/var/log/link"), "/dev/stdout");
  EXPECT_EQ(r.File("/var/log/link"), std::nullopt);
}

TEST(Sandbox, ProcTmpfsHidesTheRealProc) {
  SandboxOptions options;
  options.procTmpfs = true;
  options.files = {{"/proc/vantor_lsm_serviceable/systags", "a,b\n", 0644}};
  options.script = "ls /proc; test -e /proc/1/ns/mnt || echo nons";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, "vantor_lsm_serviceable\nnons\n");
  EXPECT_EQ(r.File("/proc/vantor_lsm_serviceable/systags"), "a,b\n");
}

TEST(Sandbox, HungRunIsKilledAtTheTimeout) {
  SandboxOptions options;
  options.script = "sleep 60";
  options.timeoutSeconds = 1;
  timespec start{};
  clock_gettime(CLOCK_MONOTONIC, &start);
  SandboxResult r;
  EXPECT_NONFATAL_FAILURE(r = RunInSandbox(options), "timed out");
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  EXPECT_LT(end.tv_sec - start.tv_sec, 10);
  EXPECT_EQ(r.exitCode, -1);
}

TEST(Sandbox, ToolBinaryExists) {
  EXPECT_EQ(access(VantorctlPath().c_str(), X_OK), 0) << VantorctlPath();
}

}  // namespace
}  // namespace vt_test
