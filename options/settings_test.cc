// What the end-to-end runs cannot easily reach: the switch parse on its own,
// handlers meeting stored values wider than their buffers, and the reload
// signal's failure paths, run against a store and a PID file in temporary
// directories. Standard output and
// error are captured per call; the store file is read back byte by byte.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "options/handlers.h"
#include "options/reload.h"
#include "options/switch_value.h"
#include "runtime/pidfile.h"
#include "store/simple_store.h"
#include "tests/support/store_image.h"

namespace {

using vt_test::StoreImage;
using vt_test::U64Bytes;

std::string ReadWhole(int fd) {
  std::string data;
  char chunk[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, chunk, sizeof chunk)) > 0;) {
    data.append(chunk, static_cast<std::size_t>(n));
  }
  return data;
}

// Redirects descriptors 1 and 2 into temporary files for its lifetime.
class Capture {
 public:
  Capture() {
    std::fflush(stdout);
    std::fflush(stderr);
    savedOut_ = dup(1);
    savedErr_ = dup(2);
    out_ = TempFile();
    err_ = TempFile();
    dup2(out_, 1);
    dup2(err_, 2);
  }
  ~Capture() { Restore(); }
  void Restore() {
    if (savedOut_ < 0) {
      return;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    dup2(savedOut_, 1);
    dup2(savedErr_, 2);
    close(savedOut_);
    close(savedErr_);
    savedOut_ = savedErr_ = -1;
    out = ReadWhole(out_);
    err = ReadWhole(err_);
    close(out_);
    close(err_);
  }
  std::string out;
  std::string err;

 private:
  static int TempFile() {
    char name[] = "/tmp/vt_capture_XXXXXX";
    const int fd = mkstemp(name);
    unlink(name);
    return fd;
  }
  int savedOut_ = -1;
  int savedErr_ = -1;
  int out_ = -1;
  int err_ = -1;
};

struct Outcome {
  NTSTATUS status;
  std::string out;
  std::string err;
  std::uint32_t remaining;
};

// "s", "g" or "d", plus 'f' and 'v' modifiers, e.g. "sv", "dfv".
OptionContext Context(const char* flags, std::uint32_t remaining = 1) {
  OptionContext context{};
  for (const char* p = flags; *p != '\0'; ++p) {
    switch (*p) {
      case 's': context.set = 1; break;
      case 'g': context.get = 1; break;
      case 'd': context.del = 1; break;
      case 'f': context.force = 1; break;
      case 'v': context.verbose = 1; break;
      default: ADD_FAILURE() << "bad flag " << *p;
    }
  }
  context.remaining = remaining;
  return context;
}

class HandlerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/vt_options_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    path_ = dir_ + "/vantorstore";
    ASSERT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS);
  }
  void TearDown() override {
    CloseSimpleStore();
    unlink(path_.c_str());
    rmdir(dir_.c_str());
  }

  // Replaces the file's bytes; the store re-reads the image on every call.
  void Seed(const StoreImage& image) {
    const int fd = open(path_.c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(pwrite(fd, image.bytes().data(), image.bytes().size(), 0),
              static_cast<ssize_t>(image.bytes().size()));
    close(fd);
  }
  StoreImage Image() const {
    const int fd = open(path_.c_str(), O_RDONLY);
    EXPECT_GE(fd, 0);
    StoreImage image(ReadWhole(fd));
    close(fd);
    return image;
  }

  static Outcome Run(OptionHandler handler, const char* flags, const char* value = nullptr,
                     std::uint32_t remaining = 1) {
    OptionContext context = Context(flags, remaining);
    Capture capture;
    const NTSTATUS status = handler(&context, value);
    capture.Restore();
    return {status, capture.out, capture.err, context.remaining};
  }

  std::string dir_;
  std::string path_;
};

TEST(ParseSwitchValueTest, AcceptsOnlyTheFourSpellings) {
  const struct {
    const char* text;
    bool ok;
    std::uint32_t value;
  } cases[] = {
      {"TRUE", true, 1}, {"true", true, 1}, {"tRuE", true, 1}, {"1", true, 1},
      {"FALSE", true, 0}, {"false", true, 0}, {"FaLsE", true, 0}, {"0", true, 0},
      {"yes", false, 0}, {"10", false, 0}, {"01", false, 0}, {"", false, 0},
      {" true", false, 0}, {"true ", false, 0}, {"t", false, 0}, {"truex", false, 0},
  };
  for (const auto& c : cases) {
    std::uint32_t value = 9;
    EXPECT_EQ(ParseSwitchValue(c.text, &value), c.ok) << c.text;
    EXPECT_EQ(value, c.ok ? c.value : 9u) << c.text;
  }
  std::uint32_t value = 9;
  EXPECT_FALSE(ParseSwitchValue(nullptr, &value));
}

// Stored records wider than a handler's buffer are read failures, never cut
// values.
TEST_F(HandlerTest, OversizedStoredValuesAreReadFailures) {
  Seed(StoreImage()
           .Add("APH", std::string(256, 'x'))
           .Add("APP", "123456")
           .Add("TRACE", std::string(101, 'd'))
           .Add("DP", U64Bytes(1))
           .Add("FKM", U64Bytes(1)));
  const StoreImage seeded = Image();

  const Outcome apd = Run(HandleApd, "g");
  EXPECT_EQ(apd.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(apd.err, "Could not read app proxy disable from config file\n");
  const Outcome fkm = Run(HandleFkm, "g");
  EXPECT_EQ(fkm.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(fkm.err, "Could not read fuzzy kernel match from config file\n");

  const Outcome aph = Run(HandleAph, "g");
  EXPECT_EQ(aph.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(aph.err, "Could not read application proxy host from config file\n");

  const Outcome trace = Run(HandleTrace, "g");
  EXPECT_EQ(trace.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(trace.err, "Could not get trace level from config file\n");

  // app reads before it deletes: an unreadable port is left in place.
  const Outcome app = Run(HandleApp, "dv");
  EXPECT_EQ(app.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(app.err, "Could not read application proxy port from config file\n");
  EXPECT_EQ(app.out, "");
  EXPECT_EQ(Image().bytes(), seeded.bytes());

  // aph deletes without reading.
  const Outcome aphDelete = Run(HandleAph, "dv", nullptr, 2);
  EXPECT_EQ(aphDelete.status, STATUS_SUCCESS);
  EXPECT_EQ(aphDelete.out, "aph is not set, ");
  EXPECT_FALSE(Image().Get("APH").has_value());
}

// ---------------------------------------------------------------------------
// Reload signal, against a PID file in a temporary directory.

volatile sig_atomic_t gHangups = 0;
void CountHangup(int) { gHangups = gHangups + 1; }

class ReloadTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/vt_reload_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    pidPath_ = dir_ + "/sensor.pid";
    SetPidFilePathForTesting(pidPath_.c_str());
  }
  void TearDown() override {
    SetPidFilePathForTesting(nullptr);
    unlink(pidPath_.c_str());
    rmdir(dir_.c_str());
  }
  void WritePid(pid_t pid) {
    FILE* f = std::fopen(pidPath_.c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fprintf(f, "%d\n", static_cast<int>(pid));
    std::fclose(f);
  }
  static std::string Signal() {
    Capture capture;
    SignalSensorReload();
    capture.Restore();
    EXPECT_EQ(capture.out, "");
    return capture.err;
  }
  std::string dir_;
  std::string pidPath_;
};

TEST_F(ReloadTest, SendsOneHangupToTheRecordedProcess) {
  struct sigaction action {};
  struct sigaction previous {};
  action.sa_handler = CountHangup;
  ASSERT_EQ(sigaction(SIGHUP, &action, &previous), 0);
  gHangups = 0;
  WritePid(getpid());
  EXPECT_EQ(Signal(), "");
  EXPECT_EQ(gHangups, 1);
  sigaction(SIGHUP, &previous, nullptr);
}

TEST_F(ReloadTest, ReportsMissingPidFileAndDeadProcess) {
  EXPECT_EQ(Signal(), std::string("Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: ") +
                          std::strerror(ENOENT) + "\n");

  WritePid(0);
  EXPECT_EQ(Signal(), std::string("Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: ") +
                          std::strerror(ERANGE) + "\n");

  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    _exit(0);
  }
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  WritePid(child);  // reaped: the PID names no process now
  EXPECT_EQ(Signal(), "Failed to send SIGHUP to vantor process (PID " + std::to_string(child) +
                          "): " + std::strerror(ESRCH) + "\n");
}

}  // namespace
