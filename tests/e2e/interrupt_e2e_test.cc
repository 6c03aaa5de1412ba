// Kills -s runs at random moments, with the store on the sandbox's tmpfs and on
// a disk-backed directory (tests/e2e/interrupt_walk.cc does the killing).
// VANTOR_EXHAUSTIVE=1 makes it 1000 kills per signal instead of 100.
#include <sys/vfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/e2e/sandbox.h"

namespace vt_test {
namespace {

std::string KillsPerSignal() {
  const char* exhaustive = std::getenv("VANTOR_EXHAUSTIVE");
  return exhaustive != nullptr && std::string(exhaustive) == "1" ? "1000" : "100";
}

void Walk(const std::string& diskDirectory) {
  SandboxOptions options;
  options.program = INTERRUPT_WALK_PATH;
  options.args = {VantorctlPath(), KillsPerSignal()};
  if (!diskDirectory.empty()) options.args.push_back(diskDirectory);
  options.timeoutSeconds = 1200;
  const SandboxResult r = RunInSandbox(options);
  std::fputs(r.out.c_str(), stdout);  // the figures
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find(" torn=0, bad status=0,"), std::string::npos);
}

using Interrupt = ::vt_test::SandboxTest;

TEST_F(Interrupt, KilledSetsLeaveTheOldOrTheNewImageOnTmpfs) { Walk(""); }

TEST_F(Interrupt, KilledSetsLeaveTheOldOrTheNewImageOnDisk) {
  std::string dir = std::string(INTERRUPT_DISK_PARENT) + "/interrupt-XXXXXX";
  ASSERT_NE(mkdtemp(dir.data()), nullptr);
  struct statfs fs {};
  ASSERT_EQ(statfs(dir.c_str(), &fs), 0);
  if (fs.f_type == 0x01021994) {  // tmpfs
    (void)rmdir(dir.c_str());
    GTEST_SKIP() << "the build tree is on tmpfs: no disk-backed directory to try";
  }
  Walk(dir);
  EXPECT_EQ(unlink((dir + "/vantorstore").c_str()), 0);
  EXPECT_EQ(rmdir(dir.c_str()), 0) << "the tool left files of its own beside the store";
}

}  // namespace
}  // namespace vt_test
