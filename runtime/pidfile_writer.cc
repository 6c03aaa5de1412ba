#include "runtime/pidfile_writer.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

#include "runtime/fd.h"
#include "runtime/pidfile.h"
#include "runtime/retry.h"
#include "runtime/trace.h"

namespace {

// Writer-side state. No lock: the writer operations run at daemon start-up and
// shutdown only.
bool gPidFileExisted = false;

// The descriptor held, with its lock, from CreatePidFile to RemovePidFile. A
// function's static, constant-initialised, so that nothing runs before main.
UniqueFile& HeldFile() {
  static constinit UniqueFile file;
  return file;
}

constexpr mode_t kPidFileMode = 0600;

// Formats the PID line into `buffer`; STATUS_BUFFER_OVERFLOW when it does not
// fit (the text is cut), STATUS_INVALID_PARAMETER when snprintf fails.
NTSTATUS FormatPidLine(char* buffer, std::size_t size, std::size_t* length, int pid) {
  const int written = std::snprintf(buffer, size, "%d\n", pid);
  if (written < 0) {
    *length = 0;
    return STATUS_INVALID_PARAMETER;
  }
  *length = std::min(static_cast<std::size_t>(written), size - 1);
  return static_cast<std::size_t>(written) < size ? STATUS_SUCCESS : STATUS_BUFFER_OVERFLOW;
}

}  // namespace

bool PidFileExisted() { return gPidFileExisted; }

NTSTATUS CreatePidFile() {
  OpenedFile opened = OpenAt(kCurrentDirectory, PidFilePath(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kPidFileMode);
  if (!opened.file) {
    if (opened.error == EEXIST) {
      TraceError(TRACE_COMPONENT_PIDFILE, "PID file already exists, not writing: %!ERRNO!", opened.error);
      return STATUS_ALREADY_EXISTS_PIDFILE;
    }
    TraceError(TRACE_COMPONENT_PIDFILE, "Error creating PID file: %!ERRNO!", opened.error);
    return STATUS_UNSUCCESSFUL;
  }
  if (opened.modeError != 0) {
    // The umask took bits the file must have; it works all the same.
    TraceError(TRACE_COMPONENT_PIDFILE, "Cannot set the PID file's mode: %!ERRNO!", opened.modeError);
  }
  const FileHandle fd = opened.file.get();
  if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    TraceError(TRACE_COMPONENT_PIDFILE, "PID file cannot be locked: %!ERRNO!", errno);
    return STATUS_LOCK_NOT_GRANTED;
  }

  char text[kPidTextSize];
  std::size_t length = 0;
  const NTSTATUS status = FormatPidLine(text, sizeof(text), &length, static_cast<int>(getpid()));
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_PIDFILE, "Error converting PID: %!STATUS!", status);
    (void)unlink(PidFilePath());  // our own new file, still empty
    return status;
  }

  std::size_t done = 0;
  int interrupted = 0;
  while (done < length) {
    const ssize_t n = write(fd, text + done, length - done);
    if (n < 0) {
      const int err = errno;
      if (err == EINTR && ++interrupted <= kInterruptedRetryLimit) {
        continue;
      }
      TraceError(TRACE_COMPONENT_PIDFILE, "Error writing PID file: %!ERRNO!", err);
      // The lock stays held: this daemon still owns the (incomplete) file.
      HeldFile() = std::move(opened.file);
      return STATUS_UNSUCCESSFUL;
    }
    interrupted = 0;
    done += static_cast<std::size_t>(n);
  }
  HeldFile() = std::move(opened.file);
  return status;
}

void RemovePidFile() {
  HeldFile().reset();  // dropping the lock
  if (unlink(PidFilePath()) != 0) {
    const int err = errno;
    if (err == ENOENT) {
      TraceError(TRACE_COMPONENT_PIDFILE, "PID file doesn't exist, not removing");
    } else {
      TraceError(TRACE_COMPONENT_PIDFILE, "failed to remove PID file: %!ERRNO!", err);
    }
  }
}

NTSTATUS AcquirePidFile() {
  OpenedFile opened = OpenRegular(kCurrentDirectory, PidFilePath(), O_RDONLY | O_CLOEXEC, 0);
  UniqueFile& existing = opened.file;
  if (opened.error == ENOENT) {
    gPidFileExisted = false;
    return CreatePidFile();
  }
  gPidFileExisted = true;
  // A link or anything but a regular file there is nobody's PID file to take over.
  if (!existing || flock(existing.get(), LOCK_EX | LOCK_NB) != 0) {
    return STATUS_UNSUCCESSFUL;  // a live daemon holds the lock: its file stays as it is
  }
  existing.reset();  // stale: nobody held the lock; closing drops the one just taken
  RemovePidFile();
  return CreatePidFile();
}
