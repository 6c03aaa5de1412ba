// Small helpers the option handlers share for moving their stored forms in and
// out of the configuration store (store/simple_store.h). Every function returns
// the store's status
// unchanged (callers decide what STATUS_NOT_FOUND means for them) and prints
// nothing, except DeleteSettingValue, which owns the whole delete step of an
// unprotected value.
#pragma once

#include <cstdint>
#include <span>

#include "options/message.h"
#include "options/option_context.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"
#include "store/simple_store.h"

// Reads a little-endian u32. A record shorter than 4 bytes reads as its bytes
// zero-extended (the store reports success with the shorter length); a longer
// one fails with STATUS_BUFFER_TOO_SMALL.
[[nodiscard]] NTSTATUS ReadU32Value(const UNICODE_STRING* name, std::uint32_t* value);
// Stores `value` as 4 little-endian bytes.
[[nodiscard]] NTSTATUS WriteU32Value(const UNICODE_STRING* name, std::uint32_t value);

// Reads little-endian u64 (same rules as ReadU32Value, with 8 bytes).
[[nodiscard]] NTSTATUS ReadU64Value(const UNICODE_STRING* name, std::uint64_t* value);
[[nodiscard]] NTSTATUS WriteU64Value(const UNICODE_STRING* name, std::uint64_t value);

// Reads a text record into `buffer`, accepting at most buffer.size() - 1 bytes,
// and NUL-terminates it at the stored length. A longer record fails with
// STATUS_BUFFER_TOO_SMALL; on any failure buffer[0] is NUL. buffer must not be
// empty.
[[nodiscard]] NTSTATUS ReadTextValue(const UNICODE_STRING* name, std::span<char> buffer);
// Stores the bytes of a NUL-terminated text, without the terminator.
[[nodiscard]] NTSTATUS WriteTextValue(const UNICODE_STRING* name, const char* text);

// The delete step of an unprotected setting: deletes `name`; STATUS_NOT_FOUND
// counts as success. Another failure writes `failureMessage` (a complete line)
// to standard error and returns the status. On success, with `verbose`,
// value-prints "<option> is not set".
[[nodiscard]] NTSTATUS DeleteSettingValue(OptionContext* context, const UNICODE_STRING* name, const char* option,
                                          Message<> failureMessage);
