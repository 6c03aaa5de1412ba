// The configuration store: one 8192-byte file of up to 28 named records shared
// with the sensor daemon. Every operation re-reads the whole image, works in
// memory and, if it changed anything, writes all 8192 bytes back through the
// journal (journal.h): a power cut or a SIGKILL at any instant leaves the old
// image or the new one.
//
// Locking: a process-wide reader-writer lock (always taken exclusively), then
// flock on the file: shared for a get, exclusive for a set, a delete and the
// open. Released in the opposite order. The flock wait is bounded at 10
// seconds; a lock still held by another process after that, or a refused
// flock, fails the operation with STATUS_LOCK_NOT_GRANTED and a log line.
// After every flock the store's path must still name the locked file (same
// device and inode, still linked); a store renamed over or removed while the
// tool waited is opened again from its path and locked again, within the same
// bound, so nothing is ever written to a file the path no longer names. A path
// that names nothing any more fails a get, set or delete (the open creates the
// store again). Nothing is ever read for a change or written without the lock.
//
// The open and every set and delete, under the exclusive lock, first finish a
// write-back that another run left cut (FinishInterruptedWriteBack); a get only
// reads what the file holds.
//
// Log lines go through TraceWrite at level 2, component 7.
//
// Every get, set and delete re-reads all 8192 bytes, looping until they are all
// in. If the file turns out shorter (another process shrank it after the open),
// the operation fails with STATUS_END_OF_FILE, logs "Failed read to store:" with
// it, and never validates or writes back the partial image; only the open repairs
// a wrongly sized file. Reads and writes are positioned at offset 0 (pread,
// pwrite), so the descriptor's offset never matters, and every write-back
// checks the write and the fsync.
//
// A write-back that fails puts back what the file held before the change, then
// fails; the open's creation and repair are write-backs like any other.
//
// A name is valid when its length in bytes is even and at most 22 (0 passes, as
// on disk) and, if not empty, it has a buffer; names compare as raw bytes.
//
// Operations on a closed store return STATUS_INVALID_HANDLE. Open and close must
// not race with other operations (the tool opens before and closes after all of
// them, from one thread).
#pragma once

#include <cstdint>

#include "runtime/rtl_string.h"
#include "runtime/status.h"

// Opens (creating it 0660 if missing) /opt/Marrowlight/vantorstore, validates it
// and, if it has the wrong size or any invalid slot, rewrites it empty. Never
// reports a damaged file; fails when the file cannot be opened, locked, read,
// sized or written, on allocation failure, and when the path is a symbolic link
// or anything but a regular file (refused, never followed or written). A file
// that cannot be opened for writing (EROFS, EACCES, EPERM) is opened read-only,
// with a log line: gets work, every set or delete that would change it fails
// with STATUS_ACCESS_DENIED, and one that needs a repair fails the open.
[[nodiscard]] NTSTATUS OpenSimpleStore();
// Same, on another path (tests and tools). OpenSimpleStore uses the vendor path.
// Opening while a store is open closes the open one first.
[[nodiscard]] NTSTATUS OpenSimpleStoreAt(const char* path);
// After a failed OpenSimpleStore(At): the errno of the open of the file that
// failed it (for a store opened read-only that then needed a repair, the
// read-write open's: EROFS, EACCES, EPERM), or 0 when no open of the file
// failed (the path names no regular file, the lock, a read, a repair).
[[nodiscard]] int SimpleStoreOpenError();
// The store's path that OpenSimpleStore opens.
inline constexpr const char* kSimpleStorePath = VANTOR_VENDOR_DIR "/vantorstore";
// Closes the descriptor and frees the image; nothing happens when closed.
void CloseSimpleStore();

// Copies min(data length, *size) bytes into buffer and sets *size to the data
// length. STATUS_SUCCESS; STATUS_BUFFER_TOO_SMALL when *size was smaller (the
// first bytes are copied all the same); STATUS_NOT_FOUND (size untouched);
// STATUS_INVALID_PARAMETER_1 for an invalid name; STATUS_DATA_ERROR for an
// invalid image; the read's failure status. A null size, or a null buffer with a
// non-zero capacity, gives STATUS_INVALID_PARAMETER.
[[nodiscard]] NTSTATUS GetSimpleStoreValue(const UNICODE_STRING* name, void* buffer, std::uint32_t* size);
// Creates or replaces. STATUS_INVALID_PARAMETER_1 (name),
// STATUS_INVALID_PARAMETER_2 (more than 256 bytes), STATUS_DATA_ERROR,
// STATUS_INSUFFICIENT_RESOURCES (new name, no empty slot; nothing written), or the
// read's or write-back's status. Null data with a non-zero length is treated as
// invalid data (STATUS_INVALID_PARAMETER_2).
[[nodiscard]] NTSTATUS SetSimpleStoreValue(const UNICODE_STRING* name, const void* data, std::uint32_t length);
// Removes every slot with the name. STATUS_NOT_FOUND when none has it. An invalid
// name does nothing and returns STATUS_SUCCESS.
[[nodiscard]] NTSTATUS DeleteSimpleStoreValue(const UNICODE_STRING* name);

// "/opt/Marrowlight/" + subdirectory (+ "/" unless it ends in one) + file name, as
// a new NUL-terminated string object (free with TvFreeUnicodeString), or null
// when the result would not fit a UNICODE_STRING. Either part may be null; an
// empty subdirectory counts as none (no lone "/" is added).
[[nodiscard]] UNICODE_STRING* BuildVendorPath(const UNICODE_STRING* subdirectory, const UNICODE_STRING* fileName);
