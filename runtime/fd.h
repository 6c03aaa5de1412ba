// Descriptors: the one owner type for them (UniqueFile) and the one way the
// runtime opens a file, creates one with its mode, and opens a file whose
// contents it trusts or will overwrite without following a link or blocking
// (OpenRegular). The store, the registry, the trace log and the PID file all
// open their files here.
//
// This library sits below the trace log and logs nothing: each caller reports
// a failure in its own way (the file wrappers and the PID file through the
// trace, the trace log through the system log), from the errno it is given.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <utility>

using FileHandle = std::int32_t;  // a POSIX descriptor; -1 for none
inline constexpr FileHandle kInvalidFile = -1;
inline constexpr FileHandle kCurrentDirectory = -100;  // AT_FDCWD

// Owns a descriptor and closes it when it goes. close() is not retried: on
// Linux the descriptor is gone even when close() reports EINTR, and callers
// that must see a failed close of a written file call Close() themselves.
class UniqueFile {
 public:
  UniqueFile() = default;
  explicit UniqueFile(FileHandle fd) : fd_(fd) {}
  UniqueFile(UniqueFile&& other) noexcept : fd_(std::exchange(other.fd_, kInvalidFile)) {}
  UniqueFile& operator=(UniqueFile&& other) noexcept {
    if (this != &other) {
      reset(std::exchange(other.fd_, kInvalidFile));
    }
    return *this;
  }
  UniqueFile(const UniqueFile&) = delete;
  UniqueFile& operator=(const UniqueFile&) = delete;
  ~UniqueFile() { reset(); }

  FileHandle get() const { return fd_; }
  // For a call that fills in a descriptor: closes the current one first.
  FileHandle* out() {
    reset();
    return &fd_;
  }
  [[nodiscard]] FileHandle release() { return std::exchange(fd_, kInvalidFile); }
  void reset(FileHandle fd = kInvalidFile);
  // Closes the descriptor now: 0, or the errno of a failed close().
  [[nodiscard]] int Close();
  explicit operator bool() const { return fd_ != kInvalidFile; }

 private:
  FileHandle fd_ = kInvalidFile;
};

// What an open did.
struct OpenedFile {
  UniqueFile file;       // open on success
  int error = 0;         // on failure, the errno of the step that failed
  mode_t type = 0;       // a refused file that is not regular: its S_IFMT bits (error is EINVAL)
  bool statFailed = false;  // OpenRegular: opened, but fstat failed (error is its errno)
  bool created = false;  // the call created the file
  int modeError = 0;     // created, but fchmod failed with this errno: the umask's mode stayed
};

// openat(directory, path, flags) (callers add O_CLOEXEC). With O_CREAT and without O_EXCL,
// an existing file is opened as it is and a missing one is created
// exclusively (one that appears meanwhile is opened as it is); a file the
// call created is given `mode` with fchmod, whatever the umask.
[[nodiscard]] OpenedFile OpenAt(FileHandle directory, const char* path, int flags, mode_t mode);

// OpenAt for a file whose contents the caller trusts or will overwrite, with
// O_NOFOLLOW and O_NONBLOCK added: a final symbolic link fails the open
// (ELOOP), a FIFO or device never blocks it, and whatever fstat does not show
// as a regular file is closed again and refused (EINVAL, `type` set). A file
// the call created and then could not check is removed again.
[[nodiscard]] OpenedFile OpenRegular(FileHandle directory, const char* path, int flags, mode_t mode);
