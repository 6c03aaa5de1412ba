// The configuration store: one 8192-byte file of up to 28 named records shared
// with the sensor daemon. Every operation re-reads the whole image, works in
// memory and, if it changed anything, writes all 8192 bytes back and fsyncs.
//
// Locking: a process-wide reader-writer lock (always taken exclusively), then
// flock on the file: shared for a get, exclusive for a set, a delete and the
// open. Released in the opposite order. A failed flock is logged and the
// operation goes on unlocked.
//
// Log lines go through TraceWrite at level 2, component 7.
#pragma once

#include <cstdint>

#include "runtime/rtl_string.h"
#include "runtime/status.h"

// Opens (creating it 0660 if missing) /opt/Marrowlight/vantorstore, validates it
// and, if it has the wrong size or any invalid slot, rewrites it empty. Never
// reports a damaged file; fails only when the file cannot be opened, read,
// sized or written, or on allocation failure.
[[nodiscard]] NTSTATUS OpenSimpleStore();
// Same, on another path (tests and tools). OpenSimpleStore uses the vendor path.
[[nodiscard]] NTSTATUS OpenSimpleStoreAt(const char* path);
// Closes the descriptor and frees the image; nothing happens when closed.
void CloseSimpleStore();

// Copies min(data length, *size) bytes into buffer and sets *size to the data
// length. STATUS_SUCCESS; STATUS_BUFFER_TOO_SMALL when *size was smaller (the
// first bytes are copied all the same); STATUS_NOT_FOUND (size untouched);
// STATUS_INVALID_PARAMETER_1 for an invalid name; STATUS_DATA_ERROR for an
// invalid image; the read's failure status.
[[nodiscard]] NTSTATUS GetSimpleStoreValue(const UNICODE_STRING* name, void* buffer, std::uint32_t* size);
// Creates or replaces. STATUS_INVALID_PARAMETER_1 (name),
// STATUS_INVALID_PARAMETER_2 (more than 256 bytes), STATUS_DATA_ERROR,
// STATUS_INSUFFICIENT_RESOURCES (new name, no empty slot; nothing written), or the
// read's or write-back's status.
[[nodiscard]] NTSTATUS SetSimpleStoreValue(const UNICODE_STRING* name, const void* data, std::uint32_t length);
// Removes every slot with the name. STATUS_NOT_FOUND when none has it. An invalid
// name does nothing and returns STATUS_SUCCESS.
[[nodiscard]] NTSTATUS DeleteSimpleStoreValue(const UNICODE_STRING* name);

// "/opt/Marrowlight/" + subdirectory (+ "/" unless it ends in one) + file name, as
// a new NUL-terminated string object (free with TvFreeUnicodeString), or null
// when the result would not fit a UNICODE_STRING.
[[nodiscard]] UNICODE_STRING* BuildVendorPath(const UNICODE_STRING* subdirectory, const UNICODE_STRING* fileName);
