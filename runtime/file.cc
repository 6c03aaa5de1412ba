#include "runtime/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "runtime/file_internal.h"
#include "runtime/posix_error.h"
#include "runtime/retry.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

// Paths are logged as given, unprintable bytes included: the log is read by
// support, who need the bytes the system saw, and a line is still one write().

namespace {

constexpr std::uint32_t kCreateMode = 0660;

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

// Opens through `open` (OpenAt or OpenRegular) and logs what failed.
[[nodiscard]] FileOpen OpenLogged(OpenedFile (*open)(FileHandle, const char*, int, mode_t), FileHandle directory,
                                  const char* path, std::uint32_t access, std::uint32_t options) {
  FileOpen result;
  const int flags = OpenFlags(access, options);
  if (path == nullptr || flags < 0) {
    result.status = STATUS_INVALID_PARAMETER;
    return result;
  }
  if ((options & OPEN_TRUNCATE) != 0 && (access & FILE_ACCESS_WRITE) == 0) {
    result.status = STATUS_ACCESS_DENIED;
    return result;
  }
  OpenedFile opened = open(directory, path, flags, kCreateMode);
  result.error = opened.error;
  if (opened.type != 0) {
    TraceError(TRACE_COMPONENT_CORE, "Refusing %s: not a regular file (mode %o)", path,
               static_cast<unsigned>(opened.type));
    result.status = STATUS_FILE_INVALID;
    return result;
  }
  if (opened.statFailed) {
    result.status = PosixError(TRACE_COMPONENT_CORE, StatusFromErrno(opened.error), opened.error,
                               "Couldn't stat file %s: %!ERRNO!", path);
    return result;
  }
  if (opened.error != 0) {
    result.status = StatusFromErrno(opened.error);
    if (opened.error != ENOENT || (options & OPEN_QUIET_NOT_FOUND) == 0) {
      (void)PosixError(TRACE_COMPONENT_CORE, result.status, opened.error, "Couldn't open file %s: %!ERRNO!", path);
    }
    return result;
  }
  if (opened.modeError != 0) {
    // The file works all the same, with the mode the umask left it.
    TraceError(TRACE_COMPONENT_CORE, "Couldn't set the mode of %s: %!ERRNO!", path, opened.modeError);
  }
  if ((options & OPEN_SEEK_END) != 0 && lseek(opened.file.get(), 0, SEEK_END) < 0) {
    result.error = errno;
    result.status = PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, result.error,
                               "Couldn't set file offset: %!ERRNO!");
    return result;
  }
  result.status = STATUS_SUCCESS;
  result.file = std::move(opened.file);
  return result;
}

}  // namespace

FileOpen OpenFileAt(FileHandle directory, const char* path, std::uint32_t access, std::uint32_t options) {
  return OpenLogged(OpenAt, directory, path, access, options);
}

FileOpen OpenFile(const char* path, std::uint32_t access, std::uint32_t options) {
  return OpenFileAt(kCurrentDirectory, path, access, options);
}

FileOpen OpenRegularFile(const char* path, std::uint32_t access, std::uint32_t options) {
  return OpenLogged(OpenRegular, kCurrentDirectory, path, access, options);
}

FileOpen OpenRegularFileUnicode(const UNICODE_STRING* path, std::uint32_t access, std::uint32_t options) {
  Utf8String utf8;
  if (const NTSTATUS status = file_internal::ConvertPath(path, utf8); !NT_SUCCESS(status)) {
    FileOpen result;
    result.status = status;
    return result;
  }
  return OpenRegularFile(utf8.c_str(), access, options);
}

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
      return PosixError(TRACE_COMPONENT_CORE, STATUS_LOCK_NOT_GRANTED, error, "flock() failed:%d");
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

// ---- length, read, write ------------------------------------------------------

NTSTATUS GetFileOffset(FileHandle file, std::uint64_t* offset) {
  if (offset == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *offset = 0;
  const off_t position = lseek(file, 0, SEEK_CUR);
  if (position < 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't get file offset: %!ERRNO!");
  }
  *offset = static_cast<std::uint64_t>(position);
  return STATUS_SUCCESS;
}

NTSTATUS GetFileLength(FileHandle file, std::uint64_t* length) {
  if (length == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *length = 0;
  std::uint64_t saved = 0;
  if (const NTSTATUS status = GetFileOffset(file, &saved); !NT_SUCCESS(status)) {
    return status;
  }
  const off_t end = lseek(file, 0, SEEK_END);
  const int endError = errno;
  (void)lseek(file, static_cast<off_t>(saved), SEEK_SET);  // always put the position back
  if (end < 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, endError, "Couldn't get file length: %!ERRNO!");
  }
  *length = static_cast<std::uint64_t>(end);
  return STATUS_SUCCESS;
}

NTSTATUS ReadFile(FileHandle file, void* buffer, std::uint32_t length, std::uint32_t* count) {
  if (count == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  *count = 0;
  const ssize_t n = read(file, buffer, length);
  if (n < 0) {
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't read from file: %!ERRNO!");
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
    return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, errno, "Couldn't read from file: %!ERRNO!");
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
      return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, n < 0 ? errno : EIO,
                        "Couldn't write to file: %!ERRNO!");
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
      status = PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, n < 0 ? errno : EIO,
                          "Couldn't write to file: %!ERRNO!");
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

// ---- rename -------------------------------------------------------------------

NTSTATUS RenameFile(const UNICODE_STRING* source, const UNICODE_STRING* target, bool replaceExisting) {
  Utf8String targetUtf8;
  NTSTATUS status = file_internal::ConvertPath(target, targetUtf8);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  Utf8String sourceUtf8;
  status = file_internal::ToUtf8(source, sourceUtf8);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert filename '%wZ' to UTF-8: %!STATUS!", source, status);
    return status;
  }

  if (!replaceExisting) {
    struct stat st {};
    if (stat(targetUtf8.c_str(), &st) == 0) {
      return STATUS_UNSUCCESSFUL;
    }
    if (const int error = errno; error != ENOENT) {
      return PosixError(TRACE_COMPONENT_CORE, STATUS_UNSUCCESSFUL, error,
                        "RenameFile: Unexpected error from stat on file '%s': %!ERRNO!", targetUtf8.c_str());
    }
  }
  if (std::rename(sourceUtf8.c_str(), targetUtf8.c_str()) != 0) {
    const int error = errno;
    return PosixError(TRACE_COMPONENT_CORE, StatusFromErrno(error), error,
                      "Error renaming file '%s' to '%s;: %!ERRNO!", sourceUtf8.c_str(), targetUtf8.c_str());
  }
  return STATUS_SUCCESS;
}
