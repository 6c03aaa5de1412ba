#include "runtime/crc32c.h"

#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#include <nmmintrin.h>
#endif

namespace crc32c_detail {

#if defined(__x86_64__)
namespace {

__attribute__((target("sse4.2"))) std::uint32_t UpdateWithInstruction(std::uint32_t crc,
                                                                      std::span<const std::uint8_t> bytes) {
  std::uint64_t c = crc;
  std::size_t i = 0;
  for (; i + 8 <= bytes.size(); i += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data() + i, sizeof word);  // little-endian, as the reflected CRC wants
    c = _mm_crc32_u64(c, word);
  }
  auto tail = static_cast<std::uint32_t>(c);
  for (; i < bytes.size(); ++i) {
    tail = _mm_crc32_u8(tail, bytes[i]);
  }
  return tail;
}

// Asked once, when first needed: no constructor runs before main.
bool HasInstruction() {
  static const bool has = [] {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_SSE4_2) != 0;
  }();
  return has;
}

}  // namespace
#endif

std::uint32_t UpdateAtRunTime(std::uint32_t crc, std::span<const std::uint8_t> bytes) {
#if defined(__x86_64__)
  if (HasInstruction()) {
    return UpdateWithInstruction(crc, bytes);
  }
#endif
  return Update(crc, bytes);
}

}  // namespace crc32c_detail
