// Conversion between UTF-16 and UTF-8, and the GUID text form.
#include "runtime/utf8.h"

#include <cstdio>
#include <string_view>

#include "runtime/trace.h"

namespace {

constexpr std::size_t kUnitBytes = sizeof(WCHAR);

constexpr bool IsHighSurrogate(std::uint32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
constexpr bool IsLowSurrogate(std::uint32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

// Bytes of the UTF-8 form of one code point (already validated).
constexpr std::size_t EncodedSize(std::uint32_t cp) {
  return cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
}

void EncodeCodePoint(std::uint32_t cp, std::size_t size, char* out) {
  auto byte = [](std::uint32_t v) { return static_cast<char>(static_cast<unsigned char>(v)); };
  switch (size) {
    case 1:
      out[0] = byte(cp);
      break;
    case 2:
      out[0] = byte(0xC0 | (cp >> 6));
      out[1] = byte(0x80 | (cp & 0x3F));
      break;
    case 3:
      out[0] = byte(0xE0 | (cp >> 12));
      out[1] = byte(0x80 | ((cp >> 6) & 0x3F));
      out[2] = byte(0x80 | (cp & 0x3F));
      break;
    default:
      out[0] = byte(0xF0 | (cp >> 18));
      out[1] = byte(0x80 | ((cp >> 12) & 0x3F));
      out[2] = byte(0x80 | ((cp >> 6) & 0x3F));
      out[3] = byte(0x80 | (cp & 0x3F));
      break;
  }
}

// One empty text for descriptors that hold no buffer.
constexpr WCHAR kEmptyText[1] = {u'\0'};

// Decodes one UTF-8 sequence at text[i]; returns its code point and advances i,
// or returns -1 for an invalid, overlong, surrogate or out-of-range sequence.
std::int32_t DecodeUtf8(std::string_view text, std::size_t& i) {
  const auto byte = [&](std::size_t k) { return static_cast<std::uint8_t>(text[k]); };
  const std::uint8_t lead = byte(i);
  std::size_t extra;
  std::uint32_t cp;
  std::uint32_t min;
  if (lead < 0x80) {
    ++i;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    extra = 1, cp = lead & 0x1Fu, min = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    extra = 2, cp = lead & 0x0Fu, min = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    extra = 3, cp = lead & 0x07u, min = 0x10000;
  } else {
    return -1;
  }
  if (text.size() - i <= extra) {
    return -1;
  }
  for (std::size_t k = 1; k <= extra; ++k) {
    const std::uint8_t b = byte(i + k);
    if ((b & 0xC0) != 0x80) {
      return -1;
    }
    cp = (cp << 6) | (b & 0x3Fu);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    return -1;
  }
  i += extra + 1;
  return static_cast<std::int32_t>(cp);
}

}  // namespace

NTSTATUS TvEncodeUtf8(const WCHAR* source, std::size_t sourceBytes, char* dest, std::size_t destSize,
                      std::size_t* produced) {
  if (produced == nullptr) return STATUS_INVALID_PARAMETER;
  const std::size_t units = sourceBytes / kUnitBytes;
  std::size_t written = 0;
  NTSTATUS status = STATUS_SUCCESS;
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t cp = source[i];
    if (IsLowSurrogate(cp)) {
      status = STATUS_UNSUCCESSFUL;
      break;
    }
    if (IsHighSurrogate(cp)) {
      if (i + 1 >= units || !IsLowSurrogate(source[i + 1])) {
        status = STATUS_UNSUCCESSFUL;
        break;
      }
      cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<std::uint32_t>(source[i + 1]) - 0xDC00);
    }
    const std::size_t size = EncodedSize(cp);
    if (dest != nullptr) {
      if (size > destSize - written) {
        status = STATUS_BUFFER_TOO_SMALL;
        break;
      }
      EncodeCodePoint(cp, size, dest + written);
    }
    written += size;
    if (cp >= 0x10000) ++i;  // the low surrogate was consumed too
  }
  *produced = written;
  return status;
}

NTSTATUS RtlUnicodeToUTF8N(char* dest, std::uint32_t destSize, std::uint32_t* produced, const WCHAR* source,
                           std::uint32_t sourceBytes) {
  if (dest == nullptr && produced == nullptr) return STATUS_INVALID_PARAMETER;
  if (source == nullptr) return STATUS_INVALID_PARAMETER_4;
  if ((sourceBytes & 1u) != 0) return STATUS_INVALID_PARAMETER_5;
  if (sourceBytes == 0) {
    if (produced != nullptr) *produced = 0;
    return STATUS_SUCCESS;
  }
  std::size_t count = 0;
  // Without a destination the size is not consulted (count only).
  const NTSTATUS status = TvEncodeUtf8(source, sourceBytes, dest, dest ? destSize : 0, &count);
  // With a destination the count is bounded by destSize; counting alone can
  // exceed 32 bits for inputs above 2 GiB.
  if (count > 0xFFFFFFFFu) {
    *produced = 0xFFFFFFFFu;
    TraceError(TRACE_COMPONENT_CORE, "Counting UTF-8 bytes: %!STATUS!", STATUS_INTEGER_OVERFLOW);
    return STATUS_INTEGER_OVERFLOW;
  }
  if (produced != nullptr) *produced = static_cast<std::uint32_t>(count);
  if (NT_SUCCESS(status) && dest != nullptr && count < destSize) dest[count] = '\0';
  return status;
}

// Only the allocating form is used by the tool. Without `allocate` the text is
// converted into dest's own buffer (MaximumLength bytes, terminator included);
// when it does not fit, STATUS_BUFFER_TOO_SMALL and dest is left as it was.
NTSTATUS RtlUnicodeStringToAnsiString(ANSI_STRING* dest, const UNICODE_STRING* source, bool allocate) {
  if (dest == nullptr || source == nullptr) return STATUS_INVALID_PARAMETER;
  const std::uint16_t units = static_cast<std::uint16_t>(source->Length / kUnitBytes);
  std::uint16_t size = 0;
  NTSTATUS status = TvCheckedAdd16(units, 1, &size, "Sizing an ANSI string");
  if (!NT_SUCCESS(status)) {
    if (allocate) *dest = ANSI_STRING{0, 0, nullptr};
    return status;
  }
  const WCHAR* text = source->Buffer != nullptr ? source->Buffer : kEmptyText;
  const std::size_t textBytes = source->Buffer != nullptr ? static_cast<std::size_t>(units) * kUnitBytes : 0;

  if (!allocate) {
    if (dest->Buffer == nullptr || dest->MaximumLength < size) return STATUS_BUFFER_TOO_SMALL;
    std::size_t count = 0;
    status = TvEncodeUtf8(text, textBytes, dest->Buffer, units, &count);
    if (!NT_SUCCESS(status)) return status;
    dest->Buffer[count] = '\0';
    dest->Length = static_cast<std::uint16_t>(count);
    return STATUS_SUCCESS;
  }

  *dest = ANSI_STRING{0, 0, nullptr};
  auto* buffer = static_cast<char*>(TvAllocatePoolWithTag(size, kTagStringBuffer));
  if (buffer == nullptr) return STATUS_NO_MEMORY;
  // The encoder gets exactly one byte per unit: non-ASCII text does not fit.
  std::size_t count = 0;
  status = TvEncodeUtf8(text, textBytes, buffer, units, &count);
  if (!NT_SUCCESS(status)) {
    TvFreePoolWithTag(buffer, kTagStringBuffer);
    return status;
  }
  buffer[count] = '\0';
  *dest = ANSI_STRING{static_cast<std::uint16_t>(count), size, buffer};
  return STATUS_SUCCESS;
}

// A descriptor with a null Buffer (necessarily empty) converts as empty text,
// giving a one-byte buffer with only the terminator, as callers expect of an
// empty string.
NTSTATUS TvUnicodeStringToUtf8(char** out, std::size_t* length, const UNICODE_STRING* source) {
  if (out == nullptr || source == nullptr) return STATUS_INVALID_PARAMETER;
  const WCHAR* text = source->Buffer != nullptr ? source->Buffer : kEmptyText;
  const std::uint32_t textBytes = source->Buffer != nullptr ? source->Length : 0;

  std::uint32_t count = 0;
  NTSTATUS status = RtlUnicodeToUTF8N(nullptr, 0, &count, text, textBytes);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Error getting buffer length: %!STATUS!", status);
    return status;
  }
  std::uint32_t size = 0;
  status = TvCheckedAdd32(count, 1, &size, "Couldn't add space for ANSI_NULL");
  if (!NT_SUCCESS(status)) return status;

  PoolBuffer buffer(size, kTagUtf8Buffer);
  if (!buffer) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't allocate buffer for utf-8 string");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  std::uint32_t converted = 0;
  status = RtlUnicodeToUTF8N(buffer.as<char>(), size, &converted, text, textBytes);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Error converting UTF8 to Unicode: %!STATUS!", status);
    return status;
  }
  buffer.as<char>()[converted] = '\0';
  if (length != nullptr) *length = converted;
  *out = static_cast<char*>(buffer.release());
  return STATUS_SUCCESS;
}

NTSTATUS TvUtf8ToUnicodeString(std::string_view text, UNICODE_STRING* out) {
  std::size_t units = 0;
  for (std::size_t i = 0; i < text.size();) {
    const std::int32_t cp = DecodeUtf8(text, i);
    if (cp < 0) {
      return STATUS_UNSUCCESSFUL;
    }
    units += cp >= 0x10000 ? 2 : 1;
  }
  if ((units + 1) * 2 > kUnicodeStringMaxBytes) {
    return STATUS_NAME_TOO_LONG;
  }
  PoolBuffer buffer((units + 1) * sizeof(WCHAR), kTagStringBuffer);
  if (!buffer) {
    return STATUS_NO_MEMORY;
  }
  WCHAR* dest = buffer.as<WCHAR>();
  std::size_t n = 0;
  for (std::size_t i = 0; i < text.size();) {
    const auto cp = static_cast<std::uint32_t>(DecodeUtf8(text, i));
    if (cp >= 0x10000) {
      dest[n++] = static_cast<WCHAR>(0xD800 + ((cp - 0x10000) >> 10));
      dest[n++] = static_cast<WCHAR>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      dest[n++] = static_cast<WCHAR>(cp);
    }
  }
  dest[n] = 0;
  out->Length = static_cast<std::uint16_t>(n * 2);
  out->MaximumLength = static_cast<std::uint16_t>((n + 1) * 2);
  out->Buffer = static_cast<WCHAR*>(buffer.release());
  return STATUS_SUCCESS;
}
