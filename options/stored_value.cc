#include "options/stored_value.h"

#include <array>
#include <cstring>
#include <type_traits>

#include "options/value_print.h"
#include "runtime/little_endian.h"

namespace {

// The unsigned type of a stored number N bytes wide.
template <std::size_t N>
using UintOf = std::conditional_t<N == 4, std::uint32_t, std::uint64_t>;

template <std::size_t N>
NTSTATUS ReadFixed(const UNICODE_STRING* name, std::uint64_t* value) {
  std::array<std::uint8_t, N> bytes{};
  std::uint32_t size = N;
  const NTSTATUS status = GetSimpleStoreValue(name, bytes.data(), &size);
  if (NT_SUCCESS(status)) {
    *value = little_endian::Load<UintOf<N>>(bytes.data());
  }
  return status;
}

template <std::size_t N>
NTSTATUS WriteFixed(const UNICODE_STRING* name, std::uint64_t value) {
  std::array<std::uint8_t, N> bytes{};
  little_endian::Store<UintOf<N>>(bytes.data(), static_cast<UintOf<N>>(value));
  return SetSimpleStoreValue(name, bytes.data(), N);
}

}  // namespace

NTSTATUS ReadU32Value(const UNICODE_STRING* name, std::uint32_t* value) {
  std::uint64_t wide = 0;
  const NTSTATUS status = ReadFixed<4>(name, &wide);
  if (NT_SUCCESS(status)) {
    *value = static_cast<std::uint32_t>(wide);
  }
  return status;
}

NTSTATUS WriteU32Value(const UNICODE_STRING* name, std::uint32_t value) {
  return WriteFixed<4>(name, value);
}

NTSTATUS ReadU64Value(const UNICODE_STRING* name, std::uint64_t* value) {
  return ReadFixed<8>(name, value);
}

NTSTATUS WriteU64Value(const UNICODE_STRING* name, std::uint64_t value) {
  return WriteFixed<8>(name, value);
}

NTSTATUS ReadTextValue(const UNICODE_STRING* name, std::span<char> buffer) {
  std::uint32_t size = static_cast<std::uint32_t>(buffer.size() - 1);
  const NTSTATUS status = GetSimpleStoreValue(name, buffer.data(), &size);
  buffer[NT_SUCCESS(status) ? size : 0] = '\0';
  return status;
}

NTSTATUS WriteTextValue(const UNICODE_STRING* name, const char* text) {
  return SetSimpleStoreValue(name, text, static_cast<std::uint32_t>(std::strlen(text)));
}

NTSTATUS DeleteSettingValue(OptionContext* context, const UNICODE_STRING* name, const char* option,
                            Message<> failureMessage) {
  const NTSTATUS status = DeleteSimpleStoreValue(name);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic(failureMessage);
    return status;
  }
  if (context->verbose) {
    PrintNotSet(context, option);
  }
  return STATUS_SUCCESS;
}
