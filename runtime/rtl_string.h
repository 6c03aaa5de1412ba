// Counted strings. UNICODE_STRING holds UTF-16LE text, ANSI_STRING 8-bit (UTF-8)
// text; both count bytes. Length never counts a terminator; MaximumLength is the
// buffer's size in bytes (at most 65534 for UNICODE_STRING). A well-formed
// UNICODE_STRING has even lengths, Length <= MaximumLength, and a non-null Buffer
// unless both lengths are 0. No operation here writes outside MaximumLength.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "runtime/status.h"

using WCHAR = char16_t;

struct UNICODE_STRING {
  std::uint16_t Length;
  std::uint16_t MaximumLength;
  WCHAR* Buffer;
};

struct ANSI_STRING {
  std::uint16_t Length;
  std::uint16_t MaximumLength;
  char* Buffer;
};

inline constexpr std::uint16_t kUnicodeStringMaxBytes = 0xFFFE;

// A constant UNICODE_STRING over a UTF-16 literal (Length excludes the terminator,
// MaximumLength includes it). The text must not be written through.
template <std::size_t N>
constexpr UNICODE_STRING TvConstantString(const char16_t (&text)[N]) {
  static_assert(N >= 1 && (N - 1) * 2 <= kUnicodeStringMaxBytes);
  return UNICODE_STRING{static_cast<std::uint16_t>((N - 1) * 2), static_cast<std::uint16_t>(N * 2),
                        const_cast<WCHAR*>(text)};
}

// The text of a descriptor as a view of UTF-16 units.
inline std::u16string_view View(const UNICODE_STRING& s) {
  return s.Buffer ? std::u16string_view(s.Buffer, s.Length / 2u) : std::u16string_view();
}
inline std::string_view View(const ANSI_STRING& s) {
  return s.Buffer ? std::string_view(s.Buffer, s.Length) : std::string_view();
}

inline constexpr std::uint32_t RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE = 1;
inline constexpr std::uint32_t RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING = 2;

// Points dest at `source` without copying: Length = min(strlen, 65534),
// MaximumLength = Length + 1; a null source gives 0, 0, null.
void RtlInitAnsiString(ANSI_STRING* dest, const char* source);

// Free a buffer owned by the descriptor (tag index 2) and clear the descriptor;
// nothing happens when Buffer is null.
void RtlFreeAnsiString(ANSI_STRING* s);
void RtlFreeUnicodeString(UNICODE_STRING* s);

// Copies min(source Length, dest MaximumLength) bytes, cutting silently; adds a
// terminator when dest has two bytes of room after the text. A null source sets
// dest Length to 0.
void RtlCopyUnicodeString(UNICODE_STRING* dest, const UNICODE_STRING* source);

// Appends NUL-terminated UTF-16 text (null: success, no change).
// STATUS_BUFFER_TOO_SMALL, dest unchanged, when the source exceeds 65532 bytes or
// does not fit in dest's MaximumLength. A terminator is written when room remains.
[[nodiscard]] NTSTATUS RtlAppendUnicodeToString(UNICODE_STRING* dest, const WCHAR* source);

// Appends a descriptor's text; empty source: success, no change;
// STATUS_BUFFER_TOO_SMALL when it does not fit. Terminates when room remains.
[[nodiscard]] NTSTATUS RtlAppendUnicodeStringToString(UNICODE_STRING* dest, const UNICODE_STRING* source);

// Makes an owned copy (tag index 2) in *dest, which the caller frees with
// RtlFreeUnicodeString. Flags: RTL_DUPLICATE_UNICODE_STRING_*. Statuses:
// STATUS_INVALID_PARAMETER (bad flags, null dest, malformed source),
// STATUS_NAME_TOO_LONG, STATUS_NO_MEMORY. On failure dest->Buffer is null.
[[nodiscard]] NTSTATUS RtlDuplicateUnicodeString(std::uint32_t flags, const UNICODE_STRING* source,
                                                 UNICODE_STRING* dest);

// Unit-by-unit comparison; with caseInsensitive only a-z fold onto A-Z. Negative,
// zero or positive.
[[nodiscard]] std::int32_t RtlCompareUnicodeString(const UNICODE_STRING* first, const UNICODE_STRING* second,
                                                   bool caseInsensitive);

// One allocation (tag index 8) holding a descriptor followed by `capacity` UTF-16
// units: MaximumLength = 2 * capacity, Length = 0. Null on failure, or when the
// capacity is 32768 units or more (logged as "String too large %i"). Free with
// TvFreeUnicodeString.
[[nodiscard]] UNICODE_STRING* TvAllocateUnicodeString(std::uint32_t capacity);
void TvFreeUnicodeString(UNICODE_STRING* s);

// Units before the terminator; 0 for null.
[[nodiscard]] std::size_t TvWideStringLength(const WCHAR* text);

// Checked size arithmetic: *result = a + b, or STATUS_INTEGER_OVERFLOW (logged
// with `action`) when the sum does not fit the type.
[[nodiscard]] NTSTATUS TvCheckedAdd16(std::uint16_t a, std::uint16_t b, std::uint16_t* result, const char* action);
[[nodiscard]] NTSTATUS TvCheckedAdd32(std::uint32_t a, std::uint32_t b, std::uint32_t* result, const char* action);

// RAII owners for descriptors whose Buffer the runtime allocated.
class OwnedUnicodeString {
 public:
  OwnedUnicodeString() = default;
  OwnedUnicodeString(const OwnedUnicodeString&) = delete;
  OwnedUnicodeString& operator=(const OwnedUnicodeString&) = delete;
  ~OwnedUnicodeString() { RtlFreeUnicodeString(&s_); }
  const UNICODE_STRING& get() const { return s_; }
  UNICODE_STRING* ptr() { return &s_; }

 private:
  UNICODE_STRING s_{0, 0, nullptr};
};

class OwnedAnsiString {
 public:
  OwnedAnsiString() = default;
  OwnedAnsiString(const OwnedAnsiString&) = delete;
  OwnedAnsiString& operator=(const OwnedAnsiString&) = delete;
  ~OwnedAnsiString() { RtlFreeAnsiString(&s_); }
  ANSI_STRING* ptr() { return &s_; }
  const ANSI_STRING& get() const { return s_; }

 private:
  ANSI_STRING s_{0, 0, nullptr};
};

// Owner of a string object from TvAllocateUnicodeString.
class StringObject {
 public:
  explicit StringObject(UNICODE_STRING* s = nullptr) : s_(s) {}
  StringObject(StringObject&& o) noexcept : s_(std::exchange(o.s_, nullptr)) {}
  StringObject& operator=(StringObject&& o) noexcept {
    if (this != &o) {
      TvFreeUnicodeString(s_);
      s_ = std::exchange(o.s_, nullptr);
    }
    return *this;
  }
  StringObject(const StringObject&) = delete;
  StringObject& operator=(const StringObject&) = delete;
  ~StringObject() { TvFreeUnicodeString(s_); }
  UNICODE_STRING* get() const { return s_; }
  UNICODE_STRING* release() { return std::exchange(s_, nullptr); }
  explicit operator bool() const { return s_ != nullptr; }

 private:
  UNICODE_STRING* s_;
};
