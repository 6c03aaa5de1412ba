// The rest of the file-system wrappers: the kernel-style opens into a bare
// descriptor (the caller releases it with CloseFile), delete, length and
// offset changes, directories, times and path resolution. The tool calls none
// of them; they are kept, built and tested as the family's API for the other
// programs that share this runtime, in a library the tool does not link.
// Same conventions as runtime/file.h.
#pragma once

#include <dirent.h>

#include <cstdint>

#include "runtime/file.h"

// The opens of runtime/file.h into *out (-1 on failure; never written when out
// is null, which gives STATUS_INVALID_PARAMETER).
[[nodiscard]] NTSTATUS OpenFileAt(FileHandle directory, const char* path, std::uint32_t access,
                                  std::uint32_t options, FileHandle* out);
[[nodiscard]] NTSTATUS OpenFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out);
[[nodiscard]] NTSTATUS OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options,
                                       FileHandle* out);
// Leaves *out unwritten when the path cannot be converted.
[[nodiscard]] NTSTATUS OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access,
                                              std::uint32_t options, FileHandle* out);
// Leaves *out unwritten when the path cannot be converted.
[[nodiscard]] NTSTATUS OpenFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                                       FileHandle* out);
// close(); any failure gives STATUS_UNSUCCESSFUL, without a log line.
[[nodiscard]] NTSTATUS CloseFile(FileHandle file);

[[nodiscard]] NTSTATUS DeleteFileAt(FileHandle directory, const char* name);
[[nodiscard]] NTSTATUS DeleteFileUnicodeAt(FileHandle directory, const UNICODE_STRING* name);
[[nodiscard]] NTSTATUS DeleteFileUnicode(const UNICODE_STRING* name);
// Deletes only a canonical absolute path (no links, dots or doubled slashes):
// STATUS_FILE_INVALID otherwise, STATUS_PATH_NOT_EXPANDED when it cannot resolve.
[[nodiscard]] NTSTATUS SafeDeleteFile(const UNICODE_STRING* path);

[[nodiscard]] NTSTATUS GetFileLengthAndAllocation(FileHandle file, std::uint64_t* length, std::uint64_t* allocated);
[[nodiscard]] NTSTATUS SetFileLength(FileHandle file, std::int64_t length);
// origin: 0 start, 1 current, 2 end.
[[nodiscard]] NTSTATUS SetFileOffset(FileHandle file, std::int64_t offset, std::uint32_t origin);

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
