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
int SignalLockedOwner(int pidFile, std::int32_t pid) {
  const long pidfd = syscall(SYS_pidfd_open, pid, 0);
  if (pidfd < 0 && errno != ENOSYS) {
    return errno;
  }
  int error = PidFileOwnerLockError(pidFile);
  if (error == 0) {
    const long rc = pidfd >= 0 ? syscall(SYS_pidfd_send_signal, pidfd, SIGHUP, nullptr, 0) : kill(pid, SIGHUP);
    error = rc == 0 ? 0 : errno;
  }
  if (pidfd >= 0) {
    (void)close(static_cast<int>(pidfd));  // only a handle on the process: nothing to lose
  }
  return error;
}

}  // namespace

void SignalSensorReload() {
  int pidFile = -1;
  const std::int32_t pid = ReadPidFileKeepOpen(&pidFile);
  if (pid < 0) {
    PrintDiagnostic("Failed to get vantor PID from PID file %s: %s\n", kPidFilePath, std::strerror(-pid));
    return;
  }
  const int error = SignalLockedOwner(pidFile, pid);
  (void)close(pidFile);  // read-only: nothing to lose
  if (error != 0) {
    PrintDiagnostic("Failed to send SIGHUP to vantor process (PID %d): %s\n", pid, std::strerror(error));
  }
}
