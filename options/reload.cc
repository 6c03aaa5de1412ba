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

// Sends SIGHUP to `pid` only when that very process holds the PID file's
// exclusive lock (PidFileLockHolderError). The process is pinned by a pidfd
// opened before the proof, and the signal goes through it: a process that
// exits meanwhile, and so could have handed its PID to another whose
// descriptors the proof then read, gets nothing and nobody else does. Plain
// kill() serves only kernels without pidfds. Returns 0 or the errno to report.
int SignalProvenSensor(const UniqueFile& pidFile, std::int32_t pid) {
  const UniqueFile pidfd(static_cast<FileHandle>(syscall(SYS_pidfd_open, pid, 0)));
  if (!pidfd && errno != ENOSYS) {
    return errno;
  }
  const int error = PidFileLockHolderError(pidFile.get(), pid);
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
  const int error = SignalProvenSensor(pidFile, pid);
  if (error != 0) {
    PrintDiagnostic("Failed to send SIGHUP to vantor process (PID %d): %s\n", pid, std::strerror(error));
  }
}
