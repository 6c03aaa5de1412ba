#include "cli/value_file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "runtime/fd.h"

namespace {

// Milliseconds left until `deadline` (monotonic nanoseconds), 0 when past.
int MillisecondsLeft(std::int64_t deadline) {
  timespec now{};
  (void)clock_gettime(CLOCK_MONOTONIC, &now);  // cannot fail for this clock
  const std::int64_t left = deadline - (static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec);
  return left <= 0 ? 0 : static_cast<int>((left + 999'999) / 1'000'000);
}

}  // namespace

bool IsStandardInputPath(std::string_view path) {
  return path == "/dev/stdin" || path == "/dev/fd/0" || path == "/proc/self/fd/0";
}

int ReadValueFile(const char* path, std::int64_t deadline, std::span<char, kValueFileBuffer> buffer,
                  std::size_t* length) {
  *length = 0;
  UniqueFile opened;
  FileHandle fd = STDIN_FILENO;
  if (!IsStandardInputPath(path)) {
    opened.reset(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!opened) {
      return errno;
    }
    fd = opened.get();
  }
  const bool oneLine = isatty(fd) != 0;
  for (;;) {
    if (*length == buffer.size()) {
      return EFBIG;
    }
    pollfd ready{fd, POLLIN, 0};
    const int waited = poll(&ready, 1, MillisecondsLeft(deadline));
    if (waited == 0) {
      return ETIME;
    }
    const ssize_t n = waited < 0 ? -1 : read(fd, buffer.data() + *length, buffer.size() - *length);
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) {
        continue;  // the deadline still bounds the loop
      }
      return errno;
    }
    *length += static_cast<std::size_t>(n);
    if (n == 0 || (oneLine && buffer[*length - 1] == '\n')) {
      break;
    }
  }
  if (*length != 0 && buffer[*length - 1] == '\n') {
    --*length;
  }
  if (*length > kValueFileBytes) {
    return EFBIG;
  }
  // No command line can carry a NUL byte, and a value cut at one would be
  // taken for a shorter one.
  return std::memchr(buffer.data(), '\0', *length) == nullptr ? 0 : EINVAL;
}
