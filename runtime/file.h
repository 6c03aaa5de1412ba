// File-system wrappers the tool calls: thin POSIX calls that report NTSTATUS
// and log one line on failure (component 7), in the way runtime/posix_error.h
// describes. An open hands its descriptor to an owner (FileOpen::file); every
// other call borrows a descriptor the caller owns. Out parameters are written
// on every path (0 on failure) unless a comment says otherwise. Nothing here
// keeps state or locks. The rest of the family (the kernel-style opens into a
// bare descriptor, delete, offsets, directories, times, path resolution) is in
// runtime/file_extra.h, a library of its own.
#pragma once

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

// What an open gives: on success the owner of the new descriptor; on failure,
// after its log line, the status and the errno behind it (0 when no call was
// made: a bad argument, a path that cannot be converted). A missing file is
// STATUS_OBJECT_NAME_NOT_FOUND, a refused file type STATUS_FILE_INVALID (error
// EINVAL), any other failure STATUS_UNSUCCESSFUL.
struct FileOpen {
  NTSTATUS status = STATUS_UNSUCCESSFUL;
  int error = 0;
  UniqueFile file;
};

// Bad arguments (an access value out of range, unknown option bits, a null
// path) give STATUS_INVALID_PARAMETER and truncation without write access
// STATUS_ACCESS_DENIED, both before any call and without a log line.
[[nodiscard]] FileOpen OpenFileAt(FileHandle directory, const char* path, std::uint32_t access,
                                  std::uint32_t options);
[[nodiscard]] FileOpen OpenFile(const char* path, std::uint32_t access, std::uint32_t options);
// OpenFile for a file whose contents the caller trusts or will overwrite: a final
// symbolic link is never followed (OPEN_NO_FOLLOW is added), a FIFO or device
// never blocks the open (O_NONBLOCK), and whatever is not a regular file is
// closed again and refused with STATUS_FILE_INVALID and a log line naming the
// reason. A link fails the open itself (ELOOP, logged as any open failure).
[[nodiscard]] FileOpen OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options);
// A path that cannot be converted gives the conversion's status, logged.
[[nodiscard]] FileOpen OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access,
                                              std::uint32_t options);

[[nodiscard]] NTSTATUS GetFileOffset(FileHandle file, std::uint64_t* offset);
// Leaves the descriptor's offset where it was.
[[nodiscard]] NTSTATUS GetFileLength(FileHandle file, std::uint64_t* length);

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

// Without replaceExisting, an existing target is left alone and the call gives
// STATUS_UNSUCCESSFUL without a log line (checked, then renamed: not atomic
// against a concurrent creator of the target).
[[nodiscard]] NTSTATUS RenameFile(const UNICODE_STRING* source, const UNICODE_STRING* target, bool replaceExisting);
