// Mount-namespace switching. At start the tool compares its mount, UTS and
// cgroup namespaces with those of process 1; when they differ (it runs in a
// container) it points its trace log at standard output and joins process 1's
// namespaces so that every later path resolves on the host.
//
// Process-wide state (the namespaced flag and the switched count) is written
// only here, once, at start-up on the only thread; no lock. Everything must run
// before any other thread exists: the kernel refuses setns into a mount
// namespace for a multi-threaded process.
#pragma once

#include <cstdint>

#include "runtime/status.h"

// Compares the namespaces (mnt, uts, then cgroup, stopping at the first
// difference) by the inode numbers of /proc/1/ns/<kind> and
// /proc/<own pid>/ns/<kind>. Sets the namespaced flag only when the comparison
// succeeds and finds a difference. A missing required link of process 1 means
// same-as-init; a missing cgroup link skips that row; any other stat failure is
// logged and leaves the flag false.
void NamespaceDetect();

// The flag NamespaceDetect set.
[[nodiscard]] bool NamespaceIsNamespaced();

// Replaces /var/log/vantorctl.log with a symbolic link to /dev/stdout. Returns
// false when an existing entry cannot be removed or the link cannot be made.
[[nodiscard]] bool RedirectToolLogToStdout();

// Joins process 1's mnt, uts and cgroup namespaces in that order (cgroup skipped
// when process 1 has none). Returns STATUS_SUCCESS; the open's failure status
// (OpenFile logs it); or STATUS_UNSUCCESSFUL when setns is refused (logged).
// A failure leaves the namespaces already joined as they are.
[[nodiscard]] NTSTATUS NamespaceSwitchToInit();

// Whether more than `count` namespaces have been joined so far.
[[nodiscard]] bool NamespaceSwitchCountAbove(std::uint32_t count);
