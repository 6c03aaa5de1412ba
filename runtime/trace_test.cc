#include "runtime/trace.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/rtl_string.h"
#include "runtime/trace_capture.h"
#include "runtime/utf8.h"

// Allocation counting for the no-heap rule: the test binary interposes malloc
// and counts calls while gCountAllocations is set. Not available under the
// sanitizers, which interpose the allocator themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define VT_TRACE_COUNT_ALLOCATIONS 1
#include <atomic>
namespace {
std::atomic<bool> gCountAllocations{false};
std::atomic<long> gAllocations{0};
}  // namespace
extern "C" {
void* __libc_malloc(std::size_t);
void* malloc(std::size_t n) noexcept {
  if (gCountAllocations.load(std::memory_order_relaxed)) gAllocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(n);
}
}
#endif

namespace {

using vt_test::ReadWholeFile;

template <typename... A>
std::vector<TraceArg> Args(const A&... a) {
  return {PackTraceArg(a)...};
}

constexpr char kCanary = 0x7F;

// Formats into `size` bytes followed by canaries; checks no overrun and the
// terminator at the returned length.
std::string Format(const char* format, const std::vector<TraceArg>& args, std::size_t size = kTraceLineSize) {
  std::vector<char> buf(size + 32, kCanary);
  const std::size_t n = TraceFormatMessage(buf.data(), size, format, args);
  EXPECT_LT(n, size) << format;
  EXPECT_EQ(buf[n], '\0') << format;
  for (std::size_t i = size; i < buf.size(); ++i) EXPECT_EQ(buf[i], kCanary) << "overrun for " << format;
  return std::string(buf.data(), n);
}

struct Case {
  const char* format;
  std::vector<TraceArg> args;
  std::string expected;
};

void RunCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_EQ(Format(c.format, c.args), c.expected) << "format: " << c.format;
}

TEST(TraceFormat, RuntimeSpecifiers) {
  char ansiText[] = "hello";
  ANSI_STRING ansi{3, 6, ansiText};
  char withNul[] = {'a', '\0', 'b', 'c'};
  ANSI_STRING ansiNul{4, 4, withNul};
  UNICODE_STRING ab = TvConstantString(u"ab");
  char16_t units[] = {0x263A, u'q', u'z'};
  UNICODE_STRING oddLength{5, 6, units};  // two whole units and a stray byte
  const void* null = nullptr;
  const GUID guid{0x0123ABCD, 0xEF01, 0x2345, {0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45}};
  RunCases({
      {"[%Z][%Z]", Args(&ansi, &ansiNul), "[hel][a]"},
      {"[%wZ][%lZ][%wZ]", Args(&ab, &ab, &oddLength), "[ab][ab][:q]"},
      {"%C%lc%wc", Args(0x141, 'y', U'z'), "Ayz"},
      {"%S|%ls|%ws.", Args(u"one", u"two", u""), "one|two|."},
      {"[%Z]|[%wZ]|[%S]|%!GUID!", Args(null, null, null, null), "[(null)]|[(null)]|[(null)]|(null)"},
      {"%I64u|%I64d", Args(UINT64_MAX, INT64_MIN), "18446744073709551615|-9223372036854775808"},
      {"%Ix|%I32x|%I32u", Args(0xdeadbeefcafeull, 0x1234ABCDu, 0x100000005ull), "deadbeefcafe|1234abcd|5"},
      {"%I64uz|%I64q|", Args(7, 1), "7z||"},
      {"%i/%i", Args(-7, 0x100000007ll), "-7/7"},
      {"%!GUID!", Args(&guid), "{0123abcd-ef01-2345-6789-abcdef012345}"},
      {"%!STATUS! %!TIMESTAMP!", Args(STATUS_NOT_FOUND, 0x1d9f00000000abcdull),
       "STATUS=0xC0000225 Time: 1d9f00000000abcd"},
      {"open %s: %!ERRNO!", Args("/x", 2), std::string("open /x: ERRNO=2 (") + std::strerror(ENOENT) + ")"},
      {"100%%|%!BOGUS!", Args(1), "100%|%!BOGUS!"},
      // Missing arguments read as 0.
      {"%d %s %!STATUS! %wZ %I64u", {}, "0 (null) STATUS=0x00000000 (null) 0"},
  });
  // A format ending inside a sized integer prints nothing for it. Exact-size
  // copies so that a read past the end shows under the address sanitizer.
  for (const char* text : {"ab%I", "ab%I32", "ab%I64"}) {
    std::vector<char> format(text, text + std::strlen(text) + 1);
    EXPECT_EQ(Format(format.data(), Args(42)), "ab") << text;
  }
}

TEST(TraceFormat, StandardConversions) {
  const char* nullText = nullptr;
  int sentinel = 1234;
  RunCases({
      // The argument is cast to the type the length modifier names.
      {"%d|%u|%hhd|%hu", Args(0x1FFFFFFFFll, -1, 255, 0x12345), "-1|4294967295|-1|9029"},
      {"%x|%lx|%zu", Args(0xFFFFFFFF12ull, 0xFFFFFFFF12ull, SIZE_MAX), "ffffff12|ffffffff12|18446744073709551615"},
      {"%*d|%-*d|%.*s|", Args(5, 42, -4, 1, 3, "hello"), "   42|1   |hel|"},
      {"%s|%.3s|%p", Args(nullText, nullText, nullptr), "(null)||(nil)"},
      // Doubles and integers are converted by value either way.
      {"%f|%05.1f|%.2f|%g/%d", Args(1.5, 3.14159, 3, 2.5f, 4), "1.500000|003.1|3.00|2.5/4"},
      // A lone '%' takes an argument and prints nothing; unknown letters and
      // positional arguments are copied as text; %n never writes.
      {"a% %d|end%", Args(1, 2, 3), "a 2|end"},
      {"%y:%2$d", Args(1), "%y:%2$d"},
      {"ab%ncd%d", Args(&sentinel, 5), "abcd5"},
  });
  EXPECT_EQ(sentinel, 1234);
  // 18 characters after '%' without a letter: nothing, then the rest as text.
  EXPECT_EQ(Format(("%" + std::string(18, '0') + "7d").c_str(), Args(9)), "7d");
  // Field widths are capped at 960.
  EXPECT_EQ(Format("%5000d", Args(1)), std::string(959, ' ') + "1");
}

TEST(TraceFormat, CutsAtTheBufferAndKeepsNullMarkerRoom) {
  const std::vector<Case> full = {
      {"literal text", {}, "literal text"},
      {"%!STATUS!", Args(STATUS_NOT_FOUND), "STATUS=0xC0000225"},
      {"%I64u", Args(UINT64_MAX), "18446744073709551615"},
      {"%S!", Args(u"wide"), "wide!"},
  };
  for (const Case& c : full) {
    const std::size_t len = c.expected.size();
    EXPECT_EQ(Format(c.format, c.args, len + 1), c.expected);
    EXPECT_EQ(Format(c.format, c.args, len), c.expected.substr(0, len - 1));
    EXPECT_EQ(Format(c.format, c.args, 1), "");
  }
  // The null marker is written only with 8 bytes of room left.
  const char* nullText = nullptr;
  const UNICODE_STRING* nullUnicode = nullptr;
  EXPECT_EQ(Format("%wZ", Args(nullUnicode), 8), "(null)");
  EXPECT_EQ(Format("%wZ", Args(nullUnicode), 7), "");
  EXPECT_EQ(Format("x%S", Args(nullText), 9), "x(null)");
  EXPECT_EQ(Format("x%Sy", Args(nullText), 8), "xy");
}

std::string TimeText() {
  char text[64];
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return std::string(text, std::strftime(text, sizeof text, "%c", &local));
}

long CurrentTid() { return syscall(SYS_gettid); }

std::string Suffix(long tid, unsigned messageNumber) {
  return "\t(" + std::to_string(tid) + ") [" + std::to_string(messageNumber) + "]\n";
}

std::string FormatLine(const std::string& format, std::uint32_t messageNumber, const std::vector<TraceArg>& args) {
  char buf[kTraceLineSize];
  std::memset(buf, kCanary, sizeof buf);
  const TraceRecord record{TRACE_LEVEL_ERROR, TRACE_COMPONENT_CORE, 0, 0, messageNumber};
  const std::size_t n = TraceFormatLine(buf, sizeof buf, record, format.c_str(), args);
  EXPECT_LE(n, kTraceLineSize - 1);
  EXPECT_EQ(buf[n], '\0');
  return std::string(buf, n);
}

TEST(TraceLine, LayoutAndCutting) {
  const std::string before = TimeText();
  const std::string line = FormatLine("value %d", 7, Args(12));
  const std::string tail = " value 12" + Suffix(CurrentTid(), 7);
  EXPECT_TRUE(line == before + tail || line == TimeText() + tail) << line;

  // A 3000-character message: 2047 bytes, ending in the tab, no newline.
  const std::string longLine = FormatLine(std::string(3000, 'm'), 0, {});
  ASSERT_EQ(longLine.size(), kTraceLineSize - 1);
  EXPECT_EQ(longLine.substr(longLine.size() - 2), "m\t");
  EXPECT_EQ(longLine.find('\n'), std::string::npos);

  // The longest message whose whole suffix fits, and one byte more.
  const std::string suffix = Suffix(CurrentTid(), 0);
  const std::size_t fits = kTraceLineSize - 1 - (TimeText().size() + 1) - suffix.size();
  const std::string exact = FormatLine(std::string(fits, 'e'), 0, {});
  EXPECT_EQ(exact.size(), kTraceLineSize - 1);
  EXPECT_EQ(exact.substr(exact.size() - suffix.size()), suffix);
  const std::string cut = FormatLine(std::string(fits + 1, 'e'), 0, {});
  EXPECT_EQ(cut.size(), kTraceLineSize - 1);
  EXPECT_EQ(cut.substr(cut.size() - (suffix.size() - 1)), suffix.substr(0, suffix.size() - 1));
}

class TraceLogTest : public ::testing::Test {
 protected:
  void TearDown() override {
    TraceCloseLogFile();
    TraceSetLevel(TRACE_LEVEL_ERROR);
    TraceSetComponentFilter(0xFFFFFFFFu);
  }
  static std::size_t LineCount(const std::string& path) {
    const std::string text = ReadWholeFile(path);
    EXPECT_TRUE(text.empty() || text.back() == '\n') << "unterminated last line";
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }
  vt_test::TempDir dir_;
  const std::string path_ = dir_ / "trace.log";
};

TEST_F(TraceLogTest, LinesGoToTheOpenPrivateFileWithTheWritersThreadId) {
  const std::string second = dir_ / "second.log";
  TraceOpenLogFile(path_.c_str(), nullptr);
  struct stat st {};
  ASSERT_EQ(stat(path_.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0600u);
  TraceError(TRACE_COMPONENT_CORE, "first %!STATUS!", STATUS_NOT_FOUND);
  TraceOpenLogFile(second.c_str(), nullptr);  // replaces the first log
  TraceError(TRACE_COMPONENT_CORE, "to second");
  // A failed open leaves no log: later lines go nowhere.
  for (const std::string& bad : {dir_ / "missing/dir/log", dir_.path()}) {
    TraceOpenLogFile(bad.c_str(), nullptr);
    TraceError(TRACE_COMPONENT_CORE, "lost %d", 1);
  }
  TraceOpenLogFile(path_.c_str(), nullptr);  // reopening appends
  TraceWrite(TRACE_LEVEL_ERROR, TRACE_COMPONENT_PATH, 0, 0, 9, "second %s", "x");
  long workerTid = 0;
  std::thread([&workerTid] {
    workerTid = CurrentTid();
    TraceError(TRACE_COMPONENT_CORE, "from worker");
  }).join();
  ASSERT_NE(workerTid, CurrentTid());
  TraceCloseLogFile();
  TraceError(TRACE_COMPONENT_CORE, "after close");
  TraceCloseLogFile();  // closing twice is harmless

  const std::string text = ReadWholeFile(path_);
  EXPECT_EQ(LineCount(path_), 3u) << text;
  for (const std::string& line : {" first STATUS=0xC0000225" + Suffix(CurrentTid(), 0),
                                  " second x" + Suffix(CurrentTid(), 9), " from worker" + Suffix(workerTid, 0)}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
  EXPECT_EQ(LineCount(second), 1u);
  EXPECT_EQ(ReadWholeFile(dir_ / "missing/dir/log"), "<missing>");
}

TEST_F(TraceLogTest, LevelGateAndComponentFilter) {
  struct Gate {
    std::uint32_t current, filter, level, component;
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
    EXPECT_EQ(LineCount(path_), expected)
        << "current " << g.current << " filter " << g.filter << " level " << g.level << " component " << g.component;
  }
}

#ifdef VT_TRACE_COUNT_ALLOCATIONS
TEST_F(TraceLogTest, WritingALineNeverAllocates) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  const GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  UNICODE_STRING name = TvConstantString(u"name");
  const std::string longMessage(3000, 'x');
  TraceError(TRACE_COMPONENT_CORE, "warm up %d", 1);  // the first localtime_r may load zone data
  gAllocations = 0;
  gCountAllocations = true;
  TraceError(TRACE_COMPONENT_CORE, "%!ERRNO! %!STATUS! %!GUID! %wZ %I64u %s %d", ENOENT, STATUS_NOT_FOUND, &guid,
             &name, UINT64_MAX, "text", -1);
  TraceError(TRACE_COMPONENT_CORE, "%5000d|%-5000s|%.5000f|%.900e|%5000.3000g", 1, "s", 1e300, 1.5, 2.5);
  TraceError(TRACE_COMPONENT_CORE, longMessage.c_str());
  TraceWrite(TRACE_LEVEL_DEBUG, TRACE_COMPONENT_CORE, 0, 0, 0, "dropped %d", 1);
  gCountAllocations = false;
  EXPECT_EQ(gAllocations.load(), 0);
  EXPECT_GT(ReadWholeFile(path_).size(), 2 * (kTraceLineSize - 1));  // the lines did go out
}
#endif

TEST_F(TraceLogTest, ConcurrentWritersNeverInterleaveWithinALine) {
  TraceOpenLogFile(path_.c_str(), nullptr);
  constexpr char kFillers[] = "~^&|";
  constexpr std::size_t kPerThread = 200;
  std::vector<std::thread> threads;
  for (const char c : std::string_view(kFillers)) {
    threads.emplace_back([c] {
      const std::string filler(300, c);
      for (std::size_t i = 0; i < kPerThread; ++i) TraceError(TRACE_COMPONENT_CORE, "%s", filler.c_str());
    });
  }
  for (std::thread& th : threads) th.join();
  ASSERT_EQ(LineCount(path_), 4 * kPerThread);
  // Each line holds one call's filler whole, right before the suffix.
  const std::string text = ReadWholeFile(path_);
  for (std::size_t start = 0, nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1) {
    const std::string line = text.substr(start, nl - start);
    const std::size_t at = line.find_first_of(kFillers);
    ASSERT_NE(at, std::string::npos) << line;
    EXPECT_EQ(line.find(std::string(300, line[at]) + "\t("), at) << line;
  }
}

}  // namespace
