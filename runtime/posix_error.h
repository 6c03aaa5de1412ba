// How every file wrapper reports a failed C library call, in one way: the
// errno is taken right after the call, before anything else can change it;
// the failure is logged with its context (the format's last conversion,
// %!ERRNO! or %d, takes that errno); and the wrapper returns a status. A
// caller that must tell reasons apart gets the errno with the status in the
// wrapper's result (for example FileOpen::error), never from the global errno
// after other calls. Calls below the status layer that exist to say why
// (UniqueFile::Close, PidFileLockHolderError) return the errno itself, 0 for
// success.
#pragma once

#include <cerrno>
#include <cstdint>

#include "runtime/status.h"
#include "runtime/trace.h"

// The status of a failed call that names a path (open, delete, rename): a
// missing object, or STATUS_UNSUCCESSFUL for anything else. Calls on an open
// descriptor report STATUS_UNSUCCESSFUL whatever the errno.
[[nodiscard]] constexpr NTSTATUS StatusFromErrno(int error) {
  return error == ENOENT ? STATUS_OBJECT_NAME_NOT_FOUND : STATUS_UNSUCCESSFUL;
}

// Logs `format` with `args` and then `error` (for the format's last
// conversion) at error level for `component`, and returns `status`.
template <typename... Args>
[[nodiscard]] NTSTATUS PosixError(std::uint32_t component, NTSTATUS status, int error, const char* format,
                                  const Args&... args) {
  TraceError(component, format, args..., error);
  return status;
}
