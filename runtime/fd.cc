#include "runtime/fd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace {

// One openat() as the raw system call: glibc's syscall() reports failure as -1
// with errno set; a raw kernel result of -4095..-1 is taken as a failure too.
FileHandle RawOpenAt(FileHandle directory, const char* path, int flags, mode_t mode, int* error) {
  const long result = syscall(SYS_openat, directory, path, flags, mode);
  if (result >= 0) {
    *error = 0;
    return static_cast<FileHandle>(result);
  }
  *error = result == -1 ? errno : static_cast<int>(-result);
  return kInvalidFile;
}

}  // namespace

void UniqueFile::reset(FileHandle fd) {
  if (fd_ != kInvalidFile) {
    (void)close(fd_);  // nothing left to do about a failure here; see Close()
  }
  fd_ = fd;
}

int UniqueFile::Close() { return close(std::exchange(fd_, kInvalidFile)) == 0 ? 0 : errno; }

OpenedFile OpenAt(FileHandle directory, const char* path, int flags, mode_t mode) {
  OpenedFile opened;
  const bool mayCreate = (flags & (O_CREAT | O_EXCL)) == O_CREAT;
  // Opened as it is first, created exclusively when missing, opened again if
  // another process created it in between: three tries at most.
  for (int attempt = 0; attempt < 3; ++attempt) {
    const bool create = !mayCreate || attempt % 2 == 1;
    const int tryFlags = create ? flags | ((flags & O_CREAT) != 0 ? O_EXCL : 0) : flags & ~O_CREAT;
    const FileHandle fd = RawOpenAt(directory, path, tryFlags, mode, &opened.error);
    if (fd != kInvalidFile) {
      opened.file.reset(fd);
      opened.created = (tryFlags & O_CREAT) != 0;
      break;
    }
    if (!mayCreate || opened.error != (create ? EEXIST : ENOENT)) {
      return opened;
    }
  }
  if (opened.created && fchmod(opened.file.get(), mode) != 0) {
    opened.modeError = errno;
  }
  return opened;
}

OpenedFile OpenRegular(FileHandle directory, const char* path, int flags, mode_t mode) {
  OpenedFile opened = OpenAt(directory, path, flags | O_NOFOLLOW | O_NONBLOCK, mode);
  if (!opened.file) {
    return opened;
  }
  struct stat st {};
  if (fstat(opened.file.get(), &st) != 0) {
    opened.error = errno;
    opened.statFailed = true;
  } else if (!S_ISREG(st.st_mode)) {
    opened.error = EINVAL;
    opened.type = st.st_mode & S_IFMT;
  }
  if (opened.error != 0) {
    opened.file.reset();  // opened for this check only: nothing was written
    if (opened.created) {
      // Created by this call (exclusively, so nobody else's): a failed check
      // leaves nothing behind. Should the removal fail too, what stays is the
      // empty file a creation cut short leaves, which its next open handles.
      (void)unlinkat(directory, path, 0);
    }
  }
  return opened;
}
