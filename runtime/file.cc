#include "runtime/file.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>

#include "runtime/pool.h"
#include "runtime/retry.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

// Paths are logged as given, unprintable bytes included: the log is read by
// support, who need the bytes the system saw, and a line is still one write().

namespace {

constexpr std::uint32_t kMkdirMode = 0770;
constexpr std::uint32_t kCreateMode = 0660;
constexpr std::size_t kRealpathBufferSize = 4096;
// 100-ns ticks between 1601-01-01 and 1970-01-01 (UTC).
constexpr std::uint64_t kUnixEpochAsFileTime = 116444736000000000ull;

// The wrappers that tell a missing file apart (open, delete, rename).
constexpr NTSTATUS StatusFromOpenErrno(int err) {
  return err == ENOENT ? STATUS_OBJECT_NAME_NOT_FOUND : STATUS_UNSUCCESSFUL;
}

// Converts a counted UTF-16 path for a system call. A null descriptor is refused
// with STATUS_INVALID_PARAMETER; the caller logs any failure.
[[nodiscard]] NTSTATUS ToUtf8(const UNICODE_STRING* path, Utf8String& out) {
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  return out.Convert(path);
}

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

}  // namespace

// ---- open, close ------------------------------------------------------------

namespace {

// The open flags of an access value and option bits (see file.h), or -1 for
// a combination no open takes.
int OpenFlags(std::uint32_t access, std::uint32_t options) {
  if (access < FILE_ACCESS_READ || access > FILE_ACCESS_READ_WRITE || (options & ~OPEN_OPTIONS_VALID) != 0) {
    return -1;
  }
  struct FlagMap {
    std::uint32_t option;
    int flag;
  };
  static constexpr FlagMap kFlags[] = {
      {OPEN_CREATE, O_CREAT},       {OPEN_TRUNCATE, O_TRUNC},       {OPEN_EXCLUSIVE, O_EXCL},
      {OPEN_NO_FOLLOW, O_NOFOLLOW}, {OPEN_DIRECTORY, O_DIRECTORY},  {OPEN_PATH_ONLY, O_PATH},
  };
  int flags = static_cast<int>(access - 1);
  for (const FlagMap& f : kFlags) {
    if ((options & f.option) != 0) {
      flags |= f.flag;
    }
  }
  if ((options & OPEN_INHERITABLE) == 0) {
    flags |= O_CLOEXEC;
  }
  return flags;
}

// Opens through `open` (OpenAt or OpenRegular) and logs what failed; errno
// holds the failure's error when it returns.
[[nodiscard]] NTSTATUS OpenLogged(OpenedFile (*open)(FileHandle, const char*, int, mode_t), FileHandle directory,
                                  const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out) {
  // A null out or path is refused before any call, like a bad access value.
  if (out == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *out = kInvalidFile;
  const int flags = OpenFlags(access, options);
  if (path == nullptr || flags < 0) {
    return STATUS_INVALID_PARAMETER;
  }
  if ((options & OPEN_TRUNCATE) != 0 && (access & FILE_ACCESS_WRITE) == 0) {
    return STATUS_ACCESS_DENIED;
  }
  OpenedFile opened = open(directory, path, flags, kCreateMode);
  if (opened.type != 0) {
    TraceError(TRACE_COMPONENT_CORE, "Refusing %s: not a regular file (mode %o)", path,
               static_cast<unsigned>(opened.type));
  } else if (opened.statFailed) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't stat file %s: %!ERRNO!", path, opened.error);
  } else if (opened.error != 0 && (opened.error != ENOENT || (options & OPEN_QUIET_NOT_FOUND) == 0)) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't open file %s: %!ERRNO!", path, opened.error);
  }
  if (opened.error != 0) {
    errno = opened.error;
    return opened.type != 0 ? STATUS_FILE_INVALID : StatusFromOpenErrno(opened.error);
  }
  if (opened.modeError != 0) {
    // The file works all the same, with the mode the umask left it.
    TraceError(TRACE_COMPONENT_CORE, "Couldn't set the mode of %s: %!ERRNO!", path, opened.modeError);
  }
  if ((options & OPEN_SEEK_END) != 0 && lseek(opened.file.get(), 0, SEEK_END) < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't set file offset: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  *out = opened.file.release();
  return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS OpenFileAt(FileHandle directory, const char* path, std::uint32_t access, std::uint32_t options,
                    FileHandle* out) {
  return OpenLogged(OpenAt, directory, path, access, options, out);
}

NTSTATUS OpenFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out) {
  return OpenFileAt(kCurrentDirectory, path, access, options, out);
}

NTSTATUS OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options, FileHandle* out) {
  return OpenLogged(OpenRegular, kCurrentDirectory, path, access, options, out);
}

namespace {

// Converts `path` to UTF-8 and opens it with `open`.
[[nodiscard]] NTSTATUS OpenConverted(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                                     FileHandle* out, NTSTATUS (*open)(const char*, std::uint32_t, std::uint32_t,
                                                                       FileHandle*)) {
  Utf8String utf8;
  const NTSTATUS status = ToUtf8(path, utf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", path, status);
    return status;
  }
  return open(utf8.c_str(), access, options, out);
}

}  // namespace

NTSTATUS OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                                FileHandle* out) {
  return OpenConverted(path, access, options, out, OpenRegularFile);
}

NTSTATUS OpenFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options,
                         FileHandle* out) {
  return OpenConverted(path, access, options, out, OpenFile);
}

NTSTATUS CloseFile(FileHandle file) { return UniqueFile(file).Close() ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL; }

// ---- lock ---------------------------------------------------------------------

namespace {

std::int64_t MonotonicNanoseconds() {
  timespec now{};
  (void)clock_gettime(CLOCK_MONOTONIC, &now);  // cannot fail for this clock
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

std::int64_t FileLockDeadline() {
  return MonotonicNanoseconds() + std::int64_t{kFileLockWaitSeconds} * 1'000'000'000;
}

bool FileLockDeadlinePassed(std::int64_t deadline) { return MonotonicNanoseconds() >= deadline; }

NTSTATUS LockFileBounded(FileHandle file, int operation, const char* what) {
  return LockFileUntil(file, operation, what, FileLockDeadline());
}

NTSTATUS LockFileUntil(FileHandle file, int operation, const char* what, std::int64_t deadline) {
  long pause = 1'000'000;
  int interrupted = 0;
  for (;;) {
    if (flock(file, operation | LOCK_NB) == 0) {
      return STATUS_SUCCESS;
    }
    const int error = errno;
    interrupted = error == EINTR ? interrupted + 1 : 0;
    if (error != EWOULDBLOCK && (error != EINTR || interrupted > kInterruptedRetryLimit)) {
      TraceError(TRACE_COMPONENT_CORE, "flock() failed:%d", error);
      return STATUS_LOCK_NOT_GRANTED;
    }
    if (error == EINTR) {
      continue;  // retried at once: nothing was waited for
    }
    if (FileLockDeadlinePassed(deadline)) {
      TraceError(TRACE_COMPONENT_CORE, "The %s is locked by another process; gave up after %d seconds", what,
                 kFileLockWaitSeconds);
      return STATUS_LOCK_NOT_GRANTED;
    }
    const timespec wait{0, pause};
    (void)nanosleep(&wait, nullptr);  // an interrupted pause only shortens it
    pause = std::min(pause * 2, 32'000'000L);
  }
}

// ---- delete -----------------------------------------------------------------

NTSTATUS DeleteFileAt(FileHandle directory, const char* name) {
  if (name == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  if (unlinkat(directory, name, 0) != 0) {
    const int err = errno;
    TraceError(TRACE_COMPONENT_CORE, "Could not delete file '%s': %!ERRNO!", name, err);
    return StatusFromOpenErrno(err);
  }
  return STATUS_SUCCESS;
}

NTSTATUS DeleteFileUnicodeAt(FileHandle directory, const UNICODE_STRING* name) {
  Utf8String utf8;
  const NTSTATUS status = ToUtf8(name, utf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", name, status);
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

NTSTATUS GetFileLength(FileHandle file, std::uint64_t* length) {
  if (length == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *length = 0;
  const off_t saved = lseek(file, 0, SEEK_CUR);
  if (saved < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't get file offset: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  const off_t end = lseek(file, 0, SEEK_END);
  const int endErr = errno;
  (void)lseek(file, saved, SEEK_SET);  // always put the position back
  if (end < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't get file length: %!ERRNO!", endErr);
    return STATUS_UNSUCCESSFUL;
  }
  *length = static_cast<std::uint64_t>(end);
  return STATUS_SUCCESS;
}

NTSTATUS GetFileLengthAndAllocation(FileHandle file, std::uint64_t* length, std::uint64_t* allocated) {
  const NTSTATUS status = GetFileLength(file, length);
  if (!NT_SUCCESS(status) || allocated == nullptr) {
    return status;
  }
  struct stat st {};
  if (fstat(file, &st) != 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't get status of file: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
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
    TraceError(TRACE_COMPONENT_CORE, "Couldn't truncate or extend file: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  return STATUS_SUCCESS;
}

NTSTATUS GetFileOffset(FileHandle file, std::uint64_t* offset) {
  if (offset == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *offset = 0;
  const off_t position = lseek(file, 0, SEEK_CUR);
  if (position < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't get file offset: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  *offset = static_cast<std::uint64_t>(position);
  return STATUS_SUCCESS;
}

NTSTATUS SetFileOffset(FileHandle file, std::int64_t offset, std::uint32_t origin) {
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin > 2) {
    return STATUS_INVALID_PARAMETER;
  }
  if (lseek(file, static_cast<off_t>(offset), kWhence[origin]) < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't set file offset: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  return STATUS_SUCCESS;
}

// ---- read, write ----------------------------------------------------------------

NTSTATUS ReadFile(FileHandle file, void* buffer, std::uint32_t length, std::uint32_t* count) {
  if (count == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *count = 0;
  const ssize_t n = read(file, buffer, length);
  if (n < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't read from file: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  *count = static_cast<std::uint32_t>(n);
  return STATUS_SUCCESS;
}

NTSTATUS ReadFileAtOffset(FileHandle file, void* buffer, std::uint32_t length, std::uint32_t* count,
                          const std::uint64_t* offset) {
  if (count == nullptr || offset == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *count = 0;
  const ssize_t n = pread(file, buffer, length, static_cast<off_t>(*offset));
  if (n < 0) {
    TraceError(TRACE_COMPONENT_CORE, "Couldn't read from file: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  if (n == 0) {
    return STATUS_END_OF_FILE;
  }
  *count = static_cast<std::uint32_t>(n);
  return STATUS_SUCCESS;
}

NTSTATUS WriteFile(FileHandle file, const void* buffer, std::uint32_t length, std::uint32_t* count) {
  if (count == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *count = 0;
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  std::uint32_t done = 0;
  while (done < length) {
    const ssize_t n = write(file, bytes + done, length - done);
    // A write that makes no progress would loop for ever; it is taken as an I/O
    // error like a failed write.
    if (n <= 0) {
      const int err = n < 0 ? errno : EIO;
      TraceError(TRACE_COMPONENT_CORE, "Couldn't write to file: %!ERRNO!", err);
      return STATUS_UNSUCCESSFUL;
    }
    done += static_cast<std::uint32_t>(n);
  }
  *count = length;
  return STATUS_SUCCESS;
}

NTSTATUS WriteFileAtOffset(FileHandle file, const void* buffer, std::uint32_t length, std::uint64_t offset,
                           std::uint32_t* written) {
  const auto* bytes = static_cast<const std::uint8_t*>(buffer);
  std::uint32_t done = 0;
  int interrupted = 0;
  NTSTATUS status = STATUS_SUCCESS;
  while (done < length) {
    const ssize_t n = pwrite(file, bytes + done, length - done, static_cast<off_t>(offset + done));
    if (n < 0 && errno == EINTR && ++interrupted <= kInterruptedRetryLimit) {
      continue;
    }
    // No progress would loop for ever: taken as an I/O error.
    if (n <= 0) {
      const int err = n < 0 ? errno : EIO;
      TraceError(TRACE_COMPONENT_CORE, "Couldn't write to file: %!ERRNO!", err);
      status = STATUS_UNSUCCESSFUL;
      break;
    }
    interrupted = 0;
    done += static_cast<std::uint32_t>(n);
  }
  if (written != nullptr) {
    *written = done;
  }
  return status;
}

// ---- rename, mkdir --------------------------------------------------------------

NTSTATUS RenameFile(const UNICODE_STRING* source, const UNICODE_STRING* target, bool replaceExisting) {
  Utf8String targetUtf8;
  NTSTATUS status = ToUtf8(target, targetUtf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", target,
               status);
    return status;
  }
  Utf8String sourceUtf8;
  status = ToUtf8(source, sourceUtf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert filename '%wZ' to UTF-8: %!STATUS!", source, status);
    return status;
  }

  if (!replaceExisting) {
    // Check-then-rename: not atomic against a concurrent creator of the target;
    // callers that need atomicity replace instead.
    struct stat st {};
    if (stat(targetUtf8.c_str(), &st) == 0) {
      return STATUS_UNSUCCESSFUL;
    }
    if (errno != ENOENT) {
      TraceError(TRACE_COMPONENT_CORE, "RenameFile: Unexpected error from stat on file '%s': %!ERRNO!",
                 targetUtf8.c_str(), errno);
      return STATUS_UNSUCCESSFUL;
    }
  }
  if (std::rename(sourceUtf8.c_str(), targetUtf8.c_str()) != 0) {
    const int err = errno;
    TraceError(TRACE_COMPONENT_CORE, "Error renaming file '%s' to '%s;: %!ERRNO!", sourceUtf8.c_str(),
               targetUtf8.c_str(), err);
    return StatusFromOpenErrno(err);
  }
  return STATUS_SUCCESS;
}

NTSTATUS CreateDirectory(const UNICODE_STRING* path, bool trimLastComponent) {
  char* text = nullptr;
  std::size_t length = 0;
  NTSTATUS status = path == nullptr ? STATUS_INVALID_PARAMETER : TvUnicodeStringToUtf8(&text, &length, path);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode path '%wZ' to UTF-8: %!STATUS!", path, status);
    return status;
  }
  PoolBuffer owner = PoolBuffer::Adopt(text, TAG_UTF8_BUFFER);

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
  if (mkdir(text, kMkdirMode) != 0 && errno != EEXIST) {
    TraceError(TRACE_COMPONENT_CORE, "Could not create directory '%s': %!ERRNO!", text, errno);
    return STATUS_UNSUCCESSFUL;
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
    TraceError(TRACE_COMPONENT_CORE, "Could not open directory '%s': %!ERRNO!", path, errno);
    return STATUS_INVALID_HANDLE;
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
      const int err = errno;
      if (err != 0) {
        // A failing stream ends the walk like its end, but as a failure the
        // caller can tell apart.
        TraceError(TRACE_COMPONENT_CORE, "Could not read directory entry: %!ERRNO!", err);
        return STATUS_UNSUCCESSFUL;
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
    TraceError(TRACE_COMPONENT_CORE, "Couldn't stat file %s: %!ERRNO!", path, errno);
    return STATUS_UNSUCCESSFUL;
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
  NTSTATUS status = ToUtf8(path, utf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", path, status);
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
    copy = PoolBuffer(std::size_t{path->Length} + 1, TAG_PATH_BUFFER);
    if (!copy) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    std::memcpy(copy.get(), path->Buffer, path->Length);
    copy.as<char>()[path->Length] = '\0';
    input = copy.as<char>();
  }

  PoolBuffer buffer(kRealpathBufferSize, TAG_PATH_BUFFER);
  if (!buffer) {
    TraceError(TRACE_COMPONENT_TELEMETRY, "Failed to allocate a buffer for realpath");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  static_assert(kRealpathBufferSize >= PATH_MAX);
  if (realpath(input, buffer.as<char>()) == nullptr) {
    TraceError(TRACE_COMPONENT_PATH, "Could not resolve path %s: %!ERRNO!", input, errno);
    return STATUS_UNSUCCESSFUL;
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
