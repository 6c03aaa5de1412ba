// CRC-32C (Castagnoli: reflected polynomial 0x82F63B78, initial value and
// final XOR 0xFFFFFFFF), the checksum ext4, iSCSI and LevelDB use for their
// records. At compile time, and on processors without the instruction, a table
// built at compile time, one byte at a time; at run time on x86-64 processors
// with SSE4.2, the processor's own crc32 instruction, eight bytes at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

namespace crc32c_detail {

constexpr std::array<std::uint32_t, 256> MakeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t crc = i;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc & 1u) != 0 ? (crc >> 1) ^ 0x82F63B78u : crc >> 1;
    }
    table[i] = crc;
  }
  return table;
}

inline constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

template <typename Byte>
constexpr std::uint32_t Update(std::uint32_t crc, std::span<const Byte> bytes) {
  for (const Byte b : bytes) {
    crc = kTable[(crc ^ static_cast<std::uint8_t>(b)) & 0xFFu] ^ (crc >> 8);
  }
  return crc;
}

// The running CRC (not yet inverted) through the processor's instruction, or
// the table where there is none.
std::uint32_t UpdateAtRunTime(std::uint32_t crc, std::span<const std::uint8_t> bytes);

}  // namespace crc32c_detail

[[nodiscard]] constexpr std::uint32_t Crc32c(std::span<const std::uint8_t> bytes) {
  // A statement, not a const initializer: the initializer of a const integer
  // is itself tried as a constant expression, where the test is always true.
  if (std::is_constant_evaluated()) {
    return crc32c_detail::Update(0xFFFFFFFFu, bytes) ^ 0xFFFFFFFFu;
  }
  return crc32c_detail::UpdateAtRunTime(0xFFFFFFFFu, bytes) ^ 0xFFFFFFFFu;
}

// The standard check value of the algorithm (RFC 3720, appendix B.4).
static_assert(crc32c_detail::Update(0xFFFFFFFFu, std::span<const char>(std::string_view("123456789"))) ==
              (0xE3069283u ^ 0xFFFFFFFFu));
