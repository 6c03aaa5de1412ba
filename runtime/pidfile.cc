#include "runtime/pidfile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string_view>
#include <utility>

#include "runtime/fd.h"
#include "runtime/retry.h"
#include "runtime/trace.h"

const char* PidFilePath() { return kPidFilePath; }

namespace {

// The kernel's ceiling for pid_max, used when /proc/sys cannot be read.
constexpr long kPidMaxLimit = 4194304;

// The system's largest PID: /proc/sys/kernel/pid_max, or kPidMaxLimit when that
// cannot be read or makes no sense.
long SystemPidMax() {
  const OpenedFile opened = OpenRegular(kCurrentDirectory, "/proc/sys/kernel/pid_max", O_RDONLY | O_CLOEXEC, 0);
  if (!opened.file) {
    return kPidMaxLimit;
  }
  char text[16] = {};
  const ssize_t n = read(opened.file.get(), text, sizeof(text) - 1);
  const long value = n > 0 ? std::strtol(text, nullptr, 10) : 0;
  return value > 0 && value <= kPidMaxLimit ? value : kPidMaxLimit;
}

}  // namespace

std::int32_t ReadPidFileKeepOpen(UniqueFile* file) {
  file->reset();
  // Never through a planted link, and never stuck on a FIFO.
  OpenedFile opened = OpenRegular(kCurrentDirectory, PidFilePath(), O_RDONLY | O_CLOEXEC, 0);
  if (opened.type != 0) {
    TraceError(TRACE_COMPONENT_PIDFILE, "PID file is not a regular file");
    return -EINVAL;
  }
  if (opened.error != 0) {
    TraceError(TRACE_COMPONENT_PIDFILE, opened.statFailed ? "Error reading PID file: %!ERRNO!"
                                                         : "Error opening PID file: %!ERRNO!", opened.error);
    return -opened.error;
  }
  const FileHandle fd = opened.file.get();

  char text[kPidTextSize + 1] = {};  // one spare byte keeps the text terminated
  std::size_t total = 0;
  int interrupted = 0;
  while (total < kPidTextSize) {
    const ssize_t n = read(fd, text + total, kPidTextSize - total);
    if (n == 0) {
      break;
    }
    if (n < 0) {
      const int err = errno;
      if (err == EINTR && ++interrupted <= kInterruptedRetryLimit) {
        continue;
      }
      TraceError(TRACE_COMPONENT_PIDFILE, "Error reading PID file: %!ERRNO!", err);
      return -err;
    }
    interrupted = 0;
    total += static_cast<std::size_t>(n);
  }
  text[total] = '\0';

  errno = 0;
  const long value = std::strtol(text, nullptr, 10);
  const int err = errno;
  if (err != 0) {
    TraceError(TRACE_COMPONENT_PIDFILE, "strtol error: %!ERRNO!", err);
    return -err;
  }
  // Beyond pid_max no process can have the number; cut to 32 bits it could name
  // another process, or with kill() a whole process group.
  if (value < 1 || value > SystemPidMax()) {
    TraceError(TRACE_COMPONENT_PIDFILE, "Invalid PID: %ld", value);
    return -ERANGE;
  }
  *file = std::move(opened.file);
  return static_cast<std::int32_t>(value);
}

std::int32_t ReadPidFile() {
  UniqueFile file;
  return ReadPidFileKeepOpen(&file);
}

namespace {

// Whether the fdinfo text of one descriptor shows an exclusive flock held
// through it on inode `inode`: a line "lock:\t<n>: FLOCK  ADVISORY  WRITE <pid>
// <major>:<minor>:<inode> <start> <end>". Lines of other kinds of lock, shared
// flocks and waiters ("->") do not count.
bool ShowsExclusiveFlock(std::string_view fdinfo, ino_t inode) {
  char suffix[24];
  const int n = std::snprintf(suffix, sizeof suffix, ":%lu", static_cast<unsigned long>(inode));
  const std::string_view inodeSuffix(suffix, static_cast<std::size_t>(n));
  while (!fdinfo.empty()) {
    const std::size_t end = std::min(fdinfo.find('\n'), fdinfo.size());
    std::string_view line = fdinfo.substr(0, end);
    fdinfo.remove_prefix(std::min(end + 1, fdinfo.size()));
    std::string_view words[7];
    std::size_t count = 0;
    while (count < std::size(words)) {
      const std::size_t start = line.find_first_not_of(" \t");
      if (start == std::string_view::npos) {
        break;
      }
      line.remove_prefix(start);
      const std::size_t stop = std::min(line.find_first_of(" \t"), line.size());
      words[count++] = line.substr(0, stop);
      line.remove_prefix(stop);
    }
    if (count == std::size(words) && words[0] == "lock:" && words[2] == "FLOCK" && words[4] == "WRITE" &&
        words[6].size() > inodeSuffix.size() && words[6].ends_with(inodeSuffix)) {
      return true;
    }
  }
  return false;
}

// Reads /proc/<pid>/fdinfo/<fd> whole into `text` (the lock lines come last,
// after a few short fields; what does not fit is left out). 0 or an errno.
int ReadFdInfo(std::int32_t pid, const char* fd, char* text, std::size_t size, std::size_t* length) {
  char path[48 + sizeof(dirent::d_name)];
  std::snprintf(path, sizeof path, "/proc/%d/fdinfo/%s", static_cast<int>(pid), fd);
  const UniqueFile file(open(path, O_RDONLY | O_CLOEXEC));
  *length = 0;
  if (!file) {
    return errno;
  }
  while (*length < size) {
    const ssize_t n = read(file.get(), text + *length, size - *length);
    if (n == 0) {
      break;
    }
    if (n < 0) {
      return errno;
    }
    *length += static_cast<std::size_t>(n);
  }
  return 0;
}

// The next entry of `directory`; null at its end (*error 0) or when readdir
// fails (*error its errno), whatever errno held before the call.
const dirent* NextEntry(DIR* directory, int* error) {
  errno = 0;
  const dirent* entry = readdir(directory);
  *error = entry == nullptr ? errno : 0;
  return entry;
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { (void)closedir(directory); }
};

}  // namespace

int PidFileLockHolderError(int file, std::int32_t pid) {
  struct stat pidFile {};
  if (fstat(file, &pidFile) != 0) {
    const int err = errno;
    TraceError(TRACE_COMPONENT_PIDFILE, "Cannot stat the PID file: %!ERRNO!", err);
    return err;
  }
  char path[48];
  std::snprintf(path, sizeof path, "/proc/%d/fd", static_cast<int>(pid));
  const std::unique_ptr<DIR, DirectoryCloser> descriptors(opendir(path));
  if (!descriptors) {
    const int err = errno;
    if (err == ENOENT) {
      TraceError(TRACE_COMPONENT_PIDFILE, "PID file names process %d, which does not exist", pid);
      return ESRCH;
    }
    TraceError(TRACE_COMPONENT_PIDFILE, "Cannot list the descriptors of process %d: %!ERRNO!", pid, err);
    return err;
  }
  bool opened = false;  // the process has the PID file open, locked or not
  int listError = 0;
  while (const dirent* entry = NextEntry(descriptors.get(), &listError)) {
    struct stat target {};
    if (entry->d_name[0] == '.' || fstatat(dirfd(descriptors.get()), entry->d_name, &target, 0) != 0 ||
        target.st_dev != pidFile.st_dev || target.st_ino != pidFile.st_ino) {
      continue;  // another file, or a descriptor closed meanwhile
    }
    opened = true;
    char text[4096];
    std::size_t length = 0;
    const int err = ReadFdInfo(pid, entry->d_name, text, sizeof text, &length);
    if (err == 0 && ShowsExclusiveFlock(std::string_view(text, length), pidFile.st_ino)) {
      return 0;
    }
  }
  if (listError != 0) {
    TraceError(TRACE_COMPONENT_PIDFILE, "Cannot list the descriptors of process %d: %!ERRNO!", pid, listError);
    return listError;
  }
  TraceError(TRACE_COMPONENT_PIDFILE,
             opened ? "Process %d has the PID file open but does not hold its lock: not the sensor"
                    : "Process %d does not hold the PID file's lock: not the sensor, or the file is stale",
             pid);
  return ESRCH;
}
