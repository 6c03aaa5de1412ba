// The sensor daemon's PID file: its process ID in decimal ("%d\n"), created 0600
// and held open under flock(LOCK_EX) by the owning daemon for its lifetime, so a
// file whose lock can be taken is stale. This is the reader side, which the
// configuration tool uses; the writer side is in runtime/pidfile_writer.h. Every
// log line uses component 6.
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
// owner's lock can be looked at; *file is empty on failure.
[[nodiscard]] std::int32_t ReadPidFileKeepOpen(UniqueFile* file);
// Whether process `pid` itself holds the exclusive flock on the open PID file
// `file`: one of its descriptors is an open file of the PID file's inode whose
// /proc/<pid>/fdinfo entry shows an exclusive flock ("FLOCK ... WRITE") held
// through that very open file. So neither another process holding the lock (a
// forked helper of a dead daemon, a stray flock) nor a process that merely has
// the file open proves anything. 0 when proven; ESRCH when not, with a log line
// saying why; the errno of a failed look at the PID file or at /proc otherwise.
// Only a process that cannot exit meanwhile (one pinned by a pidfd, for a signal
// sent through it) makes the answer hold past the call.
[[nodiscard]] int PidFileLockHolderError(int file, std::int32_t pid);

// The PID file's path, kPidFilePath (tests run in a mount namespace of their
// own, with a private /run).
[[nodiscard]] const char* PidFilePath();
