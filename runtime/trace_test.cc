#include "runtime/trace.h"

#include <mcheck.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/rtl_string.h"
#include "tests/support/trace_capture.h"
#include "runtime/utf8.h"

// GCC announces a sanitizer with a macro, clang through __has_feature.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VT_TRACE_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VT_TRACE_SANITIZED 1
#endif

namespace {

using vt_test::ReadWholeFile;

template <typename... A>
std::vector<TraceArg> Args(const A&... a) {
  return {PackTraceArg(a)...};
}

// Formats into `size` bytes followed by canaries; checks no overrun and the
// terminator at the returned length.
std::string Format(const char* format, const std::vector<TraceArg>& args, std::size_t size = kTraceLineSize) {
  std::vector<char> buf(size + 32, 0x7F);
  const std::size_t n = TraceFormatMessage(buf.data(), size, format, args);
  EXPECT_LT(n, size) << format;
  EXPECT_EQ(buf[n], '\0') << format;
  EXPECT_EQ(std::string(buf.begin() + static_cast<long>(size), buf.end()), std::string(32, 0x7F)) << format;
  return std::string(buf.data(), n);
}

TEST(TraceFormat, SpecifiersAndCutting) {
  char ansiText[] = "hello";
  ANSI_STRING ansi{3, 6, ansiText};
  ANSI_STRING lost{2, 2, nullptr}, none{0, 0, nullptr};  // no buffer: null when it claims a length
  UNICODE_STRING ab = TvConstantString(u"ab");
  char16_t units[] = {0x263A, u'q', u'z'};
  UNICODE_STRING oddLength{5, 6, units};  // two whole units and a stray byte
  const void* null = nullptr;
  int sentinel = 1234;
  const GUID guid{0x0123ABCD, 0xEF01, 0x2345, {0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45}};
  const auto check = [](const char* format, const std::vector<TraceArg>& args, const std::string& expected) {
    EXPECT_EQ(Format(format, args), expected) << format;
  };
  check("[%Z][%wZ][%lZ][%wZ][%Z][%Z]", Args(&ansi, &ab, &ab, &oddLength, &lost, &none), "[hel][ab][ab][:q][(null)][]");
  check("%C%lc%wc|%S|%ls|%ws.", Args(0x141, 'y', U'z', u"one", u"two", u""), "Ayz|one|two|.");
  check("[%Z]|[%wZ]|[%S]|%!GUID!|%s|%p", Args(null, null, null, null, null, null),
        "[(null)]|[(null)]|[(null)]|(null)|(null)|(nil)");
  check("%I64u|%I64d|%I64uz", Args(UINT64_MAX, INT64_MIN, 7), "18446744073709551615|-9223372036854775808|7z");
  check("%Ix|%I32x|%I32u|%i", Args(0xdeadbeefcafeull, 0x1234ABCDu, 0x100000005ull, -7), "deadbeefcafe|1234abcd|5|-7");
  check("%!GUID! %!STATUS! %!TIMESTAMP!", Args(&guid, STATUS_NOT_FOUND, 0x1d9f00000000abcdull),
        "{0123abcd-ef01-2345-6789-abcdef012345} STATUS=0xC0000225 Time: 1d9f00000000abcd");
  check("open %s: %!ERRNO!", Args("/x", 2), std::string("open /x: ERRNO=2 (") + std::strerror(ENOENT) + ")");
  check("100%%|%!BOGUS!|%y:%2$d", Args(1), "100%|%!BOGUS!|%y:%2$d");
  check("%d %s %!STATUS! %wZ %I64u", {}, "0 (null) STATUS=0x00000000 (null) 0");  // missing arguments read as 0
  check("%d|%u|%hhd|%x|%zu", Args(0x1FFFFFFFFll, -1, 255, 0xFFFFFFFF12ull, SIZE_MAX),
        "-1|4294967295|-1|ffffff12|18446744073709551615");
  check("%*d|%-*d|%.*s|", Args(5, 42, -4, 1, 3, "hello"), "   42|1   |hel|");
  check("%05.1f|%.2f|%g", Args(3.14159, 3, 2.5f), "003.1|3.00|2.5");
  check("a% %d|ab%ncd%d|end%", Args(1, 2, &sentinel, 5), "a 2|abcd5|end");  // %n never writes
  EXPECT_EQ(sentinel, 1234);
  EXPECT_EQ(Format("%5000d", Args(1)), std::string(959, ' ') + "1");  // widths capped at 960
  // A format ending inside a sized integer; exact-size copies so a read past
  // the end shows under the address sanitizer.
  for (const char* text : {"ab%I", "ab%I32", "ab%I64"}) {
    std::vector<char> format(text, text + std::strlen(text) + 1);
    EXPECT_EQ(Format(format.data(), Args(42)), "ab") << text;
  }
  EXPECT_EQ(Format("%!STATUS!", Args(STATUS_NOT_FOUND), 18), "STATUS=0xC0000225");
  EXPECT_EQ(Format("%!STATUS!", Args(STATUS_NOT_FOUND), 17), "STATUS=0xC000022");
  // The null marker is written only with 8 bytes of room left.
  EXPECT_EQ(Format("%wZ", Args(null), 8), "(null)");
  EXPECT_EQ(Format("%wZ", Args(null), 7), "");
  EXPECT_EQ(Format("x%S", Args(null), 9), "x(null)");
  EXPECT_EQ(Format("x%Sy", Args(null), 8), "xy");
}

class TraceLogTest : public ::testing::Test {
 protected:
  void SetUp() override { TraceOpenLogFile(path_.c_str(), nullptr); }
  void TearDown() override {
    TraceCloseLogFile();
    TraceSetLevel(TRACE_LEVEL_ERROR);
    TraceSetComponentFilter(0xFFFFFFFFu);
  }
  std::size_t LineCount() const {
    const std::string text = ReadWholeFile(path_);
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  }
  vt_test::TempDir dir_;
  const std::string path_ = dir_ / "trace.log";
};

TEST_F(TraceLogTest, LevelGateAndComponentFilter) {
  constexpr std::uint32_t kAll = 0xFFFFFFFFu;
  constexpr struct { std::uint32_t current, filter, level, component; bool written; } kGates[] = {
      {2, kAll, 3, 7, false}, {2, kAll, 2, 7, true}, {2, kAll, 1, 7, true}, {5, kAll, 6, 7, false},
      {0, kAll, 2, 7, false}, {2, 5, 2, 7, false},   {2, 5, 2, 5, true},    {1, 5, 1, 7, true},
  };
  std::size_t expected = 0;
  for (const auto& g : kGates) {
    TraceSetLevel(g.current);
    TraceSetComponentFilter(g.filter);
    TraceWrite(g.level, g.component, 0, 0, 0, "level %u", g.level);
    expected += g.written ? 1 : 0;
    EXPECT_EQ(LineCount(), expected) << g.current << " " << g.filter << " " << g.level << " " << g.component;
  }
}

// The test runs again as a child process under the C library's allocation
// tracer (mtrace, with its debugging library preloaded), which records every
// allocation made between mtrace() and muntrace(); the parent reads the record.
// Not under the sanitizers, whose allocator the tracer cannot see.
TEST_F(TraceLogTest, WritingALineNeverAllocates) {
#ifdef VT_TRACE_SANITIZED
  GTEST_SKIP() << "the sanitizer's allocator is not traced";
#endif
  if (std::getenv("VT_TRACE_MTRACE_CHILD") != nullptr) {
    const GUID guid{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    UNICODE_STRING name = TvConstantString(u"name");
    const std::string longMessage(3000, 'x');
    TraceError(TRACE_COMPONENT_CORE, "warm up %d", 1);  // the first localtime_r may load zone data
    mtrace();
    TraceError(TRACE_COMPONENT_CORE, "%!ERRNO! %!STATUS! %!GUID! %wZ %I64u %s %d", ENOENT, STATUS_NOT_FOUND, &guid,
               &name, UINT64_MAX, "text", -1);
    TraceError(TRACE_COMPONENT_CORE, "%5000d|%-5000s|%.5000f|%.900e|%5000.3000g", 1, "s", 1e300, 1.5, 2.5);
    TraceError(TRACE_COMPONENT_CORE, longMessage.c_str());
    muntrace();
    EXPECT_GT(ReadWholeFile(path_).size(), 2 * (kTraceLineSize - 1));  // the lines did go out
    return;
  }
  char self[4096] = {};
  if (readlink("/proc/self/exe", self, sizeof(self) - 1) <= 0) {
    GTEST_SKIP() << "no /proc/self/exe (a plain chroot without /proc?): the test re-runs itself through it";
  }
  const std::string record = dir_ / "mtrace";
  const std::string command = "VT_TRACE_MTRACE_CHILD=1 LD_PRELOAD=libc_malloc_debug.so.0 MALLOC_TRACE=" + record +
                              " " + self + " --gtest_filter=TraceLogTest.WritingALineNeverAllocates >/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string text = ReadWholeFile(record);
  EXPECT_NE(text.find("= Start"), std::string::npos) << "the tracer did not run";
  EXPECT_EQ(text.find(" + "), std::string::npos) << text;
}

}  // namespace
