// The registry file's binary layout, in one place. The file is a bare sequence of
// entries (no header, magic, version, count or checksum); an empty file is an
// empty registry. All integers are little-endian. Each entry starts with a
// one-byte type code:
//   0x01 Store       GUID (16 bytes: Data1 u32, Data2 u16, Data3 u16, Data4[8])
//   0x02 Collection  GUID
//   0x03 Record      u16 name length in bytes (< 0x8000), UTF-16LE name
//   0x04 Attribute   u16 name length in bytes (< 0x8000), UTF-16LE name,
//                    u32 data length, data bytes
// Entries follow a depth-first walk of the tree in sibling order; a child's parent
// is the nearest preceding entry of the level above. Volatile collections and
// records, and everything below them, are not written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "runtime/little_endian.h"
#include "runtime/utf8.h"

namespace registry_format {

inline constexpr std::uint8_t kStoreEntry = 0x01;
inline constexpr std::uint8_t kCollectionEntry = 0x02;
inline constexpr std::uint8_t kRecordEntry = 0x03;
inline constexpr std::uint8_t kAttributeEntry = 0x04;

inline constexpr std::size_t kTypeBytes = 1;
inline constexpr std::size_t kGuidBytes = 16;
inline constexpr std::size_t kNameLengthBytes = 2;
inline constexpr std::size_t kDataLengthBytes = 4;
// Name lengths (bytes) must stay below this.
inline constexpr std::uint32_t kNameLengthLimit = 0x8000;

// The temporary file is the registry path with this appended; its buffer holds
// the path, the suffix and a terminator and must stay below kTempPathBufferLimit.
inline constexpr char16_t kTempSuffix[] = u".tmp";
inline constexpr std::size_t kTempPathExtraBytes = 10;  // 8 for ".tmp", 2 for the terminator
inline constexpr std::size_t kTempPathBufferLimit = 65535;

// GUID <-> its 16 file bytes.
inline constexpr GUID DecodeGuid(std::span<const std::uint8_t, kGuidBytes> bytes) {
  GUID guid{};
  guid.Data1 = little_endian::Load<std::uint32_t>(bytes.data());
  guid.Data2 = little_endian::Load<std::uint16_t>(bytes.data() + 4);
  guid.Data3 = little_endian::Load<std::uint16_t>(bytes.data() + 6);
  for (std::size_t i = 0; i < 8; ++i) {
    guid.Data4[i] = bytes[8 + i];
  }
  return guid;
}
inline constexpr void EncodeGuid(const GUID& guid, std::span<std::uint8_t, kGuidBytes> bytes) {
  little_endian::Store<std::uint32_t>(bytes.data(), guid.Data1);
  little_endian::Store<std::uint16_t>(bytes.data() + 4, guid.Data2);
  little_endian::Store<std::uint16_t>(bytes.data() + 6, guid.Data3);
  for (std::size_t i = 0; i < 8; ++i) {
    bytes[8 + i] = guid.Data4[i];
  }
}

}  // namespace registry_format
