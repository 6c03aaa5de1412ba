#include "tests/support/alloc_fault.h"

#include <atomic>
#include <cstdlib>

namespace {
std::atomic<long> gLeft{0};
std::atomic<bool> gFailed{false};
}  // namespace

void vt_test::FailNthAllocation(long nth) { gFailed = false; gLeft = nth; }

bool vt_test::StopFailingAllocations() { gLeft = 0; return gFailed; }

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  if (gLeft > 0 && --gLeft == 0) {
    gFailed = true;
    return nullptr;
  }
  void* block = nullptr;
  return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
}
