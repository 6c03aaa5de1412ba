// Whole-file reads and writes for tests, fuzzers and test tools.
#pragma once

#include <ftw.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

namespace vt_test {

// The file's bytes, or nullopt when it cannot be opened or read. Never follows
// a symbolic link at the last component.
inline std::optional<std::string> ReadFileBytes(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  std::string bytes;
  char chunk[8192];
  for (;;) {
    const ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      (void)close(fd);  // read-only: nothing to lose on close
      if (n < 0) return std::nullopt;
      return bytes;
    }
    bytes.append(chunk, static_cast<std::size_t>(n));
  }
}

// Replaces the file's contents with `bytes` (created with `mode` when missing).
// False when any step failed.
inline bool WriteFileBytes(const std::string& path, std::string_view bytes, mode_t mode = 0660) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, mode);
  if (fd < 0) return false;
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    done += static_cast<std::size_t>(n);
  }
  const bool closed = close(fd) == 0;
  return closed && done == bytes.size();
}

// The file's bytes, or "<missing>" when it cannot be read: for comparisons.
inline std::string ReadWholeFile(const std::string& path) { return ReadFileBytes(path).value_or("<missing>"); }

// A fresh directory under /dev/shm where there is one (memory makes fsync
// cheap), else under /tmp, removed with its contents (links not followed) on
// destruction. path() is empty when none could be made.
class TempDir {
 public:
  TempDir() {
    for (const char* pattern : {"/dev/shm/vt_XXXXXX", "/tmp/vt_XXXXXX"}) {
      std::string path = pattern;
      if (mkdtemp(path.data()) != nullptr) {
        path_ = path;
        return;
      }
    }
  }
  ~TempDir() {
    if (!path_.empty()) {
      (void)nftw(path_.c_str(), [](const char* p, const struct stat*, int, FTW*) { return remove(p); }, 16,
                 FTW_DEPTH | FTW_PHYS);
    }
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace vt_test
