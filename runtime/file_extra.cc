#include "runtime/file_extra.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "runtime/file_internal.h"
#include "runtime/pool.h"
#include "runtime/posix_error.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

namespace {

constexpr std::uint32_t kMkdirMode = 0770;
constexpr std::size_t kRealpathBufferSize = 4096;
// 100-ns ticks between 1601-01-01 and 1970-01-01 (UTC).
constexpr std::uint64_t kUnixEpochAsFileTime = 116444736000000000ull;

constexpr std::uint64_t FileTimeFromTimespec(const timespec& ts) {
  // (s * 10^9 + ns) / 100 without the intermediate nanosecond count, which would
  // overflow for times past 2262.
  const std::int64_t ticks = static_cast<std::int64_t>(ts.tv_sec) * 10000000 + ts.tv_nsec / 100;
  return static_cast<std::uint64_t>(ticks) + kUnixEpochAsFileTime;
}
static_assert(FileTimeFromTimespec(timespec{0, 0}) == 116444736000000000ull);
static_assert(FileTimeFromTimespec(timespec{1, 250}) == 116444736000000000ull + 10000002ull);

void ClearName(UNICODE_STRING* name) {
  if (name != nullptr) {
    name->Length = 0;
    name->MaximumLength = 0;
    name->Buffer = nullptr;
  }
}

// Hands a FileOpen's descriptor to the kernel-style out parameter.
[[nodiscard]] NTSTATUS HandOut(FileOpen opened, FileHandle* out) {
  *out = opened.file.release();
  return opened.status;
}

}  // namespace

// ---- kernel-style opens, close --------------------------------------------------

NTSTATUS OpenFileAt(FileHandle directory, const char* path, std::uint32_t access, std::uint32_t options,
                    FileHandle* out) {
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  return HandOut(OpenFileAt(directory, path, access, options), out);
}

NTSTATUS OpenFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out) {
  return OpenFileAt(kCurrentDirectory, path, access, options, out);
}

NTSTATUS OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out) {
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  return HandOut(OpenRegularFile(path, access, options), out);
}

NTSTATUS OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                                FileHandle* out) {
  Utf8String utf8;
  const NTSTATUS status = file_internal::ConvertPath(path, utf8);
  return NT_SUCCESS(status) ? OpenRegularFile(utf8.c_str(), access, options, out) : status;
}

NTSTATUS OpenFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                         FileHandle* out) {
  Utf8String utf8;
  const NTSTATUS status = file_internal::ConvertPath(path, utf8);
  return NT_SUCCESS(status) ? OpenFile(utf8.c_str(), access, options, out) : status;
}

NTSTATUS CloseFile(FileHandle file) {
  return UniqueFile(file).Close() == 0 ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL;
}

// ---- delete -----------------------------------------------------------------

NTSTATUS DeleteFileAt(FileHandle directory, const char* name) {
  if (name == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  if (unlinkat(directory, name, 0) != 0) {
    const int error = errno;
    return PosixError(TRACE_COMPONENT_CORE, StatusFromErrno(error), error, "Could not delete file '%s': %!ERRNO!",
                      name);
  }
  return STATUS_SUCCESS;
}

NTSTATUS DeleteFileUnicodeAt(FileHandle directory, const UNICODE_STRING* name) {
  Utf8String utf8;
  if (const NTSTATUS status = file_internal::ConvertPath(name, utf8); !NT_SUCCESS(status)) {
    return status;
  }
  return DeleteFileAt(directory, utf8.c_str());
}

NTSTATUS DeleteFileUnicode(const UNICODE_STRING* name) { return DeleteFileUnicodeAt(kCurrentDirectory, name); }

NTSTATUS SafeDeleteFile(const UNICODE_STRING* path) {
  if (path == nullptr || path->Buffer == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  OwnedUnicodeString expanded;
  const NTSTATUS expandStatus = ExpandPath(path, expanded.ptr());
  if (!NT_SUCCESS(expandStatus) || expanded.get().Buffer == nullptr) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't expand path '%wZ': %!STATUS!", path, expandStatus);
    return STATUS_PATH_NOT_EXPANDED;
  }
  // Exact unit-by-unit equality: a relative path, a symbolic link, "." or ".."
  // components and doubled slashes all make the expansion differ.
  if (View(expanded.get()) != View(*path)) {
    TraceError(TRACE_COMPONENT_CORE, "Found non-canonical path during safe delete '%wZ'", path);
    return STATUS_FILE_INVALID;
  }
  const NTSTATUS status = DeleteFileUnicode(path);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not delete '%wZ': %!STATUS!", path, status);
  }
  return status;
}

// ---- length and offset --------------------------------------------------------

NTSTATUS GetFileLengthAndAllocation(FileHandle file, std::uint64_t* length, std::uint64_t* allocated) {
  const NTSTATUS status = GetFileLength(file, length);
  if (!NT_SUCCESS(status) || allocated == nullptr) {
    return status;
  }
  struct stat st {};
  if (fstat(file, &st) != 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't get status of file: %!ERRNO!");
  }
  const auto blocks = static_cast<std::uint64_t>(st.st_blocks);
  const std::uint64_t bytes = blocks * 512u;
  if (blocks != 0 && bytes / blocks != 512u) {
    *allocated = 0;
    // The status value goes in the errno position, as the message has always had it.
    TraceError(TRACE_COMPONENT_CORE, "Couldn't calculate allocated size - overflow: %!ERRNO!",
               STATUS_INTEGER_OVERFLOW);
    return status;
  }
  *allocated = bytes;
  return status;
}

NTSTATUS SetFileLength(FileHandle file, std::int64_t length) {
  if (ftruncate(file, static_cast<off_t>(length)) != 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't truncate or extend file: %!ERRNO!");
  }
  return STATUS_SUCCESS;
}

NTSTATUS SetFileOffset(FileHandle file, std::int64_t offset, std::uint32_t origin) {
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin > 2) {
    return STATUS_INVALID_PARAMETER;
  }
  if (lseek(file, static_cast<off_t>(offset), kWhence[origin]) < 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't set file offset: %!ERRNO!");
  }
  return STATUS_SUCCESS;
}

// ---- mkdir ------------------------------------------------------------------

NTSTATUS CreateDirectory(const UNICODE_STRING* path, bool trimLastComponent) {
  char* text = nullptr;
  std::size_t length = 0;
  NTSTATUS status = path == nullptr ? STATUS_INVALID_PARAMETER : TvUnicodeStringToUtf8(&text, &length, path);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode path '%wZ' to UTF-8: %!STATUS!", path, status);
    return status;
  }
  PoolBuffer owner = PoolBuffer::Adopt(text, kTagUtf8Buffer);

  if (trimLastComponent) {
    // Walk back to the nearest '/' (a trailing slash counts) and end the text
    // there; nothing may be left empty.
    std::size_t slash = length;
    while (slash > 0 && text[slash - 1] != '/') {
      --slash;
    }
    if (slash <= 1) {
      TraceError(TRACE_COMPONENT_CORE, "Zero-length directory after trimming!");
      return STATUS_INVALID_PARAMETER;
    }
    text[slash - 1] = '\0';
  }
  if (mkdir(text, kMkdirMode) != 0) {
    if (const int error = errno; error != EEXIST) {
      return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, error, "Could not create directory '%s': %!ERRNO!",
                        text);
    }
  }
  return STATUS_SUCCESS;
}

// ---- directories ------------------------------------------------------------------

NTSTATUS OpenDirectory(const char* path, DIR** out) {
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER_2;
  }
  *out = nullptr;
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER_1;
  }
  DIR* directory = opendir(path);
  if (directory == nullptr) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_INVALID_HANDLE, errno, "Could not open directory '%s': %!ERRNO!",
                      path);
  }
  *out = directory;
  return STATUS_SUCCESS;
}

NTSTATUS OpenDirectoryUnicode(const UNICODE_STRING* path, DIR** out) {
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER_2;
  }
  *out = nullptr;
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER_1;
  }
  Utf8String utf8;
  const NTSTATUS status = utf8.Convert(path);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode directory name '%wZ' to UTF-8: %!STATUS!", path,
               status);
    return status;
  }
  return OpenDirectory(utf8.c_str(), out);
}

NTSTATUS GetDirectoryFd(DIR* directory, FileHandle* out) {
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER_2;
  }
  *out = kInvalidFile;
  if (directory == nullptr) {
    return STATUS_INVALID_PARAMETER_1;
  }
  const int fd = dirfd(directory);
  if (fd < 0) {
    return STATUS_INVALID_HANDLE;
  }
  *out = fd;
  return STATUS_SUCCESS;
}

NTSTATUS ReadDirectoryEntryMatching(DIR* directory, const UNICODE_STRING* pattern, UNICODE_STRING* name) {
  if (directory == nullptr) {
    ClearName(name);
    return STATUS_INVALID_PARAMETER_1;
  }
  if (name == nullptr) {
    return STATUS_INVALID_PARAMETER_2;
  }
  Utf8String patternUtf8;
  if (pattern != nullptr) {
    const NTSTATUS status = patternUtf8.Convert(pattern);
    if (!NT_SUCCESS(status)) {
      TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode string to UTF-8: %!STATUS!", status);
      ClearName(name);
      return status;
    }
  }

  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory);
    if (entry == nullptr) {
      ClearName(name);
      if (const int error = errno; error != 0) {
        // A failing stream ends the walk like its end, but as a failure the
        // caller can tell apart.
        return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, error, "Could not read directory entry: %!ERRNO!");
      }
      return STATUS_NO_MORE_ENTRIES;
    }
    const std::string_view entryName(entry->d_name);
    if (entryName == "." || entryName == "..") {
      continue;
    }
    if (pattern != nullptr && fnmatch(patternUtf8.c_str(), entry->d_name, 0) != 0) {
      continue;
    }
    const NTSTATUS status = TvUtf8ToUnicodeString(entryName, name);
    if (!NT_SUCCESS(status)) {
      TraceError(TRACE_COMPONENT_CORE, "Could not convert entry to unicode string '%s': %!STATUS!", entry->d_name,
                 status);
      ClearName(name);
      return status;
    }
    return STATUS_SUCCESS;
  }
}

NTSTATUS ReadDirectoryEntry(DIR* directory, UNICODE_STRING* name) {
  return ReadDirectoryEntryMatching(directory, nullptr, name);
}

NTSTATUS CloseDirectory(DIR* directory) {
  if (directory == nullptr) {
    return STATUS_INVALID_PARAMETER_1;
  }
  return closedir(directory) == 0 ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL;
}

// ---- times ------------------------------------------------------------------------

NTSTATUS GetFileTimes(const char* path, std::uint64_t* accessTime, std::uint64_t* modifyTime,
                      std::uint64_t* changeTime) {
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  struct stat st {};
  if (stat(path, &st) != 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't stat file %s: %!ERRNO!", path);
  }
  if (accessTime != nullptr) {
    *accessTime = FileTimeFromTimespec(st.st_atim);
  }
  if (modifyTime != nullptr) {
    *modifyTime = FileTimeFromTimespec(st.st_mtim);
  }
  if (changeTime != nullptr) {
    *changeTime = FileTimeFromTimespec(st.st_ctim);
  }
  return STATUS_SUCCESS;
}

NTSTATUS GetFileTimesUnicode(const UNICODE_STRING* path, std::uint64_t* accessTime, std::uint64_t* modifyTime,
                             std::uint64_t* changeTime) {
  Utf8String utf8;
  NTSTATUS status = file_internal::ConvertPath(path, utf8);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  status = GetFileTimes(utf8.c_str(), accessTime, modifyTime, changeTime);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not get file times for filename '%wZ': %!STATUS!", path, status);
  }
  return status;
}

// ---- path resolution ------------------------------------------------------------

NTSTATUS ResolvePath(const ANSI_STRING* path, ANSI_STRING* result) {
  if (result == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  RtlFreeAnsiString(result);
  *result = ANSI_STRING{0, 0, nullptr};
  if (path == nullptr || path->Buffer == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }

  // realpath() wants a terminated string; copy when the descriptor has none.
  const char* input = path->Buffer;
  PoolBuffer copy;
  if (path->Length >= path->MaximumLength || path->Buffer[path->Length] != '\0') {
    copy = PoolBuffer(std::size_t{path->Length} + 1, kTagPathBuffer);
    if (!copy) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    std::memcpy(copy.get(), path->Buffer, path->Length);
    copy.as<char>()[path->Length] = '\0';
    input = copy.as<char>();
  }

  PoolBuffer buffer(kRealpathBufferSize, kTagPathBuffer);
  if (!buffer) {
    TraceError(TRACE_COMPONENT_TELEMETRY, "Failed to allocate a buffer for realpath");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  static_assert(kRealpathBufferSize >= PATH_MAX);
  if (realpath(input, buffer.as<char>()) == nullptr) {
    return PosixError(TRACE_COMPONENT_PATH, STATUS_UNSUCCESSFUL, errno, "Could not resolve path %s: %!ERRNO!", input);
  }
  result->Length = static_cast<std::uint16_t>(strnlen(buffer.as<char>(), kRealpathBufferSize));
  result->MaximumLength = static_cast<std::uint16_t>(kRealpathBufferSize);
  result->Buffer = static_cast<char*>(buffer.release());
  return STATUS_SUCCESS;
}

NTSTATUS ExpandPath(const UNICODE_STRING* path, UNICODE_STRING* result) {
  if (result == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  RtlFreeUnicodeString(result);
  ClearName(result);
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  Utf8String utf8;
  NTSTATUS status = utf8.Convert(path);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_PATH, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", path, status);
    return status;
  }
  ANSI_STRING input;
  RtlInitAnsiString(&input, utf8.c_str());
  OwnedAnsiString resolved;
  status = ResolvePath(&input, resolved.ptr());
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_PATH, "Could not expand path '%s': %!STATUS!", utf8.c_str(), status);
    return status;
  }
  status = TvUtf8ToUnicodeString(View(resolved.get()), result);
  if (!NT_SUCCESS(status) || result->Length == 0) {
    TraceError(TRACE_COMPONENT_PATH, "Could not convert UTF8 to Unicode path '%s'. %!STATUS!", resolved.get().Buffer,
               status);
    RtlFreeUnicodeString(result);
    ClearName(result);
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  return STATUS_SUCCESS;
}
