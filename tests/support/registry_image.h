// Registry-file bytes built by hand, independently of the registry's own code:
// the system-tag store and collection keys, the "00:00:00:00" record and its
// bitmap and list attributes, as the tool reads them for --systags.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/store_image.h"

namespace vt_test {

inline constexpr char kRegistryPath[] = "/opt/Marrowlight/Registry.bin";
inline constexpr char kBitmapName[] = "{c68df783-ec90-43ab-b6b3-03001700cc2b}";
inline constexpr char kListName[] = "{f8e11898-7dc7-4025-abc3-b930753f2911}";

inline std::string U16Bytes(std::uint16_t v) {
  return std::string{static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)};
}

inline std::string Named(const std::string& ascii) {  // u16 byte length + UTF-16LE
  std::string bytes = U16Bytes(static_cast<std::uint16_t>(ascii.size() * 2));
  for (char c : ascii) bytes += std::string{c, '\0'};
  return bytes;
}

// 0x01 + the system-tag store GUID, 0x02 + the system-tag collection GUID.
inline std::string TagStore() {
  return "\x01" + U32Bytes(0x733c9a98) + U16Bytes(0x7f6b) + U16Bytes(0x4538) +
         std::string("\x9a\x35\x5c\x19\x5f\x22\x4c\x0d", 8) + "\x02" + std::string(15, '\0') + "\x0b";
}
inline std::string Attribute(const std::string& name, const std::string& data) {
  return "\x04" + Named(name) + U32Bytes(static_cast<std::uint32_t>(data.size())) + data;
}
inline std::string Bitmap(std::initializer_list<std::pair<int, unsigned char>> bytes) {
  std::string bitmap(64, '\0');
  for (auto [index, value] : bytes) bitmap[static_cast<std::size_t>(index)] = static_cast<char>(value);
  return bitmap;
}
inline std::string WithBitmap(const std::string& bitmap) {
  return TagStore() + "\x03" + Named("00:00:00:00") + Attribute(kBitmapName, bitmap);
}
inline std::string Registry(const std::string& bitmap, const std::vector<std::uint64_t>& list) {
  std::string listBytes;
  for (std::uint64_t v : list) listBytes += U64Bytes(v);
  return WithBitmap(bitmap) + Attribute(kListName, listBytes);
}

}  // namespace vt_test
