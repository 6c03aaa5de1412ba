#include "options/reload.h"

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "options/value_print.h"
#include "runtime/pidfile.h"

namespace {

// Sends SIGHUP to `pid` only while the PID file's owner still holds its lock.
// The process is pinned by a pidfd opened before the lock test, so a PID that
// is reused in between names a different process than the descriptor and gets
// nothing. Plain kill() serves only kernels without pidfds. Returns 0 or the
// errno to report.
int SignalLockedOwner(const UniqueFile& pidFile, std::int32_t pid) {
  const UniqueFile pidfd(static_cast<FileHandle>(syscall(SYS_pidfd_open, pid, 0)));
  if (!pidfd && errno != ENOSYS) {
    return errno;
  }
  const int error = PidFileOwnerLockError(pidFile.get());
  if (error != 0) {
    return error;
  }
  const long rc = pidfd ? syscall(SYS_pidfd_send_signal, pidfd.get(), SIGHUP, nullptr, 0) : kill(pid, SIGHUP);
  return rc == 0 ? 0 : errno;
}

}  // namespace

void SignalSensorReload() {
  UniqueFile pidFile;
  const std::int32_t pid = ReadPidFileKeepOpen(&pidFile);
  if (pid < 0) {
    PrintDiagnostic("Failed to get vantor PID from PID file %s: %s\n", kPidFilePath, std::strerror(-pid));
    return;
  }
  const int error = SignalLockedOwner(pidFile, pid);
  if (error != 0) {
    PrintDiagnostic("Failed to send SIGHUP to vantor process (PID %d): %s\n", pid, std::strerror(error));
  }
}
