// Builds and reads configuration-store images byte by byte, independently of the
// store's own code, so tests can seed files and check what the tool wrote.
// Layout: 8192 bytes; u16 version (2) at offset 0; slot i (1..28) at 282 * i:
// u16 name length in bytes, 22 bytes of UTF-16LE name, u16 data length, 256 bytes
// of data. All little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vt_test {

inline constexpr std::size_t kStoreSize = 8192;
inline constexpr std::size_t kSlotSize = 282;
inline constexpr int kSlotCount = 28;

class StoreImage {
 public:
  // An empty, valid image (version 2, all slots zero).
  StoreImage() : bytes_(kStoreSize, '\0') { PutU16(0, 2); }
  explicit StoreImage(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }
  std::string& bytes() { return bytes_; }

  static std::size_t SlotOffset(int slot) { return kSlotSize * static_cast<std::size_t>(slot); }

  // Writes a record into `slot` (1..28): ASCII name widened to UTF-16LE.
  StoreImage& Put(int slot, std::string_view name, std::string_view data) {
    const std::size_t o = SlotOffset(slot);
    PutU16(o, static_cast<std::uint16_t>(name.size() * 2));
    for (std::size_t i = 0; i < name.size(); ++i) {
      bytes_[o + 2 + 2 * i] = name[i];
      bytes_[o + 2 + 2 * i + 1] = '\0';
    }
    PutU16(o + 24, static_cast<std::uint16_t>(data.size()));
    bytes_.replace(o + 26, data.size(), data);
    return *this;
  }
  // Puts the record into the first slot whose name length is 0.
  StoreImage& Add(std::string_view name, std::string_view data) {
    for (int s = 1; s <= kSlotCount; ++s) {
      if (U16(SlotOffset(s)) == 0) {
        return Put(s, name, data);
      }
    }
    return *this;
  }

  // The data of the first slot holding `name`, as the store would return it.
  std::optional<std::string> Get(std::string_view name) const {
    for (int s = 1; s <= kSlotCount; ++s) {
      const std::size_t o = SlotOffset(s);
      if (U16(o) == name.size() * 2 && NameAt(s) == name) {
        return bytes_.substr(o + 26, U16(o + 24));
      }
    }
    return std::nullopt;
  }
  // The slot's name as ASCII (each UTF-16 unit's low byte).
  std::string NameAt(int slot) const {
    const std::size_t o = SlotOffset(slot);
    std::string name;
    for (std::size_t i = 0; i + 1 < U16(o) && i < 22; i += 2) {
      name.push_back(bytes_[o + 2 + i]);
    }
    return name;
  }

  std::uint16_t U16(std::size_t offset) const {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes_[offset]) |
                                      static_cast<unsigned char>(bytes_[offset + 1]) << 8);
  }
  void PutU16(std::size_t offset, std::uint16_t v) {
    bytes_[offset] = static_cast<char>(v & 0xFF);
    bytes_[offset + 1] = static_cast<char>(v >> 8);
  }

 private:
  std::string bytes_;
};

// Little-endian byte strings for stored numbers.
inline std::string U32Bytes(std::uint32_t v) {
  std::string s(4, '\0');
  for (int i = 0; i < 4; ++i) s[static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
  return s;
}

}  // namespace vt_test
