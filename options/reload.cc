#include "options/reload.h"

#include <signal.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "options/value_print.h"
#include "runtime/pidfile.h"

void SignalSensorReload() {
  const std::int32_t pid = ReadPidFile();
  if (pid < 0) {
    PrintDiagnostic("Failed to get vantor PID from PID file %s: %s\n", kPidFilePath, std::strerror(-pid));
    return;
  }
  if (kill(pid, SIGHUP) != 0) {
    const int error = errno;
    PrintDiagnostic("Failed to send SIGHUP to vantor process (PID %d): %s\n", pid, std::strerror(error));
  }
}
