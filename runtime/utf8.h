// Conversion between UTF-16 and UTF-8, both directions, and the GUID type. A
// lone surrogate or an invalid UTF-8 sequence is never repaired; the
// conversion fails with STATUS_UNSUCCESSFUL.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "runtime/pool.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16);

// Text form "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}", lower case: 38 characters.
inline constexpr std::size_t kGuidTextLength = 38;
// Writes the text form and a terminator into out. Defined here so that the
// trace formatter, which sits below this library, prints GUIDs the same way.
inline void TvFormatGuid(const GUID& guid, char (&out)[kGuidTextLength + 1]) {
  std::snprintf(out, sizeof(out), "{%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x}", guid.Data1,
                static_cast<unsigned>(guid.Data2), static_cast<unsigned>(guid.Data3),
                static_cast<unsigned>(guid.Data4[0]), static_cast<unsigned>(guid.Data4[1]),
                static_cast<unsigned>(guid.Data4[2]), static_cast<unsigned>(guid.Data4[3]),
                static_cast<unsigned>(guid.Data4[4]), static_cast<unsigned>(guid.Data4[5]),
                static_cast<unsigned>(guid.Data4[6]), static_cast<unsigned>(guid.Data4[7]));
}

// The encoder. Encodes `sourceBytes` bytes of UTF-16 units (an odd byte is
// ignored) into dest (null: count only). *produced (required) always receives the
// bytes produced. STATUS_BUFFER_TOO_SMALL stops before the character that does not
// fit; STATUS_UNSUCCESSFUL stops at an invalid surrogate. No terminator.
[[nodiscard]] NTSTATUS TvEncodeUtf8(const WCHAR* source, std::size_t sourceBytes, char* dest, std::size_t destSize,
                                    std::size_t* produced);

// Checked entry point. STATUS_INVALID_PARAMETER for a null dest and null
// produced, STATUS_INVALID_PARAMETER_4 for a null source,
// STATUS_INVALID_PARAMETER_5 for an odd source length. Writes a NUL after the
// bytes produced when room remains (not counted).
[[nodiscard]] NTSTATUS RtlUnicodeToUTF8N(char* dest, std::uint32_t destSize, std::uint32_t* produced,
                                         const WCHAR* source, std::uint32_t sourceBytes);

// One byte per source unit, allocated (tag index 2) when `allocate` is set (the
// only form the tool uses). The caller frees dest with RtlFreeAnsiString. A unit
// of 0x80 or above fails with STATUS_BUFFER_TOO_SMALL; on failure dest->Buffer
// is null.
[[nodiscard]] NTSTATUS RtlUnicodeStringToAnsiString(ANSI_STRING* dest, const UNICODE_STRING* source, bool allocate);

// A new NUL-terminated UTF-8 copy (tag index 290) in *out; *length (optional)
// receives its length without the terminator. The caller frees *out with
// TvFreePoolWithTag(*out, kTagUtf8Buffer).
[[nodiscard]] NTSTATUS TvUnicodeStringToUtf8(char** out, std::size_t* length, const UNICODE_STRING* source);

// RAII owner of a TvUnicodeStringToUtf8 result.
class Utf8String {
 public:
  Utf8String() = default;
  Utf8String(const Utf8String&) = delete;
  Utf8String& operator=(const Utf8String&) = delete;
  ~Utf8String() { TvFreePoolWithTag(text_, kTagUtf8Buffer); }
  [[nodiscard]] NTSTATUS Convert(const UNICODE_STRING* source) {
    TvFreePoolWithTag(text_, kTagUtf8Buffer);
    text_ = nullptr;
    length_ = 0;
    return TvUnicodeStringToUtf8(&text_, &length_, source);
  }
  const char* c_str() const { return text_; }
  std::size_t size() const { return length_; }

 private:
  char* text_ = nullptr;
  std::size_t length_ = 0;
};

// A newly allocated, terminated UNICODE_STRING (tag index 2, freed with
// RtlFreeUnicodeString) from UTF-8 text, as directory entries and resolved
// paths need it. Invalid UTF-8 gives STATUS_UNSUCCESSFUL (a name that cannot
// round-trip is refused rather than repaired), text over 32766 units
// STATUS_NAME_TOO_LONG, allocation failure STATUS_NO_MEMORY. *out is written
// only on success.
[[nodiscard]] NTSTATUS TvUtf8ToUnicodeString(std::string_view text, UNICODE_STRING* out);
