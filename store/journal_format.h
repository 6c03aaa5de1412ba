// The store's write-back journal, byte by byte. It lives beside the store, at the
// store's path with "-journal" appended (/opt/Marrowlight/vantorstore-journal),
// only while a write-back is under way; a complete write-back removes it. The
// sensor daemon never reads it. All integers are little-endian.
//
//   offset  size   field
//        0     8   magic "VSJRNL01"
//        8     8   replaced length: the store file's length before the write-back
//       16  8192   replaced image: the file's first 8192 bytes before the write-back,
//                  zero past its length
//     8208  8192   intended image: the store's image after the write-back
//    16400     4   CRC-32C of bytes 0 to 16399
//    16404         end: a journal of any other length is incomplete
//
// A journal is complete when it is exactly kJournalSize bytes long, starts with
// the magic and its checksum matches. Only a complete journal is ever applied,
// and only to a store each of whose 512-byte sectors (read as zero past the
// file's end) equals that sector of the replaced or of the intended image: such
// a store can only be this write-back cut part way. A store with any other
// sector, or of a length other than the replaced one and above the image size,
// was written since, and the journal is discarded.
#pragma once

#include <cstddef>
#include <cstdint>

#include "store/store_layout.h"

namespace store_journal {

inline constexpr char kMagic[8] = {'V', 'S', 'J', 'R', 'N', 'L', '0', '1'};
inline constexpr char kPathSuffix[] = "-journal";

inline constexpr std::size_t kMagicOffset = 0;
inline constexpr std::size_t kReplacedLengthOffset = kMagicOffset + sizeof kMagic;
inline constexpr std::size_t kReplacedOffset = kReplacedLengthOffset + 8;
inline constexpr std::size_t kIntendedOffset = kReplacedOffset + store_layout::kImageSize;
inline constexpr std::size_t kChecksumOffset = kIntendedOffset + store_layout::kImageSize;
inline constexpr std::size_t kJournalSize = kChecksumOffset + 4;

// The unit a disk writes whole: a power cut leaves each one old or new.
inline constexpr std::size_t kSectorSize = 512;

static_assert(kReplacedOffset == 16 && kIntendedOffset == 8208 && kJournalSize == 16404);
static_assert(store_layout::kImageSize % kSectorSize == 0);

}  // namespace store_journal
