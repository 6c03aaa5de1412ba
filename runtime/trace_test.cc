#include "runtime/trace.h"

#include <mcheck.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

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
