#include "runtime/pidfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "runtime/trace_capture.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;
using vt_test::ReadWholeFile;

constexpr char kHelperEnv[] = "VT_PIDFILE_HELPER_PATH";
constexpr int kHelperReplyFd = 3;  // the helper's stdout carries the test framework's own output

void WriteRaw(const std::string& path, const std::string& text) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(fd);
}

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
  struct Case {
    const char* content;  // null: no file
    std::int32_t result;
    const char* log;  // expected log text, "" for none
  };
  const Case cases[] = {
      {nullptr, -2, "Error opening PID file: ERRNO=2 ("},
      {"0\n", -34, "Invalid PID: 0"},
      {"-5\n", -34, "Invalid PID: -5"},
      {"", -34, "Invalid PID: 0"},
      {"pid\n", -34, "Invalid PID: 0"},
      {"1234\n", 1234, ""},
      {"1234", 1234, ""},
      {"  +77\n", 77, ""},
      {"00000000000001234", 1, ""},  // only "00000000000001" is read
  };
  for (const Case& c : cases) {
    unlink(path_.c_str());
    if (c.content != nullptr) {
      WriteRaw(path_, c.content);
    }
    const auto mark = LogMark();
    EXPECT_EQ(ReadPidFile(), c.result) << (c.content ? c.content : "(none)");
    const std::string log = LogSince(mark);
    if (*c.log == '\0') {
      EXPECT_EQ(log, "");
    } else {
      EXPECT_NE(log.find(c.log), std::string::npos) << log;
    }
  }
}

TEST(PidFileFormat, BoundedFormatterCutsAndReports) {
  char buf[kPidTextSize];
  std::size_t length = 99;
  EXPECT_EQ(TvFormatString(buf, sizeof(buf), &length, "%d\n", 1234), STATUS_SUCCESS);
  EXPECT_EQ(std::string(buf), "1234\n");
  EXPECT_EQ(length, 5u);
  // 13 characters fit a 14-byte buffer, 14 do not.
  EXPECT_EQ(TvFormatString(buf, sizeof(buf), &length, "%s", "123456789012\n"), STATUS_SUCCESS);
  EXPECT_EQ(length, 13u);
  EXPECT_EQ(TvFormatString(buf, sizeof(buf), &length, "%s", "1234567890123\n"), STATUS_BUFFER_OVERFLOW);
  EXPECT_FALSE(NT_SUCCESS(STATUS_BUFFER_OVERFLOW));
  EXPECT_EQ(length, 13u);
  EXPECT_EQ(std::string(buf), "1234567890123");
  EXPECT_EQ(TvFormatString(buf, 0, &length, "%d", 1), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(length, 0u);
}

// True when another open file description can take the lock, i.e. nobody holds it.
bool LockIsFree(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    return false;
  }
  const bool free = flock(fd, LOCK_EX | LOCK_NB) == 0;
  close(fd);
  return free;
}

TEST_F(PidFileTest, CreateLocksAndRemoveReleases) {
  ASSERT_EQ(CreatePidFile(), STATUS_SUCCESS);
  const std::string mine = std::to_string(getpid()) + "\n";
  EXPECT_EQ(ReadWholeFile(path_), mine);
  EXPECT_EQ(ReadPidFile(), getpid());
  struct stat st {};
  ASSERT_EQ(stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_FALSE(LockIsFree(path_));

  auto mark = LogMark();
  EXPECT_EQ(CreatePidFile(), STATUS_ALREADY_EXISTS_PIDFILE);
  EXPECT_NE(LogSince(mark).find("PID file already exists, not writing: ERRNO=17"), std::string::npos);
  EXPECT_EQ(ReadWholeFile(path_), mine);

  RemovePidFile();
  EXPECT_NE(access(path_.c_str(), F_OK), 0);
  mark = LogMark();
  RemovePidFile();
  EXPECT_NE(LogSince(mark).find("PID file doesn't exist, not removing"), std::string::npos);

  EXPECT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_FALSE(PidFileExisted());
  EXPECT_EQ(ReadPidFile(), getpid());
  RemovePidFile();
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
  const NTSTATUS status = AcquirePidFile();
  const std::string line = std::to_string(status) + "\n";
  ASSERT_EQ(write(kHelperReplyFd, line.data(), line.size()), static_cast<ssize_t>(line.size()));
  char c;
  while (read(STDIN_FILENO, &c, 1) > 0) {
  }
  _exit(0);
}

struct Helper {
  pid_t pid = -1;
  int toChild = -1;
  int fromChild = -1;
};

Helper StartHelper(const std::string& path) {
  int in[2], out[2];
  Helper h;
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
    return h;
  }
  h.pid = fork();
  if (h.pid == 0) {
    dup2(in[0], STDIN_FILENO);
    const int devNull = open("/dev/null", O_WRONLY);
    dup2(devNull, STDOUT_FILENO);
    if (out[1] == kHelperReplyFd) {
      fcntl(kHelperReplyFd, F_SETFD, 0);
    } else {
      dup2(out[1], kHelperReplyFd);  // the copy does not carry close-on-exec
    }
    setenv(kHelperEnv, path.c_str(), 1);
    execl("/proc/self/exe", "pidfile_test", "--gtest_filter=PidFileHelper.HoldLock", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  h.toChild = in[1];
  h.fromChild = out[0];
  return h;
}

TEST_F(PidFileTest, AcquireTellsALiveOwnerFromAStaleFile) {
  Helper helper = StartHelper(path_);
  ASSERT_GT(helper.pid, 0);
  char reply[32] = {};
  ASSERT_GT(read(helper.fromChild, reply, sizeof(reply) - 1), 0);
  ASSERT_EQ(std::string(reply), "0\n");  // the helper's AcquirePidFile succeeded
  const std::string helperText = std::to_string(helper.pid) + "\n";
  EXPECT_EQ(ReadWholeFile(path_), helperText);

  // Live owner: refused, file untouched.
  EXPECT_EQ(AcquirePidFile(), STATUS_UNSUCCESSFUL);
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadWholeFile(path_), helperText);
  EXPECT_EQ(ReadPidFile(), helper.pid);

  // The owner dies without cleaning up: the file is stale and gets replaced.
  close(helper.toChild);
  int wstatus = 0;
  ASSERT_EQ(waitpid(helper.pid, &wstatus, 0), helper.pid);
  EXPECT_TRUE(WIFEXITED(wstatus) && WEXITSTATUS(wstatus) == 0);
  close(helper.fromChild);
  EXPECT_EQ(ReadWholeFile(path_), helperText);
  EXPECT_TRUE(LockIsFree(path_));

  EXPECT_EQ(AcquirePidFile(), STATUS_SUCCESS);
  EXPECT_TRUE(PidFileExisted());
  EXPECT_EQ(ReadPidFile(), getpid());
  EXPECT_FALSE(LockIsFree(path_));
  RemovePidFile();
}

}  // namespace
