// The writer side of the PID file (runtime/pidfile.h), for the daemon: it
// keeps process-wide state (the held descriptor and the previous-instance flag)
// without any lock, so call it from start-up and shutdown only. The tool never
// writes the PID file; this is a library of its own, which it does not link.
#pragma once

#include "runtime/status.h"

// Creates the file exclusively (STATUS_ALREADY_EXISTS_PIDFILE when it exists),
// locks it (STATUS_LOCK_NOT_GRANTED, file left on disk) and writes getpid(). On
// success, and also after a failed write, the descriptor is kept as the held
// descriptor until RemovePidFile.
[[nodiscard]] NTSTATUS CreatePidFile();

// Closes the held descriptor (dropping the lock) and unlinks the file; failures
// are only logged.
void RemovePidFile();

// The daemon's start-up entry. No file: CreatePidFile. A file whose lock is held
// by a live daemon: STATUS_UNSUCCESSFUL, file untouched. A stale file: removed,
// then CreatePidFile. Sets the flag PidFileExisted reports.
[[nodiscard]] NTSTATUS AcquirePidFile();

// Whether the last AcquirePidFile found a PID file already present.
[[nodiscard]] bool PidFileExisted();
