// Counted-string operations. None of them writes outside the destination's
// MaximumLength; only the duplicate allocates (tag index 2), and the string
// object (tag index 8) is one block holding descriptor and text.
#include "runtime/rtl_string.h"

#include <cstring>
#include <limits>

#include "runtime/pool.h"
#include "runtime/trace.h"

namespace {

constexpr std::size_t kUnitBytes = sizeof(WCHAR);
// Longest NUL-terminated text that still fits a descriptor with its terminator.
constexpr std::size_t kMaxTerminatedTextBytes = kUnicodeStringMaxBytes - kUnitBytes;  // 65532
// String objects hold fewer than this many units.
constexpr std::uint32_t kStringObjectUnitLimit = 32768;

// Writes a terminator after dest's text when two bytes of room remain.
void TerminateIfRoom(UNICODE_STRING* dest) {
  if (static_cast<std::size_t>(dest->Length) + kUnitBytes <= dest->MaximumLength) {
    dest->Buffer[dest->Length / kUnitBytes] = u'\0';
  }
}

// Appends `bytes` bytes of text when they fit; the caller has checked the source.
NTSTATUS AppendUnits(UNICODE_STRING* dest, const WCHAR* source, std::size_t bytes) {
  if (static_cast<std::size_t>(dest->Length) + bytes > dest->MaximumLength) return STATUS_BUFFER_TOO_SMALL;
  // memmove: the source may be a part of dest's own buffer.
  std::memmove(reinterpret_cast<char*>(dest->Buffer) + dest->Length, source, bytes);
  dest->Length = static_cast<std::uint16_t>(dest->Length + bytes);
  TerminateIfRoom(dest);
  return STATUS_SUCCESS;
}

bool IsWellFormed(const UNICODE_STRING& s) {
  if ((s.Length & 1u) != 0 || (s.MaximumLength & 1u) != 0) return false;
  if (s.MaximumLength < s.Length) return false;
  if (s.Buffer == nullptr && (s.Length != 0 || s.MaximumLength != 0)) return false;
  return true;
}

constexpr WCHAR FoldUnit(WCHAR c) { return (c >= u'a' && c <= u'z') ? static_cast<WCHAR>(c - (u'a' - u'A')) : c; }

template <typename T>
NTSTATUS CheckedAdd(T a, T b, T* result, const char* action) {
  if (a > std::numeric_limits<T>::max() - b) {
    TraceError(TRACE_COMPONENT_CORE, "%s: %!STATUS!", action ? action : "Size computation",
               STATUS_INTEGER_OVERFLOW);
    return STATUS_INTEGER_OVERFLOW;
  }
  *result = static_cast<T>(a + b);
  return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS TvCheckedAdd16(std::uint16_t a, std::uint16_t b, std::uint16_t* result, const char* action) {
  return CheckedAdd(a, b, result, action);
}

NTSTATUS TvCheckedAdd32(std::uint32_t a, std::uint32_t b, std::uint32_t* result, const char* action) {
  return CheckedAdd(a, b, result, action);
}

void RtlInitAnsiString(ANSI_STRING* dest, const char* source) {
  if (source == nullptr) {
    *dest = ANSI_STRING{0, 0, nullptr};
    return;
  }
  // strnlen: a huge text is capped without walking all of it.
  const std::size_t length = strnlen(source, kUnicodeStringMaxBytes);
  dest->Length = static_cast<std::uint16_t>(length);
  dest->MaximumLength = static_cast<std::uint16_t>(length + 1);
  dest->Buffer = const_cast<char*>(source);
}

void RtlFreeAnsiString(ANSI_STRING* s) {
  if (s == nullptr || s->Buffer == nullptr) return;
  TvFreePoolWithTag(s->Buffer, kTagStringBuffer);
  *s = ANSI_STRING{0, 0, nullptr};
}

void RtlFreeUnicodeString(UNICODE_STRING* s) {
  if (s == nullptr || s->Buffer == nullptr) return;
  TvFreePoolWithTag(s->Buffer, kTagStringBuffer);
  *s = UNICODE_STRING{0, 0, nullptr};
}

void RtlCopyUnicodeString(UNICODE_STRING* dest, const UNICODE_STRING* source) {
  if (source == nullptr) {
    dest->Length = 0;
    return;
  }
  std::size_t bytes = source->Length < dest->MaximumLength ? source->Length : dest->MaximumLength;
  // Cut at a whole unit so that an odd capacity cannot produce an odd Length.
  bytes &= ~static_cast<std::size_t>(1);
  if (bytes != 0) std::memmove(dest->Buffer, source->Buffer, bytes);
  dest->Length = static_cast<std::uint16_t>(bytes);
  TerminateIfRoom(dest);
}

NTSTATUS RtlAppendUnicodeToString(UNICODE_STRING* dest, const WCHAR* source) {
  if (source == nullptr) return STATUS_SUCCESS;
  const std::size_t bytes = TvWideStringLength(source) * kUnitBytes;
  if (bytes > kMaxTerminatedTextBytes) return STATUS_BUFFER_TOO_SMALL;
  return AppendUnits(dest, source, bytes);
}

NTSTATUS RtlAppendUnicodeStringToString(UNICODE_STRING* dest, const UNICODE_STRING* source) {
  if (source == nullptr || source->Length == 0) return STATUS_SUCCESS;
  return AppendUnits(dest, source->Buffer, source->Length);
}

NTSTATUS RtlDuplicateUnicodeString(std::uint32_t flags, const UNICODE_STRING* source, UNICODE_STRING* dest) {
  constexpr std::uint32_t kBothFlags =
      RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE | RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING;
  if (dest == nullptr || flags > kBothFlags || flags == RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING) {
    if (dest != nullptr) *dest = UNICODE_STRING{0, 0, nullptr};
    return STATUS_INVALID_PARAMETER;
  }
  *dest = UNICODE_STRING{0, 0, nullptr};
  if (source != nullptr && !IsWellFormed(*source)) return STATUS_INVALID_PARAMETER;

  const bool terminate = (flags & RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE) != 0;
  const std::uint16_t length = source != nullptr ? source->Length : 0;
  if (terminate && length == kUnicodeStringMaxBytes) return STATUS_NAME_TOO_LONG;

  std::uint16_t size = length;
  if (terminate) {
    const NTSTATUS status = TvCheckedAdd16(length, kUnitBytes, &size, "Duplicating a string");
    if (!NT_SUCCESS(status)) return status;
  }
  if (length == 0 && (flags & RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING) == 0) return STATUS_SUCCESS;

  auto* buffer = static_cast<WCHAR*>(TvAllocatePoolWithTag(size, kTagStringBuffer));
  if (buffer == nullptr) return STATUS_NO_MEMORY;
  if (length != 0) std::memcpy(buffer, source->Buffer, length);
  if (terminate) buffer[length / kUnitBytes] = u'\0';
  *dest = UNICODE_STRING{length, size, buffer};
  return STATUS_SUCCESS;
}

std::int32_t RtlCompareUnicodeString(const UNICODE_STRING* first, const UNICODE_STRING* second,
                                     bool caseInsensitive) {
  // A null descriptor compares as empty text.
  const std::u16string_view a = first ? View(*first) : std::u16string_view();
  const std::u16string_view b = second ? View(*second) : std::u16string_view();
  const std::size_t common = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < common; ++i) {
    if (a[i] == b[i]) continue;
    const WCHAR x = caseInsensitive ? FoldUnit(a[i]) : a[i];
    const WCHAR y = caseInsensitive ? FoldUnit(b[i]) : b[i];
    if (x != y) return static_cast<std::int32_t>(x) - static_cast<std::int32_t>(y);
  }
  return static_cast<std::int32_t>(a.size()) - static_cast<std::int32_t>(b.size());
}

UNICODE_STRING* TvAllocateUnicodeString(std::uint32_t capacity) {
  if (capacity >= kStringObjectUnitLimit) {
    TraceError(TRACE_COMPONENT_CORE, "String too large %i", capacity);
    return nullptr;
  }
  // Cannot overflow: capacity is below 32768 units.
  const std::size_t size = sizeof(UNICODE_STRING) + static_cast<std::size_t>(capacity) * kUnitBytes;
  auto* s = static_cast<UNICODE_STRING*>(TvAllocatePoolWithTag(size, kTagStringObject));
  if (s == nullptr) return nullptr;
  s->Length = 0;
  s->MaximumLength = static_cast<std::uint16_t>(capacity * kUnitBytes);
  s->Buffer = reinterpret_cast<WCHAR*>(s + 1);
  return s;
}

void TvFreeUnicodeString(UNICODE_STRING* s) { TvFreePoolWithTag(s, kTagStringObject); }

std::size_t TvWideStringLength(const WCHAR* text) {
  if (text == nullptr) return 0;
  std::size_t n = 0;
  while (text[n] != u'\0') ++n;
  return n;
}
