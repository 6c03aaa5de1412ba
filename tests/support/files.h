// Whole-file reads and writes for tests, fuzzers and test tools.
#pragma once

#include <dirent.h>
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

// A new directory for scratch files: under /dev/shm where there is one, since
// memory makes fsync cheap, else under /tmp. Empty when neither works. The
// directory and the files in it (one level) are removed when the process exits.
inline std::string MakeScratchDirectory(const std::string& prefix) {
  static std::string made;
  for (const char* parent : {"/dev/shm/", "/tmp/"}) {
    std::string path = parent + prefix + "-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) continue;
    made = path;
    (void)std::atexit([] {  // best effort: a leftover directory only costs space
      if (DIR* dir = opendir(made.c_str())) {
        while (const dirent* entry = readdir(dir)) (void)unlinkat(dirfd(dir), entry->d_name, 0);
        (void)closedir(dir);
      }
      (void)rmdir(made.c_str());
    });
    return path;
  }
  return {};
}

}  // namespace vt_test
