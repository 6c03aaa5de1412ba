#include "runtime/pidfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "runtime/pidfile_for_testing.h"
#include "runtime/pidfile_writer.h"
#include "tests/support/trace_capture.h"

namespace {

using vt_test::ReadWholeFile;

constexpr char kHelperEnv[] = "VT_PIDFILE_HELPER_PATH";
constexpr int kHelperReplyFd = 3;  // the helper's stdout carries the test framework's own output

class PidFileTest : public ::testing::Test {
 protected:
  void SetUp() override { SetPidFilePathForTesting(path_.c_str()); }
  void TearDown() override { SetPidFilePathForTesting(nullptr); }
  vt_test::TempDir dir_;
  std::string path_ = dir_ / "sensor.pid";
};

// Helper process (this binary re-executed with kHelperEnv set, before the test
// framework starts): acquires the PID file named there, reports "<status>\n" on
// descriptor 3, holds the lock until its stdin closes, then exits without
// removing the file, as a crashed daemon would.
[[maybe_unused]] const bool gRunsAsHelper = [] {
  const char* path = getenv(kHelperEnv);
  if (path == nullptr) {
    return false;
  }
  SetPidFilePathForTesting(path);
  const std::string line = std::to_string(AcquirePidFile()) + "\n";
  if (write(kHelperReplyFd, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    _exit(1);
  }
  char c;
  while (read(STDIN_FILENO, &c, 1) > 0) {
  }
  _exit(0);
}();

TEST_F(PidFileTest, CreateAcquireAndAStaleFile) {  // the helper's lock also shows ours is taken
  if (access("/proc/self/exe", X_OK) != 0) {
    GTEST_SKIP() << "no /proc/self/exe (a plain chroot without /proc?): the test re-runs itself through it";
  }
  ASSERT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_FALSE(PidFileExisted());
  EXPECT_EQ(ReadWholeFile(path_), std::to_string(getpid()) + "\n");
  RemovePidFile();
  EXPECT_NE(access(path_.c_str(), F_OK), 0);

  int in[2], out[2];
  ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);  // out[1] > 3: the dup2 below clears its close-on-exec
  const pid_t helper = fork();
  if (helper == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    dup2(out[1], kHelperReplyFd);
    setenv(kHelperEnv, path_.c_str(), 1);
    execl("/proc/self/exe", "pidfile_test", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  char reply[32] = {};
  ASSERT_GT(read(out[0], reply, sizeof(reply) - 1), 0);
  close(out[0]);
  ASSERT_EQ(std::string(reply), "0\n");  // the helper's AcquirePidFile succeeded
  const std::string helperText = std::to_string(helper) + "\n";
  EXPECT_EQ(AcquirePidFile(), STATUS_UNSUCCESSFUL);  // live owner: refused, file untouched
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadWholeFile(path_), helperText);

  close(in[1]);  // the owner dies without cleaning up: the file is stale and gets replaced
  int wstatus = 0;
  ASSERT_EQ(waitpid(helper, &wstatus, 0), helper);
  EXPECT_EQ(ReadWholeFile(path_), helperText);
  EXPECT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadPidFile(), getpid());
  RemovePidFile();
}

}  // namespace
