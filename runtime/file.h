// File-system wrappers: thin POSIX calls that report NTSTATUS and log one line on
// failure (component 7 unless noted). errno is mapped locally: ENOENT gives
// STATUS_OBJECT_NAME_NOT_FOUND (open, delete, rename), every other errno
// STATUS_UNSUCCESSFUL. Out parameters are written on every path (0, null or -1 on
// failure) unless a comment says otherwise. Nothing here keeps state or locks.
#pragma once

#include <dirent.h>

#include <cstdint>

#include "runtime/fd.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"

inline constexpr std::uint32_t FILE_ACCESS_READ = 1;
inline constexpr std::uint32_t FILE_ACCESS_WRITE = 2;
inline constexpr std::uint32_t FILE_ACCESS_READ_WRITE = 3;

inline constexpr std::uint32_t OPEN_CREATE = 0x1;           // O_CREAT; a created file gets 0660 whatever the umask
inline constexpr std::uint32_t OPEN_TRUNCATE = 0x2;         // O_TRUNC, needs write access
inline constexpr std::uint32_t OPEN_SEEK_END = 0x4;         // offset at the end after the open
inline constexpr std::uint32_t OPEN_QUIET_NOT_FOUND = 0x200;  // no log line for ENOENT
inline constexpr std::uint32_t OPEN_INHERITABLE = 0x400;    // no O_CLOEXEC
inline constexpr std::uint32_t OPEN_EXCLUSIVE = 0x800;      // O_EXCL
inline constexpr std::uint32_t OPEN_NO_FOLLOW = 0x4000;     // O_NOFOLLOW
inline constexpr std::uint32_t OPEN_DIRECTORY = 0x8000;     // O_DIRECTORY
inline constexpr std::uint32_t OPEN_PATH_ONLY = 0x10000;    // O_PATH
inline constexpr std::uint32_t OPEN_OPTIONS_VALID = 0x1DF3F;

// A failed open leaves its error in errno (after the log line is written), for
// callers that try another way on some errors.
[[nodiscard]] NTSTATUS OpenFileAt(FileHandle directory, const char* path, std::uint32_t access,
                                  std::uint32_t options, FileHandle* out);
[[nodiscard]] NTSTATUS OpenFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out);
// OpenFile for a file whose contents the caller trusts or will overwrite: a final
// symbolic link is never followed (OPEN_NO_FOLLOW is added), a FIFO or device
// never blocks the open (O_NONBLOCK), and whatever is not a regular file is
// closed again and refused with STATUS_FILE_INVALID and a log line naming the
// reason. A link fails the open itself (ELOOP, logged as any open failure).
[[nodiscard]] NTSTATUS OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options,
                                       FileHandle* out);
// Leaves *out unwritten when the path cannot be converted.
[[nodiscard]] NTSTATUS OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access,
                                              std::uint32_t options, FileHandle* out);
// Leaves *out unwritten when the path cannot be converted.
[[nodiscard]] NTSTATUS OpenFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                                       FileHandle* out);

[[nodiscard]] NTSTATUS DeleteFileAt(FileHandle directory, const char* name);
[[nodiscard]] NTSTATUS DeleteFileUnicodeAt(FileHandle directory, const UNICODE_STRING* name);
[[nodiscard]] NTSTATUS DeleteFileUnicode(const UNICODE_STRING* name);
// Deletes only a canonical absolute path (no links, dots or doubled slashes):
// STATUS_FILE_INVALID otherwise, STATUS_PATH_NOT_EXPANDED when it cannot resolve.
[[nodiscard]] NTSTATUS SafeDeleteFile(const UNICODE_STRING* path);

// Leaves the descriptor's offset where it was.
[[nodiscard]] NTSTATUS GetFileLength(FileHandle file, std::uint64_t* length);
[[nodiscard]] NTSTATUS GetFileLengthAndAllocation(FileHandle file, std::uint64_t* length, std::uint64_t* allocated);
[[nodiscard]] NTSTATUS SetFileLength(FileHandle file, std::int64_t length);
[[nodiscard]] NTSTATUS GetFileOffset(FileHandle file, std::uint64_t* offset);
// origin: 0 start, 1 current, 2 end.
[[nodiscard]] NTSTATUS SetFileOffset(FileHandle file, std::int64_t offset, std::uint32_t origin);

// Exactly one read(); the count may be short, 0 at end of file.
[[nodiscard]] NTSTATUS ReadFile(FileHandle file, void* buffer, std::uint32_t length, std::uint32_t* count);
// One pread() at *offset (not advanced); no bytes gives STATUS_END_OF_FILE.
[[nodiscard]] NTSTATUS ReadFileAtOffset(FileHandle file, void* buffer, std::uint32_t length, std::uint32_t* count,
                                        const std::uint64_t* offset);
// Writes the whole buffer; a failed write() (EINTR included) ends it.
[[nodiscard]] NTSTATUS WriteFile(FileHandle file, const void* buffer, std::uint32_t length, std::uint32_t* count);
// Writes the whole buffer at offset with pwrite(), continuing after short writes
// and EINTR (up to kInterruptedRetryLimit interruptions in a row); the
// descriptor's own offset is untouched. Any other failure (or a write that makes
// no progress) is logged and gives STATUS_UNSUCCESSFUL; bytes written before it
// stay written, and *written (when given) says how many that is.
[[nodiscard]] NTSTATUS WriteFileAtOffset(FileHandle file, const void* buffer, std::uint32_t length,
                                         std::uint64_t offset, std::uint32_t* written = nullptr);
[[nodiscard]] NTSTATUS CloseFile(FileHandle file);

// How long LockFileBounded waits for another process to let go of a lock.
inline constexpr int kFileLockWaitSeconds = 10;
// flock(file, operation) (LOCK_SH or LOCK_EX) without waiting for ever: the
// lock is tried without blocking and retried with a growing pause (1 to 32 ms)
// for at most kFileLockWaitSeconds; an interrupted try is retried at once, up
// to kInterruptedRetryLimit times in a row. A refused flock logs
// "flock() failed:<errno>", a lock still held after the wait logs "The <what> is
// locked by another process; gave up after 10 seconds"; both give
// STATUS_LOCK_NOT_GRANTED.
[[nodiscard]] NTSTATUS LockFileBounded(FileHandle file, int operation, const char* what);
// LockFileBounded against a deadline of the caller's (FileLockDeadline), so that
// several locks taken in turn share one bound.
[[nodiscard]] NTSTATUS LockFileUntil(FileHandle file, int operation, const char* what, std::int64_t deadline);
// The monotonic clock in nanoseconds, kFileLockWaitSeconds from now.
[[nodiscard]] std::int64_t FileLockDeadline();
// Whether a deadline from FileLockDeadline has passed.
[[nodiscard]] bool FileLockDeadlinePassed(std::int64_t deadline);

[[nodiscard]] NTSTATUS RenameFile(const UNICODE_STRING* source, const UNICODE_STRING* target, bool replaceExisting);
[[nodiscard]] NTSTATUS CreateDirectory(const UNICODE_STRING* path, bool trimLastComponent);

[[nodiscard]] NTSTATUS OpenDirectoryUnicode(const UNICODE_STRING* path, DIR** out);
[[nodiscard]] NTSTATUS OpenDirectory(const char* path, DIR** out);
[[nodiscard]] NTSTATUS GetDirectoryFd(DIR* directory, FileHandle* out);
// Next entry (never "." or ".."), matching the fnmatch pattern when given, as a
// new UNICODE_STRING the caller frees with RtlFreeUnicodeString.
// STATUS_NO_MORE_ENTRIES at the end.
[[nodiscard]] NTSTATUS ReadDirectoryEntryMatching(DIR* directory, const UNICODE_STRING* pattern,
                                                  UNICODE_STRING* name);
[[nodiscard]] NTSTATUS ReadDirectoryEntry(DIR* directory, UNICODE_STRING* name);
[[nodiscard]] NTSTATUS CloseDirectory(DIR* directory);

// Times as 100-ns ticks since 1601-01-01 UTC; each output is optional.
[[nodiscard]] NTSTATUS GetFileTimes(const char* path, std::uint64_t* accessTime, std::uint64_t* modifyTime,
                                    std::uint64_t* changeTime);
[[nodiscard]] NTSTATUS GetFileTimesUnicode(const UNICODE_STRING* path, std::uint64_t* accessTime,
                                           std::uint64_t* modifyTime, std::uint64_t* changeTime);

// realpath() into a new 4096-byte buffer owned by *result (freed with
// RtlFreeAnsiString); any previous result is freed first.
[[nodiscard]] NTSTATUS ResolvePath(const ANSI_STRING* path, ANSI_STRING* result);
// ResolvePath of a UNICODE_STRING path, as a new UNICODE_STRING in *result (freed
// with RtlFreeUnicodeString); any previous result is freed first.
[[nodiscard]] NTSTATUS ExpandPath(const UNICODE_STRING* path, UNICODE_STRING* result);
