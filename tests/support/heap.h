// The C heap's count of bytes in use, to show what a test's subject did not
// give back. CTest turns the C library's per-thread cache off
// (GLIBC_TUNABLES=glibc.malloc.tcache_count=0): a block freed into that cache
// still counts as in use. The sanitizer builds' own allocators leave the count
// alone, so there the check always holds and their leak checker does the work.
#pragma once

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace vt_test {

inline std::size_t HeapInUse() {
  { SCOPED_TRACE(""); }  // gtest keeps the trace stack it grows
  tzset();               // and the C library the zone a log line's time stamp loads
  return mallinfo2().uordblks;
}

inline void ExpectHeapAsBefore(std::size_t before) {
  if (const char* t = std::getenv("GLIBC_TUNABLES"); t != nullptr && std::strstr(t, "tcache_count=0") != nullptr) {
    EXPECT_EQ(HeapInUse(), before) << "bytes left on the heap";
  }
}

}  // namespace vt_test
