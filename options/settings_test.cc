// The identity, connection and behaviour handlers and the reload signal, run
// against a configuration store in a temporary directory. Standard output and
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
#include <tuple>

#include "options/handlers.h"
#include "options/reload.h"
#include "options/switch_value.h"
#include "runtime/pidfile.h"
#include "store/simple_store.h"
#include "tests/support/store_image.h"

namespace {

using vt_test::StoreImage;
using vt_test::U32Bytes;
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

// ---------------------------------------------------------------------------
// True/false switches.

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

struct SwitchCase {
  const char* option;
  OptionHandler handler;
  const char* stored;
  const char* what;      // as in the write and delete messages
  const char* readWhat;  // as in the read message
};

const SwitchCase kSwitches[] = {
    {"apd", HandleApd, "DP", "application proxy disable", "app proxy disable"},
    {"fkm", HandleFkm, "FKM", "fuzzy kernel match", "fuzzy kernel match"},
};

TEST_F(HandlerTest, SwitchesStoreParsedValueAndPrintIt) {
  for (const SwitchCase& s : kSwitches) {
    SCOPED_TRACE(s.option);
    for (const auto& [text, stored, printed] :
         {std::tuple{"True", 1u, "TRUE"}, std::tuple{"0", 0u, "FALSE"}, std::tuple{"1", 1u, "TRUE"}}) {
      const Outcome set = Run(s.handler, "sv", text);
      EXPECT_EQ(set.status, STATUS_SUCCESS);
      EXPECT_EQ(set.out, std::string(s.option) + "=" + printed + ".");
      EXPECT_EQ(set.err, "");
      EXPECT_EQ(Image().Get(s.stored), U32Bytes(stored));
    }
    // Any nonzero stored number reads as TRUE.
    Seed(StoreImage().Add(s.stored, U32Bytes(7)));
    EXPECT_EQ(Run(s.handler, "g", nullptr, 2).out, std::string(s.option) + "=TRUE, ");
    Seed(StoreImage().Add(s.stored, U32Bytes(0)));
    EXPECT_EQ(Run(s.handler, "g").out, std::string(s.option) + "=FALSE.");
    // Without -v a set prints nothing.
    EXPECT_EQ(Run(s.handler, "s", "true").out, "");
  }
}

TEST_F(HandlerTest, SwitchesRefuseBadValuesWithoutTouchingTheStore) {
  for (const SwitchCase& s : kSwitches) {
    SCOPED_TRACE(s.option);
    const StoreImage seeded = StoreImage().Add(s.stored, U32Bytes(1));
    Seed(seeded);
    for (const char* bad : {"yes", "10", "", "tru"}) {
      const Outcome o = Run(s.handler, "sv", bad);
      EXPECT_EQ(o.status, STATUS_INVALID_PARAMETER);
      EXPECT_EQ(o.out, "");
      EXPECT_EQ(o.err, std::string("\"") + bad + "\" is not a valid value for --" + s.option + "\n");
      EXPECT_EQ(o.remaining, 1u);
      EXPECT_EQ(Image().bytes(), seeded.bytes());
    }
  }
}

TEST_F(HandlerTest, SwitchesGetAndDeleteEdgeCases) {
  for (const SwitchCase& s : kSwitches) {
    SCOPED_TRACE(s.option);
    Seed(StoreImage());
    EXPECT_EQ(Run(s.handler, "g").out, std::string(s.option) + " is not set.");
    // Deleting an absent value is no error.
    const Outcome absent = Run(s.handler, "dv");
    EXPECT_EQ(absent.status, STATUS_SUCCESS);
    EXPECT_EQ(absent.out, std::string(s.option) + " is not set.");

    // A stored record wider than 4 bytes cannot be read.
    Seed(StoreImage().Add(s.stored, U64Bytes(1)));
    const Outcome wide = Run(s.handler, "g");
    EXPECT_EQ(wide.status, STATUS_BUFFER_TOO_SMALL);
    EXPECT_EQ(wide.out, "");
    EXPECT_EQ(wide.err, std::string("Could not read ") + s.readWhat + " from config file\n");

    const Outcome del = Run(s.handler, "d");
    EXPECT_EQ(del.status, STATUS_SUCCESS);
    EXPECT_EQ(del.out, "");
    EXPECT_FALSE(Image().Get(s.stored).has_value());
  }
}

// ---------------------------------------------------------------------------
// Texts with a length limit.

struct TextCase {
  const char* option;
  OptionHandler handler;
  const char* stored;
  std::size_t limit;
  char fill;
  const char* tooLong;  // message format prefix after the quoted value
};

TEST_F(HandlerTest, TextOptionsHonourTheirLengthLimit) {
  const TextCase cases[] = {
      {"aph", HandleAph, "APH", 255, 'h', "\" is not a valid value for --aph\n"},
      {"app", HandleApp, "APP", 5, '8', "\" is not a valid value for --app\n"},
  };
  for (const TextCase& c : cases) {
    SCOPED_TRACE(c.option);
    Seed(StoreImage());
    const std::string longest(c.limit, c.fill);
    const Outcome ok = Run(c.handler, "sv", longest.c_str());
    EXPECT_EQ(ok.status, STATUS_SUCCESS);
    EXPECT_EQ(ok.out, std::string(c.option) + "=" + longest + ".");
    EXPECT_EQ(Image().Get(c.stored), longest) << "stored without a terminator";
    EXPECT_EQ(Run(c.handler, "g").out, std::string(c.option) + "=" + longest + ".");

    const StoreImage before = Image();
    const std::string over(c.limit + 1, c.fill);
    const Outcome bad = Run(c.handler, "s", over.c_str());
    EXPECT_EQ(bad.status, STATUS_INVALID_PARAMETER);
    EXPECT_EQ(bad.err, "\"" + over + c.tooLong);
    EXPECT_EQ(Image().bytes(), before.bytes());

    // Shorter data over a longer record: the reader ends at the stored length.
    ASSERT_EQ(Run(c.handler, "s", "ab").status, STATUS_SUCCESS);
    EXPECT_EQ(Run(c.handler, "g").out, std::string(c.option) + "=ab.");

    // An empty value is an empty record.
    ASSERT_EQ(Run(c.handler, "s", "").status, STATUS_SUCCESS);
    EXPECT_EQ(Image().Get(c.stored), "");
    EXPECT_EQ(Run(c.handler, "g").out, std::string(c.option) + "=.");
  }
}

TEST_F(HandlerTest, OversizedStoredTextsAreReadFailures) {
  Seed(StoreImage().Add("APH", std::string(256, 'x')).Add("APP", "123456").Add("TRACE", std::string(101, 'd')));
  const StoreImage seeded = Image();

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
// Number-to-name options.

TEST_F(HandlerTest, PcptMapsNamesIgnoringCaseAndDefaultsToAuto) {
  EXPECT_EQ(Run(HandlePcpt, "g").out, "pcpt=auto.");
  const struct {
    const char* text;
    std::uint32_t stored;
    const char* got;
  } cases[] = {{"IPV6", 6, "ipv6"}, {"IPv4", 4, "ipv4"}, {"Auto", 0, "auto"}, {"ipv6", 6, "ipv6"}};
  for (const auto& c : cases) {
    const Outcome set = Run(HandlePcpt, "sv", c.text);
    EXPECT_EQ(set.status, STATUS_SUCCESS) << c.text;
    EXPECT_EQ(set.out, std::string("pcpt=") + c.text + ".") << "printed as typed";
    EXPECT_EQ(Image().Get("PCPT"), U32Bytes(c.stored)) << c.text;
    EXPECT_EQ(Run(HandlePcpt, "g").out, std::string("pcpt=") + c.got + ".");
  }
  const StoreImage before = Image();
  const Outcome bad = Run(HandlePcpt, "s", "ipv5");
  EXPECT_EQ(bad.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(bad.err, "not a valid pcpt option: ipv5\n");
  EXPECT_EQ(Image().bytes(), before.bytes());

  Seed(StoreImage().Add("PCPT", U32Bytes(5)));
  EXPECT_EQ(Run(HandlePcpt, "g").out, "pcpt=auto.");
}

TEST_F(HandlerTest, BackendNamesAreExactAndUnknownStoredNumbersFail) {
  const struct {
    const char* text;
    std::uint32_t stored;
  } cases[] = {{"auto", 0}, {"kernel", 1}, {"bpf", 2}};
  for (const auto& c : cases) {
    const Outcome set = Run(HandleBackend, "sv", c.text);
    EXPECT_EQ(set.out, std::string("backend=") + c.text + ".");
    EXPECT_EQ(Image().Get("SenBackend"), U32Bytes(c.stored));
    EXPECT_EQ(Run(HandleBackend, "g").out, std::string("backend=") + c.text + ".");
  }
  const Outcome upper = Run(HandleBackend, "s", "BPF");
  EXPECT_EQ(upper.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(upper.err, "\"BPF\" is not a valid value for --backend\n");

  Seed(StoreImage().Add("SenBackend", U32Bytes(3)));
  const Outcome invalid = Run(HandleBackend, "g");
  EXPECT_EQ(invalid.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(invalid.out, "");
  EXPECT_EQ(invalid.err, "Backend value in config file is invalid\n");
}

TEST_F(HandlerTest, BillingUnknownStoredIdentifierIsOnlyAWarning) {
  const Outcome set = Run(HandleBilling, "sv", "metered");
  EXPECT_EQ(set.status, STATUS_SUCCESS);
  EXPECT_EQ(set.out, "billing=metered.");
  EXPECT_EQ(Image().Get("BT"), U32Bytes(1));

  const Outcome wrongCase = Run(HandleBilling, "s", "Metered");
  EXPECT_EQ(wrongCase.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(wrongCase.err, "\"Metered\" is not a valid value for --billing\n");
  EXPECT_EQ(Image().Get("BT"), U32Bytes(1));

  Seed(StoreImage().Add("BT", U32Bytes(7)));
  const Outcome warning = Run(HandleBilling, "g", nullptr, 2);
  EXPECT_EQ(warning.status, STATUS_SUCCESS);
  EXPECT_EQ(warning.out, "WARNING: unknown billing type configured (ID = 7), ");
  EXPECT_EQ(warning.remaining, 1u);
}

TEST_F(HandlerTest, TraceLevelsAreCaseSensitiveAndAnyStoredTextPrints) {
  for (const char* level : {"none", "err", "warn", "info", "debug"}) {
    const Outcome set = Run(HandleTrace, "sv", level);
    EXPECT_EQ(set.status, STATUS_SUCCESS);
    EXPECT_EQ(set.out, std::string("trace=") + level + ".");
    EXPECT_EQ(Image().Get("TRACE"), level);
  }
  const StoreImage before = Image();
  const Outcome upper = Run(HandleTrace, "s", "INFO");
  EXPECT_EQ(upper.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(upper.err, "not a valid trace option: INFO\n");
  const std::string longText(101, 'a');
  const Outcome tooLong = Run(HandleTrace, "s", longText.c_str());
  EXPECT_EQ(tooLong.err, "\"" + longText + "\" is not a valid value for --trace\n");
  EXPECT_EQ(Image().bytes(), before.bytes());

  Seed(StoreImage().Add("TRACE", "verbose!"));
  EXPECT_EQ(Run(HandleTrace, "g").out, "trace=verbose!.");
  const Outcome del = Run(HandleTrace, "dv");
  EXPECT_EQ(del.out, "trace is not set.");
  EXPECT_FALSE(Image().Get("TRACE").has_value());
}

// ---------------------------------------------------------------------------
// Protected identity values.

const std::string kCidBytes("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xaa\xbb\xcc\xdd\xee\xff", 16);

TEST_F(HandlerTest, CidNeedsForceToReplaceOrDelete) {
  const Outcome missing = Run(HandleCid, "g");
  EXPECT_EQ(missing.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(missing.err, "CID is not set. Use vantorctl to set the CID\n");
  EXPECT_EQ(missing.out, "");

  const Outcome set = Run(HandleCid, "sv", "00112233-4455-6677-8899-AABBCCDDEEFF-08");
  EXPECT_EQ(set.status, STATUS_SUCCESS);
  EXPECT_EQ(set.out, "cid=\"00112233445566778899aabbccddeeff\".");
  EXPECT_EQ(Image().Get("CU"), kCidBytes);

  const StoreImage stored = Image();
  for (const char* flags : {"s", "d", "dv"}) {
    const Outcome refused = Run(HandleCid, flags, "0000000000000000000000000000000000");
    EXPECT_EQ(refused.status, STATUS_INVALID_PARAMETER) << flags;
    EXPECT_EQ(refused.err, "CID is set, but -f was not specified\n") << flags;
    EXPECT_EQ(Image().bytes(), stored.bytes()) << flags;
  }

  // With -f a bad value is still checked before anything is written.
  const Outcome badChecksum = Run(HandleCid, "sf", "00112233445566778899AABBCCDDEEFF09");
  EXPECT_EQ(badChecksum.err, "\"00112233445566778899AABBCCDDEEFF09\" failed checksum validation\n");
  const Outcome tooShort = Run(HandleCid, "sf", "0011");
  EXPECT_EQ(tooShort.err, "\"0011\" is not valid value for checksum CID (CCID)\n");
  EXPECT_EQ(Image().bytes(), stored.bytes());

  ASSERT_EQ(Run(HandleCid, "sf", "00000000000000000000000000000001ff").status, STATUS_SUCCESS);
  EXPECT_EQ(Image().Get("CU"), std::string(15, '\0') + "\x01");
  EXPECT_EQ(Run(HandleCid, "g").out, "cid=\"00000000000000000000000000000001\".");

  // A forced delete with -v deletes and then reports the missing CID.
  const Outcome del = Run(HandleCid, "dfv");
  EXPECT_EQ(del.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(del.err, "CID is not set. Use vantorctl to set the CID\n");
  EXPECT_FALSE(Image().Get("CU").has_value());
  EXPECT_EQ(Run(HandleCid, "d").status, STATUS_SUCCESS) << "absent and quiet: nothing to do";
}

TEST_F(HandlerTest, AidIsShownAndDeletedOnlyWithForce) {
  EXPECT_EQ(Run(HandleAid, "g").out, "aid is not set.");
  EXPECT_EQ(Run(HandleAid, "d").out, "");
  Seed(StoreImage().Add("AG", kCidBytes));
  EXPECT_EQ(Run(HandleAid, "g").out, "aid=\"00112233445566778899aabbccddeeff\".");
  const Outcome refused = Run(HandleAid, "dv");
  EXPECT_EQ(refused.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(refused.err, "AID is set, but -f was not specified\n");
  EXPECT_TRUE(Image().Get("AG").has_value());
  const Outcome del = Run(HandleAid, "dfv");
  EXPECT_EQ(del.status, STATUS_SUCCESS);
  EXPECT_EQ(del.out, "aid is not set.");
  EXPECT_FALSE(Image().Get("AG").has_value());
}

TEST_F(HandlerTest, ProvisioningTokenStoresLittleEndianAndIsProtected) {
  EXPECT_EQ(Run(HandleProvisioningToken, "g").out, "provisioning-token is not set.");
  const Outcome set = Run(HandleProvisioningToken, "sv", "0000abcd");
  EXPECT_EQ(set.status, STATUS_SUCCESS);
  EXPECT_EQ(set.out, "provisioning-token=0000abcd.");
  EXPECT_EQ(Image().Get("PT"), U64Bytes(0xABCD));

  const Outcome refused = Run(HandleProvisioningToken, "s", "12345678");
  EXPECT_EQ(refused.err, "Provisioning token is set, but -f was not specified\n");
  EXPECT_EQ(Image().Get("PT"), U64Bytes(0xABCD));
  const Outcome badFormat = Run(HandleProvisioningToken, "sf", "abcdef0");
  EXPECT_EQ(badFormat.status, STATUS_INVALID_PARAMETER);
  EXPECT_EQ(badFormat.err, "Provisioning token format incorrect\n");

  ASSERT_EQ(Run(HandleProvisioningToken, "sf", "0123456789abcdef").status, STATUS_SUCCESS);
  EXPECT_EQ(Image().Get("PT"), U64Bytes(0x0123456789ABCDEFull));
  EXPECT_EQ(Run(HandleProvisioningToken, "g").out, "provisioning-token=123456789abcdef.");

  EXPECT_EQ(Run(HandleProvisioningToken, "d").err, "Provisioning token is set, but -f was not specified\n");
  const Outcome del = Run(HandleProvisioningToken, "dfv");
  EXPECT_EQ(del.status, STATUS_SUCCESS);
  EXPECT_EQ(del.out, "provisioning-token is not set.");
  EXPECT_FALSE(Image().Get("PT").has_value());
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
