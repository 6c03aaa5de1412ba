// The sensor daemon's PID file: its process ID in decimal ("%d\n"), created 0600
// and held open under flock(LOCK_EX) by the owning daemon for its lifetime, so a
// file whose lock can be taken is stale. The configuration tool only reads it
// (ReadPidFile); the writer side (CreatePidFile, AcquirePidFile, RemovePidFile)
// belongs to the daemon. Every log line uses component 6. The writer keeps
// process-wide state (the held descriptor and the previous-instance flag) without
// any lock: call it from start-up and shutdown only.
#pragma once

#include <cstddef>
#include <cstdint>

#include "runtime/fd.h"
#include "runtime/status.h"

inline constexpr char kPidFilePath[] = "/var/run/vantor-sensor.pid";
// The formatted PID plus its terminator must fit in this many bytes.
inline constexpr std::size_t kPidTextSize = 14;

// Returns the PID found in the PID file, or a negative errno value: -errno when
// the file cannot be opened or read, -EINVAL when it is not a regular file, the
// strtol errno negated, or -ERANGE (-34) for a number outside 1..pid_max. The
// open never follows a final symbolic link (-ELOOP) and never blocks (a FIFO is
// refused). Takes no lock and never modifies the file.
[[nodiscard]] std::int32_t ReadPidFile();
// ReadPidFile that, on success, leaves the PID file open in *file so that its
// owner's lock can be tested; *file is empty on failure.
[[nodiscard]] std::int32_t ReadPidFileKeepOpen(UniqueFile* file);
// Tests the owner's lock on an open PID file with a non-blocking shared flock:
// 0 when it is held (refused with EWOULDBLOCK: the daemon is alive), ESRCH when
// it could be taken (a stale file; the probe lock is dropped again), or the
// errno of a probe that failed otherwise. Logs every non-zero result.
[[nodiscard]] int PidFileOwnerLockError(int file);

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

// Points every operation above at another path (tests only; the string must
// outlive its use). Null restores kPidFilePath.
void SetPidFilePathForTesting(const char* path);
