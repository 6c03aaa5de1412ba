// Builds configuration-store images byte by byte, independently of the store's
// own code, so tests can seed files and check what the store wrote.
// Layout: 8192 bytes; u16 version (2) at offset 0; slot i (1..28) at 282 * i:
// u16 name length in bytes, 22 bytes of UTF-16LE name, u16 data length, 256 bytes
// of data. All little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vt_test {

class StoreImage {
 public:
  // An empty, valid image (version 2, all slots zero).
  StoreImage() : bytes_(kSize, '\0') { PutU16(0, 2); }

  const std::string& bytes() const { return bytes_; }

  // Writes a record into `slot` (1..28): ASCII name widened to UTF-16LE.
  StoreImage& Put(int slot, std::string_view name, std::string_view data) {
    const std::size_t o = kSlotSize * static_cast<std::size_t>(slot);
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
    for (int slot = 1; slot <= kSlots; ++slot) {
      const std::size_t o = kSlotSize * static_cast<std::size_t>(slot);
      if (bytes_[o] == '\0' && bytes_[o + 1] == '\0') return Put(slot, name, data);
    }
    return *this;
  }

 private:
  static constexpr std::size_t kSize = 8192, kSlotSize = 282;
  static constexpr int kSlots = 28;
  void PutU16(std::size_t offset, std::uint16_t v) {
    bytes_[offset] = static_cast<char>(v & 0xFF);
    bytes_[offset + 1] = static_cast<char>(v >> 8);
  }
  std::string bytes_;
};

}  // namespace vt_test
