// Binary layout of the configuration store file, in one place. All integers are
// little-endian. The header takes the room of one record slot (slot 0), so slot i
// starts at kSlotSize * i and the scan of slots 1..28 ends at kTailOffset.
#pragma once

#include <cstddef>
#include <cstdint>

namespace store_layout {

inline constexpr std::size_t kImageSize = 8192;
inline constexpr std::uint16_t kVersion = 2;

// Header (slot 0).
inline constexpr std::size_t kVersionOffset = 0;
inline constexpr std::size_t kVersionSize = 2;
inline constexpr std::size_t kHeaderReservedOffset = kVersionOffset + kVersionSize;

// One record slot.
inline constexpr std::size_t kNameLengthOffset = 0;   // u16, bytes; 0 marks an empty slot
inline constexpr std::size_t kNameOffset = 2;         // UTF-16LE, not terminated
inline constexpr std::size_t kNameCapacity = 22;      // bytes: 11 code units
inline constexpr std::size_t kDataLengthOffset = kNameOffset + kNameCapacity;  // u16, bytes
inline constexpr std::size_t kDataOffset = kDataLengthOffset + 2;
inline constexpr std::size_t kDataCapacity = 256;
inline constexpr std::size_t kSlotSize = kDataOffset + kDataCapacity;

inline constexpr int kFirstSlot = 1;
inline constexpr int kSlotCount = 28;
inline constexpr int kLastSlot = kFirstSlot + kSlotCount - 1;

// Where slot 29 would begin; reserved to the end of the image.
inline constexpr std::size_t kTailOffset = kSlotSize * (kLastSlot + 1);
inline constexpr std::size_t kTailSize = kImageSize - kTailOffset;

constexpr std::size_t SlotOffset(int slot) { return kSlotSize * static_cast<std::size_t>(slot); }

static_assert(kDataLengthOffset == 24 && kDataOffset == 26);
static_assert(kSlotSize == 282);
static_assert(kHeaderReservedOffset + 280 == SlotOffset(kFirstSlot), "the header fills slot 0");
static_assert(SlotOffset(kLastSlot) + kSlotSize == kTailOffset);
static_assert(kTailOffset == 8178 && kTailSize == 14);
static_assert(kNameCapacity % 2 == 0, "names are whole UTF-16 units");

}  // namespace store_layout
