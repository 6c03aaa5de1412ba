#include "runtime/pidfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "runtime/trace_capture.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;
using vt_test::ReadWholeFile;

constexpr char kHelperEnv[] = "VT_PIDFILE_HELPER_PATH";
constexpr int kHelperReplyFd = 3;  // the helper's stdout carries the test framework's own output

class PidFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.path().empty());
    path_ = dir_ / "sensor.pid";
    SetPidFilePathForTesting(path_.c_str());
    (void)LogMark();
  }
  void TearDown() override { SetPidFilePathForTesting(nullptr); }
  vt_test::TempDir dir_;
  std::string path_;
};

TEST_F(PidFileTest, ReadParsesTheFirstFourteenBytes) {
  for (const auto& [content, result, expectedLog] :  // content null: no file; expectedLog "" for none
       {std::tuple{static_cast<const char*>(nullptr), -2, "Error opening PID file: ERRNO=2 ("},
        {"0\n", -34, "Invalid PID: 0"},
        {"-5\n", -34, "Invalid PID: -5"},
        {"pid\n", -34, "Invalid PID: 0"},
        {"  +77\n", 77, ""},
        {"00000000000001234", 1, ""}}) {  // only "00000000000001" is read
    unlink(path_.c_str());
    if (content != nullptr) {
      const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
      ASSERT_EQ(write(fd, content, std::strlen(content)), static_cast<ssize_t>(std::strlen(content)));
      close(fd);
    }
    const auto mark = LogMark();
    EXPECT_EQ(ReadPidFile(), result) << (content ? content : "(none)");
    const std::string log = LogSince(mark);
    EXPECT_TRUE(*expectedLog == '\0' ? log.empty() : log.find(expectedLog) != std::string::npos) << log;
  }
}

TEST(PidFileFormat, BoundedFormatterCutsAndReports) {
  char buf[kPidTextSize];
  std::size_t length = 99;
  // 13 characters fit a 14-byte buffer, 14 do not.
  EXPECT_EQ(TvFormatString(buf, sizeof(buf), &length, "%s", "123456789012\n"), STATUS_SUCCESS);
  EXPECT_EQ(length, 13u);
  EXPECT_EQ(TvFormatString(buf, sizeof(buf), &length, "%d%s", 1234567890, "123\n"), STATUS_BUFFER_OVERFLOW);
  EXPECT_EQ(length, 13u);
  EXPECT_EQ(std::string(buf), "1234567890123");
  EXPECT_EQ(TvFormatString(buf, 0, &length, "%d", 1), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(length, 0u);
}

// True when another open file description can take the lock, i.e. nobody holds it.
bool LockIsFree(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const bool free = fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0;
  close(fd);
  return free;
}

// Helper process: re-run of this binary that acquires the PID file named in the
// environment, reports "<status>\n" on descriptor 3 and holds the lock until its stdin
// closes, then exits without removing the file, as a crashed daemon would.
TEST(PidFileHelper, HoldLock) {
  const char* path = getenv(kHelperEnv);
  if (path == nullptr) {
    GTEST_SKIP() << "runs only as the helper process of PidFileTest";
  }
  SetPidFilePathForTesting(path);
  const std::string line = std::to_string(AcquirePidFile()) + "\n";
  ASSERT_EQ(write(kHelperReplyFd, line.data(), line.size()), static_cast<ssize_t>(line.size()));
  char c;
  while (read(STDIN_FILENO, &c, 1) > 0) {
  }
  _exit(0);
}

TEST_F(PidFileTest, CreateAcquireAndAStaleFile) {
  // No file: created 0600 with our PID and locked; a second create is refused.
  ASSERT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_FALSE(PidFileExisted());
  const std::string mine = std::to_string(getpid()) + "\n";
  EXPECT_EQ(ReadWholeFile(path_), mine);
  struct stat st {};
  ASSERT_EQ(stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_FALSE(LockIsFree(path_));
  EXPECT_EQ(CreatePidFile(), STATUS_ALREADY_EXISTS_PIDFILE);
  EXPECT_EQ(ReadWholeFile(path_), mine);
  RemovePidFile();
  EXPECT_NE(access(path_.c_str(), F_OK), 0);

  // A second process (this binary re-executed) takes the file and holds its lock.
  int in[2], out[2];
  ASSERT_EQ(pipe2(in, O_CLOEXEC), 0);
  ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);  // out[1] > 3: the dup2 below clears its close-on-exec
  const pid_t helper = fork();
  if (helper == 0) {
    dup2(in[0], STDIN_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    dup2(out[1], kHelperReplyFd);
    setenv(kHelperEnv, path_.c_str(), 1);
    execl("/proc/self/exe", "pidfile_test", "--gtest_filter=PidFileHelper.HoldLock", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  char reply[32] = {};
  ASSERT_GT(read(out[0], reply, sizeof(reply) - 1), 0);
  close(out[0]);
  ASSERT_EQ(std::string(reply), "0\n");  // the helper's AcquirePidFile succeeded
  const std::string helperText = std::to_string(helper) + "\n";

  // Live owner: refused, file untouched.
  EXPECT_EQ(AcquirePidFile(), STATUS_UNSUCCESSFUL);
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadWholeFile(path_), helperText);

  // The owner dies without cleaning up: the file is stale and gets replaced.
  close(in[1]);
  int wstatus = 0;
  ASSERT_EQ(waitpid(helper, &wstatus, 0), helper);
  EXPECT_TRUE(WIFEXITED(wstatus) && WEXITSTATUS(wstatus) == 0);
  EXPECT_EQ(ReadWholeFile(path_), helperText);
  EXPECT_TRUE(LockIsFree(path_));
  EXPECT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadPidFile(), getpid());
  EXPECT_FALSE(LockIsFree(path_));
  RemovePidFile();
}

}  // namespace
