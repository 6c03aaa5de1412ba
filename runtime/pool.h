// Tagged allocator. Every runtime buffer comes from TvAllocatePoolWithTag and goes
// back through TvFreePoolWithTag. Each block is preceded by a 16-byte header
// (requested size as u64, tag index as u32, the four-character tag) and is aligned
// to 16 bytes. Memory is not zeroed. A request for 0 bytes is served as 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

// Tag indices used across the runtime. The table holds 1280 four-character tags;
// an index of 1280 or above is labelled "????".
inline constexpr std::uint32_t kPoolTagCount = 1280;
inline constexpr std::uint32_t kTagStringBuffer = 2;      // "Strg": buffers owned by a descriptor
inline constexpr std::uint32_t kTagStringObject = 8;      // string objects with inline storage
inline constexpr std::uint32_t kTagOwnedMutex = 129;
inline constexpr std::uint32_t kTagRecursiveLock = 130;
inline constexpr std::uint32_t kTagUtf8Buffer = 290;      // UTF-8 buffers returned by conversion
inline constexpr std::uint32_t kTagSimpleStore = 300;     // the configuration store's image
inline constexpr std::uint32_t kTagPathBuffer = 301;      // realpath buffers
inline constexpr std::uint32_t kTagTool = 302;            // option handlers' scratch buffers
inline constexpr std::uint32_t kTagRegistry = 684;

// Returns a 16-byte-aligned block of at least `size` bytes, or null after logging
// "Allocation failure.". The caller owns the block and frees it with
// TvFreePoolWithTag.
[[nodiscard]] void* TvAllocatePoolWithTag(std::size_t size, std::uint32_t tagIndex);

// Frees a block from TvAllocatePoolWithTag; null is ignored. The release is
// accounted with the size and tag stored in the block's header; `tagIndex` is not
// consulted.
void TvFreePoolWithTag(void* block, std::uint32_t tagIndex);

// The four-character label of a tag index ("????" for an index out of range). The
// result is not NUL-terminated.
const char* TvPoolTagText(std::uint32_t tagIndex);

// RAII owner of one pool block.
class PoolBuffer {
 public:
  PoolBuffer() = default;
  PoolBuffer(std::size_t size, std::uint32_t tagIndex)
      : ptr_(TvAllocatePoolWithTag(size, tagIndex)), tag_(tagIndex) {}
  // Takes ownership of a block that came from TvAllocatePoolWithTag.
  static PoolBuffer Adopt(void* block, std::uint32_t tagIndex) {
    PoolBuffer b;
    b.ptr_ = block;
    b.tag_ = tagIndex;
    return b;
  }
  PoolBuffer(PoolBuffer&& other) noexcept
      : ptr_(std::exchange(other.ptr_, nullptr)), tag_(other.tag_) {}
  PoolBuffer& operator=(PoolBuffer&& other) noexcept {
    if (this != &other) {
      reset();
      ptr_ = std::exchange(other.ptr_, nullptr);
      tag_ = other.tag_;
    }
    return *this;
  }
  PoolBuffer(const PoolBuffer&) = delete;
  PoolBuffer& operator=(const PoolBuffer&) = delete;
  ~PoolBuffer() { reset(); }

  void reset() { TvFreePoolWithTag(std::exchange(ptr_, nullptr), tag_); }
  [[nodiscard]] void* release() { return std::exchange(ptr_, nullptr); }
  void* get() const { return ptr_; }
  template <typename T>
  T* as() const { return static_cast<T*>(ptr_); }
  explicit operator bool() const { return ptr_ != nullptr; }

 private:
  void* ptr_ = nullptr;
  std::uint32_t tag_ = 0;
};
