// Tagged allocator: a 16-byte header in front of every 16-byte-aligned block.
#include "runtime/pool.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "runtime/trace.h"

namespace {

struct PoolHeader {
  std::uint64_t size;      // requested size (0 is recorded as 1)
  std::uint32_t tagIndex;  // caller's tag index, as given
  char tag[4];             // label looked up by index, "????" out of range
};
static_assert(sizeof(PoolHeader) == 16);

constexpr std::size_t kAlignment = 16;

using TagText = std::array<char, 4>;

constexpr char HexDigit(std::uint32_t v) { return static_cast<char>(v < 10 ? '0' + v : 'A' + (v - 10)); }

// Labels of the pool tags. Entries with a role of their own carry a readable
// label; every other index i is labelled 'T' followed by i as three upper-case
// hex digits (T000..T4FF). The readable labels never have the form 'T' + three
// hex digits, so all 1280 labels are distinct (checked below at compile time).
constexpr std::array<TagText, kPoolTagCount> MakeTagTable() {
  std::array<TagText, kPoolTagCount> table{};
  for (std::uint32_t i = 0; i < kPoolTagCount; ++i) {
    table[i] = TagText{'T', HexDigit((i >> 8) & 0xF), HexDigit((i >> 4) & 0xF), HexDigit(i & 0xF)};
  }
  table[kTagStringBuffer] = TagText{'S', 't', 'r', 'g'};
  table[kTagStringObject] = TagText{'S', 't', 'r', 'O'};
  table[kTagOwnedMutex] = TagText{'M', 't', 'x', 'O'};
  table[kTagRecursiveLock] = TagText{'R', 'L', 'c', 'k'};
  table[kTagUtf8Buffer] = TagText{'U', 't', 'f', '8'};
  table[kTagSimpleStore] = TagText{'S', 'S', 't', 'r'};
  table[kTagPathBuffer] = TagText{'P', 'a', 't', 'h'};
  table[kTagTool] = TagText{'C', 't', 'l', 'T'};
  table[kTagRegistry] = TagText{'R', 'e', 'g', 'y'};
  return table;
}

constexpr std::array<TagText, kPoolTagCount> kTagTable = MakeTagTable();

constexpr bool TagsDistinct() {
  // Generated labels differ from each other by construction; check that no
  // readable label equals any other entry.
  constexpr std::uint32_t named[] = {kTagStringBuffer, kTagStringObject, kTagOwnedMutex,
                                     kTagRecursiveLock, kTagUtf8Buffer,  kTagSimpleStore,
                                     kTagPathBuffer,   kTagTool,          kTagRegistry};
  for (std::uint32_t n : named) {
    for (std::uint32_t i = 0; i < kPoolTagCount; ++i) {
      if (i != n && kTagTable[i] == kTagTable[n]) return false;
    }
  }
  return true;
}
static_assert(TagsDistinct(), "pool tag labels must be distinct");
static_assert(kTagTable[kTagStringBuffer] == TagText{'S', 't', 'r', 'g'});

constexpr char kUnknownTag[4] = {'?', '?', '?', '?'};

PoolHeader* HeaderOf(void* block) { return static_cast<PoolHeader*>(block) - 1; }

}  // namespace

const char* TvPoolTagText(std::uint32_t tagIndex) {
  return tagIndex < kPoolTagCount ? kTagTable[tagIndex].data() : kUnknownTag;
}

void* TvAllocatePoolWithTag(std::size_t size, std::uint32_t tagIndex) {
  const std::size_t requested = size == 0 ? 1 : size;
  // Header plus the block rounded up to the alignment; aligned_alloc wants a
  // multiple of the alignment. A size this close to SIZE_MAX cannot be served.
  if (requested > std::numeric_limits<std::size_t>::max() - sizeof(PoolHeader) - kAlignment) {
    TraceError(TRACE_COMPONENT_CORE, "Allocation failure.");
    return nullptr;
  }
  const std::size_t total = (sizeof(PoolHeader) + requested + kAlignment - 1) & ~(kAlignment - 1);
  void* raw = std::aligned_alloc(kAlignment, total);
  if (raw == nullptr) {
    TraceError(TRACE_COMPONENT_CORE, "Allocation failure.");
    return nullptr;
  }
  auto* header = static_cast<PoolHeader*>(raw);
  header->size = requested;
  header->tagIndex = tagIndex;
  std::memcpy(header->tag, TvPoolTagText(tagIndex), sizeof(header->tag));
  return header + 1;
}

// Per-tag accounting is not switched on in this tool, so the release only
// frees the block; the header's size and tag index are what accounting would use.
void TvFreePoolWithTag(void* block, std::uint32_t /*tagIndex*/) {
  if (block == nullptr) return;
  std::free(HeaderOf(block));
}
