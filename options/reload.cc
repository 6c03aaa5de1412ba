#include "options/reload.h"

#include <signal.h>

#include <cerrno>
#include <cstring>

#include "options/value_print.h"
#include "runtime/pidfile.h"

namespace {
// The daemon's PID file, as named in the message; ReadPidFile reads this path.
constexpr const char* kSensorPidFile = "/var/run/vantor-sensor.pid";
}  // namespace

void SignalSensorReload() {
  const int pid = ReadPidFile();
  if (pid < 0) {
    PrintDiagnostic("Failed to get vantor PID from PID file %s: %s\n", kSensorPidFile, std::strerror(-pid));
    return;
  }
  if (kill(pid, SIGHUP) != 0) {
    const int error = errno;
    PrintDiagnostic("Failed to send SIGHUP to vantor process (PID %d): %s\n", pid, std::strerror(error));
  }
}
