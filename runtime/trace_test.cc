#include "runtime/trace.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/rtl_string.h"
#include "runtime/status.h"
#include "runtime/utf8.h"

// Allocation counting for the no-heap rule: the test binary interposes the C
// library's allocator and counts calls while gCountAllocations is set. Not
// available under the sanitizers, which interpose the allocator themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VT_TRACE_COUNT_ALLOCATIONS 1
#include <atomic>
namespace {
std::atomic<bool> gCountAllocations{false};
std::atomic<long> gAllocations{0};
void NoteAllocation() {
  if (gCountAllocations.load(std::memory_order_relaxed)) gAllocations.fetch_add(1, std::memory_order_relaxed);
}
}  // namespace
extern "C" {
void* __libc_malloc(std::size_t);
void* malloc(std::size_t n) noexcept {
  NoteAllocation();
  return __libc_malloc(n);
}
}
#endif

namespace {

template <typename... A>
std::vector<TraceArg> Args(const A&... a) {
  return {PackTraceArg(a)...};
}

constexpr char kCanary = 0x7F;

// Formats into a buffer of `size` bytes followed by canary bytes, checks that
// nothing past `size` was touched, that the text is terminated where the
// returned length says, and returns the text.
std::string Format(const char* format, const std::vector<TraceArg>& args, std::size_t size = kTraceLineSize) {
  std::vector<char> buf(size + 32, kCanary);
  const std::size_t n = TraceFormatMessage(buf.data(), size, format, args);
  EXPECT_LT(n, size) << format;
  EXPECT_EQ(buf[n], '\0') << format;
  for (std::size_t i = size; i < buf.size(); ++i) {
    EXPECT_EQ(buf[i], kCanary) << "byte " << i << " overrun for " << format;
  }
  return std::string(buf.data(), n);
}

struct Case {
  const char* format;
  std::vector<TraceArg> args;
  std::string expected;
};

void RunCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(Format(c.format, c.args), c.expected) << "format: " << c.format;
  }
}

// ---- The runtime's own specifiers -------------------------------------------

TEST(TraceFormatSpecifiers, CountedStrings) {
  char ansiText[] = "hello";
  ANSI_STRING ansi{3, 6, ansiText};
  char withNul[] = {'a', '\0', 'b', 'c'};
  ANSI_STRING ansiNul{4, 4, withNul};
  UNICODE_STRING ab = TvConstantString(u"ab");
  char16_t units[] = {0x263A, u'q', u'z'};
  UNICODE_STRING oddLength{5, 6, units};  // two whole units and a stray byte
  UNICODE_STRING oneByte{1, 2, units};
  const void* null = nullptr;
  RunCases({
      {"[%Z]", Args(&ansi), "[hel]"},
      {"[%Z]", Args(&ansiNul), "[a]"},
      {"[%Z]|[%wZ]|[%S]", Args(null, null, null), "[(null)]|[(null)]|[(null)]"},
      {"[%wZ][%lZ]", Args(&ab, &ab), "[ab][ab]"},
      {"[%wZ]", Args(&oddLength), "[:q]"},
      {"[%wZ]", Args(&oneByte), "[]"},
      {"%C%lc%wc", Args(0x141, 'y', U'z'), "Ayz"},
      {"%S|%ls|%ws", Args(u"one", u"two", u"three"), "one|two|three"},
      {"%ws.", Args(u""), "."},
  });
}

TEST(TraceFormatSpecifiers, SizedIntegersConsumeTheirLetter) {
  RunCases({
      {"%I64u", Args(UINT64_MAX), "18446744073709551615"},
      {"%I64d", Args(INT64_MIN), "-9223372036854775808"},
      {"%Ix", Args(0xdeadbeefcafeull), "deadbeefcafe"},
      {"%I32x", Args(0x1234ABCDu), "1234abcd"},
      {"%I32d", Args(-5), "-5"},
      {"%I32u", Args(0x100000005ull), "5"},
      {"%I64uz", Args(7), "7z"},
      {"%I64q|", Args(1), "|"},
      {"%i/%i", Args(-7, 0x100000007ll), "-7/7"},
  });
}

TEST(TraceFormatSpecifiers, SizedIntegerAtEndOfFormatPrintsNothing) {
  // Each format sits in an exact-size buffer so that a read past its end is
  // caught by the address sanitizer build.
  for (const char* text : {"ab%I", "ab%I32", "ab%I64"}) {
    std::vector<char> format(text, text + std::strlen(text) + 1);
    EXPECT_EQ(Format(format.data(), Args(42)), "ab") << text;
  }
}

TEST(TraceFormatSpecifiers, GuidStatusTimestampErrno) {
  const GUID guid{0x0123ABCD, 0xEF01, 0x2345, {0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45}};
  const GUID* nullGuid = nullptr;
  const std::string enoent = std::strerror(ENOENT);
  RunCases({
      {"%!GUID!", Args(&guid), "{0123abcd-ef01-2345-6789-abcdef012345}"},
      {"%!GUID!", Args(nullGuid), "(null)"},
      {"%!STATUS!", Args(STATUS_NOT_FOUND), "STATUS=0xC0000225"},
      {"%!STATUS!", Args(STATUS_SUCCESS), "STATUS=0x00000000"},
      {"%!TIMESTAMP!", Args(0x1d9f00000000abcdull), "Time: 1d9f00000000abcd"},
      {"Couldn't open file %s: %!ERRNO!", Args("/x", 2), "Couldn't open file /x: ERRNO=2 (" + enoent + ")"},
      {"100%%", {}, "100%"},
      {"%!BOGUS!", Args(1), "%!BOGUS!"},
      // Missing arguments read as 0.
      {"%d %s %!STATUS! %wZ %I64u", {}, "0 (null) STATUS=0x00000000 (null) 0"},
  });
}


// ---- Conversions handed to the C library ------------------------------------

TEST(TraceFormatStandard, IntegersFollowTheirLengthModifier) {
  RunCases({
      {"%d", Args(-42), "-42"},
      {"%ld", Args(-42L), "-42"},
      {"%d", Args(0x1FFFFFFFFll), "-1"},
      {"%u", Args(-1), "4294967295"},
      {"%hhd", Args(255), "-1"},
      {"%hu", Args(0x12345), "9029"},
      {"%x", Args(0xFFFFFFFF12ull), "ffffff12"},
      {"%lx", Args(0xFFFFFFFF12ull), "ffffffff12"},
      {"%zu", Args(SIZE_MAX), "18446744073709551615"},
  });
}

TEST(TraceFormatStandard, WidthPrecisionAndGluedLiterals) {
  const char* nullText = nullptr;
  RunCases({
      {"%s:", Args("abc"), "abc:"},
      {"(%d)", Args(7), "(7)"},
      {"%5d|", Args(42), "   42|"},
      {"%*d", Args(5, 42), "   42"},
      {"%-*d|", Args(-4, 1), "1   |"},
      {"%.2s", Args("hello"), "he"},
      {"%.*s", Args(3, "hello"), "hel"},
      {"%s", Args(nullText), "(null)"},
      {"%.3s|", Args(nullText), "|"},
      {"%p", Args(nullptr), "(nil)"},
      {"%d items", Args(3), "3 items"},
  });
}

TEST(TraceFormatStandard, FloatingPoint) {
  RunCases({
      {"%f", Args(1.5), "1.500000"},
      {"%e", Args(12345.678), "1.234568e+04"},
      {"%05.1f", Args(3.14159), "003.1"},
      {"%.2f", Args(3), "3.00"},
      {"%g/%d", Args(2.5f, 4), "2.5/4"},
      {"%.1fs", Args(0.25), "0.2s"},
  });
}

TEST(TraceFormatStandard, OddAndUnsafeConversions) {
  int sentinel = 1234;
  RunCases({
      // A lone '%' prints nothing but still takes an argument.
      {"a% %d", Args(1, 2), "a 2"},
      {"end%", Args(1), "end"},
      // Unknown letters and positional arguments are copied as text.
      {"%y:", Args(1), "%y:"},
      {"%2$d", Args(1), "%2$d"},
  });
  // 18 characters after '%' without a letter: nothing, then the rest as text.
  const std::string longFlags = "%" + std::string(18, '0') + "7d";
  EXPECT_EQ(Format(longFlags.c_str(), Args(9)), "7d");
  // %n never writes through its argument.
  EXPECT_EQ(Format("ab%ncd%d", Args(&sentinel, 5)), "abcd5");
  EXPECT_EQ(sentinel, 1234);
}

TEST(TraceFormatStandard, HugeFieldWidthIsCapped) {
  const std::string out = Format("%5000d", Args(1));
  EXPECT_EQ(out.size(), 960u);
  EXPECT_EQ(out.back(), '1');
  EXPECT_EQ(out.find_first_not_of(' '), 959u);
}

// ---- Cutting: never overrun, always terminated ------------------------------

TEST(TraceFormatCutting, RoomForExactlyTheTextAndOneByteLess) {
  struct Cut {
    const char* format;
    std::vector<TraceArg> args;
    std::string full;
  };
  const std::vector<Cut> cuts = {
      {"literal text", {}, "literal text"},
      {"%!STATUS!", Args(STATUS_NOT_FOUND), "STATUS=0xC0000225"},
      {"n=%d;", Args(123456), "n=123456;"},
      {"%I64u", Args(UINT64_MAX), "18446744073709551615"},
      {"%S!", Args(u"wide"), "wide!"},
  };
  for (const Cut& c : cuts) {
    const std::size_t len = c.full.size();
    EXPECT_EQ(Format(c.format, c.args, len + 1), c.full) << c.format;
    EXPECT_EQ(Format(c.format, c.args, len), c.full.substr(0, len - 1)) << c.format;
    EXPECT_EQ(Format(c.format, c.args, 1), "") << c.format;
  }
}

TEST(TraceFormatCutting, NullMarkerNeedsEightBytesOfRoom) {
  const char* nullText = nullptr;
  const UNICODE_STRING* nullUnicode = nullptr;
  EXPECT_EQ(Format("%wZ", Args(nullUnicode), 8), "(null)");
  EXPECT_EQ(Format("%wZ", Args(nullUnicode), 7), "");
  EXPECT_EQ(Format("x%S", Args(nullText), 9), "x(null)");
  EXPECT_EQ(Format("x%S", Args(nullText), 8), "x");
  EXPECT_EQ(Format("x%Sy", Args(nullText), 8), "xy");
}

// ---- The whole line ---------------------------------------------------------

std::string TimeText() {
  char text[64];
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const std::size_t n = std::strftime(text, sizeof text, "%c", &local);
  return std::string(text, n);
}

std::string Suffix(long tid, unsigned messageNumber) {
  return "\t(" + std::to_string(tid) + ") [" + std::to_string(messageNumber) + "]\n";
}

long CurrentTid() { return syscall(SYS_gettid); }

std::string FormatLine(const std::string& format, std::uint32_t messageNumber, const std::vector<TraceArg>& args) {
  char buf[kTraceLineSize];
  std::memset(buf, kCanary, sizeof buf);
  const TraceRecord record{TRACE_LEVEL_ERROR, TRACE_COMPONENT_CORE, 0, 0, messageNumber};
  const std::size_t n = TraceFormatLine(buf, sizeof buf, record, format.c_str(), args);
  EXPECT_LE(n, kTraceLineSize - 1);
  EXPECT_EQ(buf[n], '\0');
  return std::string(buf, n);
}

TEST(TraceFormatLine, LayoutIsTimeMessageThreadAndNumber) {
  const std::string before = TimeText();
  const std::string line = FormatLine("value %d", 7, Args(12));
  const std::string after = TimeText();
  const std::string tail = " value 12" + Suffix(CurrentTid(), 7);
  EXPECT_TRUE(line == before + tail || line == after + tail) << line;
}

TEST(TraceFormatLine, LongMessageKeepsOnlyTheTab) {
  const std::string message(3000, 'm');
  const std::string line = FormatLine(message, 0, {});
  ASSERT_EQ(line.size(), kTraceLineSize - 1);
  EXPECT_EQ(line.back(), '\t');
  EXPECT_EQ(line.find('\n'), std::string::npos);
  EXPECT_EQ(line[line.size() - 2], 'm');
}

TEST(TraceFormatLine, SuffixFitsExactlyOrIsCut) {
  const std::size_t prefix = TimeText().size() + 1;
  const std::string suffix = Suffix(CurrentTid(), 0);
  // Longest message whose full suffix still fits in 2047 bytes.
  const std::size_t fits = kTraceLineSize - 1 - prefix - suffix.size();
  const std::string exact = FormatLine(std::string(fits, 'e'), 0, {});
  EXPECT_EQ(exact.size(), kTraceLineSize - 1);
  EXPECT_EQ(exact.substr(exact.size() - suffix.size()), suffix);

  const std::string cut = FormatLine(std::string(fits + 1, 'e'), 0, {});
  EXPECT_EQ(cut.size(), kTraceLineSize - 1);
  EXPECT_EQ(cut.substr(cut.size() - (suffix.size() - 1)), suffix.substr(0, suffix.size() - 1));
}

// ---- Gate, filter and the log file ------------------------------------------

class TraceLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vt_trace_test_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
    path_ = dir_ + "/trace.log";
    TraceSetLevel(TRACE_LEVEL_ERROR);
    TraceSetComponentFilter(0xFFFFFFFFu);
  }
  void TearDown() override {
    TraceCloseLogFile();
    TraceSetLevel(TRACE_LEVEL_ERROR);
    TraceSetComponentFilter(0xFFFFFFFFu);
    (void)nftw(
        dir_.c_str(), [](const char* p, const struct stat*, int, FTW*) { return remove(p); }, 8,
        FTW_DEPTH | FTW_PHYS);
  }

  static std::string Read(const std::string& path) {
    std::string text;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return "<missing>";
    char buf[4096];
    ssize_t n;
    while ((n = read(fd, buf, sizeof buf)) > 0) text.append(buf, static_cast<std::size_t>(n));
    close(fd);
    return text;
  }

  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1) {
      lines.push_back(text.substr(start, nl - start + 1));
    }
    EXPECT_EQ(start, text.size()) << "unterminated last line";
    return lines;
  }

  std::string dir_;
  std::string path_;
};

TEST_F(TraceLogTest, EachCallAppendsOneLineCreatedPrivate) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  struct stat st {};
  ASSERT_EQ(stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);

  TraceError(TRACE_COMPONENT_CORE, "first %!STATUS!", STATUS_NOT_FOUND);
  TraceCloseLogFile();
  TraceOpenLogFile(path_.c_str(), nullptr);  // reopening appends
  TraceWrite(TRACE_LEVEL_ERROR, TRACE_COMPONENT_PATH, 0, 0, 9, "second %s", "x");
  const std::vector<std::string> lines = Lines(Read(path_));
  ASSERT_EQ(lines.size(), 2u);
  const std::string tid = std::to_string(CurrentTid());
  EXPECT_NE(lines[0].find(" first STATUS=0xC0000225\t(" + tid + ") [0]\n"), std::string::npos) << lines[0];
  EXPECT_NE(lines[1].find(" second x\t(" + tid + ") [9]\n"), std::string::npos) << lines[1];
}

TEST_F(TraceLogTest, LineCarriesTheCallingThreadsId) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  long workerTid = 0;
  std::thread worker([&workerTid] {
    workerTid = CurrentTid();
    TraceError(TRACE_COMPONENT_CORE, "from worker");
  });
  worker.join();
  ASSERT_NE(workerTid, CurrentTid());
  const std::string text = Read(path_);
  EXPECT_NE(text.find("from worker\t(" + std::to_string(workerTid) + ") [0]\n"), std::string::npos) << text;
}

TEST_F(TraceLogTest, LevelGateAndComponentFilter) {
  struct Gate {
    std::uint32_t current;
    std::uint32_t filter;
    std::uint32_t level;
    std::uint32_t component;
    bool written;
  };
  constexpr std::uint32_t kNone = 0xFFFFFFFFu;
  constexpr Gate kGates[] = {
      {2, kNone, 3, 7, false}, {2, kNone, 2, 7, true},  {2, kNone, 1, 7, true}, {5, kNone, 5, 7, true},
      {5, kNone, 6, 7, false}, {0, kNone, 2, 7, false}, {2, 5, 2, 7, false},    {2, 5, 2, 5, true},
      {1, 5, 1, 7, true},      {1, 5, 2, 7, false},
  };
  TraceOpenLogFile(path_.c_str(), nullptr);
  std::size_t expected = 0;
  for (const Gate& g : kGates) {
    TraceSetLevel(g.current);
    TraceSetComponentFilter(g.filter);
    TraceWrite(g.level, g.component, 0, 0, 0, "level %u component %u", g.level, g.component);
    expected += g.written ? 1 : 0;
    EXPECT_EQ(Lines(Read(path_)).size(), expected)
        << "current " << g.current << " filter " << g.filter << " level " << g.level << " component " << g.component;
  }
}

TEST_F(TraceLogTest, ReopenCloseAndUnwritablePaths) {
  const std::string second = dir_ + "/second.log";
  TraceOpenLogFile(path_.c_str(), nullptr);
  TraceError(TRACE_COMPONENT_CORE, "to first");
  TraceOpenLogFile(second.c_str(), nullptr);
  TraceError(TRACE_COMPONENT_CORE, "to second");
  EXPECT_EQ(Lines(Read(path_)).size(), 1u);
  EXPECT_EQ(Lines(Read(second)).size(), 1u);

  // A failed open leaves no log: later lines go nowhere, nothing crashes.
  for (const std::string& bad : {dir_ + "/missing/dir/log", dir_}) {
    TraceOpenLogFile(bad.c_str(), nullptr);
    TraceError(TRACE_COMPONENT_CORE, "lost %d", 1);
  }
  EXPECT_EQ(Read(dir_ + "/missing/dir/log"), "<missing>");
  EXPECT_EQ(Lines(Read(path_)).size(), 1u);
  EXPECT_EQ(Lines(Read(second)).size(), 1u);

  TraceOpenLogFile(path_.c_str(), nullptr);
  TraceCloseLogFile();
  TraceError(TRACE_COMPONENT_CORE, "after close");
  TraceCloseLogFile();  // closing twice is harmless
  EXPECT_EQ(Lines(Read(path_)).size(), 1u);
}

#ifdef VT_TRACE_COUNT_ALLOCATIONS
TEST_F(TraceLogTest, WritingALineNeverAllocates) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  const GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  UNICODE_STRING name = TvConstantString(u"name");
  const std::string longMessage(3000, 'x');
  // Warm up once: the first localtime_r may load the time zone data.
  TraceError(TRACE_COMPONENT_CORE, "warm up %d", 1);
  gAllocations = 0;
  gCountAllocations = true;
  TraceError(TRACE_COMPONENT_CORE, "%!ERRNO! %!STATUS! %!GUID! %wZ %I64u %s %d", ENOENT, STATUS_NOT_FOUND, &guid,
             &name, UINT64_MAX, "text", -1);
  TraceError(TRACE_COMPONENT_CORE, "%5000d|%-5000s|%.5000f|%.900e|%5000.3000g", 1, "s", 1e300, 1.5, 2.5);
  TraceError(TRACE_COMPONENT_CORE, longMessage.c_str());
  TraceWrite(TRACE_LEVEL_DEBUG, TRACE_COMPONENT_CORE, 0, 0, 0, "dropped %d", 1);
  gCountAllocations = false;
  EXPECT_EQ(gAllocations.load(), 0);
  EXPECT_GT(Read(path_).size(), 2 * (kTraceLineSize - 1));  // the lines did go out
}
#endif

TEST_F(TraceLogTest, ConcurrentWritersNeverInterleaveWithinALine) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  constexpr int kThreads = 4;
  constexpr int kPerThread = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      const std::string filler(100 + t * 50, static_cast<char>('a' + t));
      for (int i = 0; i < kPerThread; ++i) TraceError(TRACE_COMPONENT_CORE, "<%d.%d> %s", t, i, filler.c_str());
    });
  }
  for (std::thread& th : threads) th.join();
  const std::vector<std::string> lines = Lines(Read(path_));
  ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kPerThread));
  std::vector<int> seen(kThreads * kPerThread, 0);
  for (const std::string& line : lines) {
    int t = -1;
    int i = -1;
    const std::size_t at = line.find('<');
    ASSERT_NE(at, std::string::npos) << line;
    ASSERT_EQ(std::sscanf(line.c_str() + at, "<%d.%d>", &t, &i), 2) << line;
    ASSERT_TRUE(t >= 0 && t < kThreads && i >= 0 && i < kPerThread) << line;
    ++seen[static_cast<std::size_t>(t * kPerThread + i)];
    const std::string filler(100 + t * 50, static_cast<char>('a' + t));
    EXPECT_NE(line.find(" " + filler + "\t("), std::string::npos) << line;
  }
  for (const int count : seen) EXPECT_EQ(count, 1);
}

}  // namespace
