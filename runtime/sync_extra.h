// The synchronisation objects of runtime/sync.h's family that the tool never
// uses: RecursiveLock (with an allocated block), OwnedMutex, RwLock and TvEvent.
// Kept, built and tested as the runtime's API, in a library the tool does not
// link. Same conventions as runtime/sync.h, and: objects with a state word
// start prepared (STATUS_NOT_INITIALIZED_SYNC), become usable when their
// initialisation sets STATUS_SUCCESS, and destruction tears the POSIX object
// down only when the state is not negative. Waits on eventfds use
// CLOCK_MONOTONIC deadlines and a relative time-out recomputed after every
// early return.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "runtime/status.h"
#include "runtime/sync.h"

// ---------------------------------------------------------------------------
// RecursiveLock: a state word and a separately allocated RecursiveLockBlock
// (tag index 130).
struct RecursiveLock {
  NTSTATUS State;
  RecursiveLockBlock* Block;
};

void PrepareRecursiveLock(RecursiveLock* lock);
// STATUS_INSUFFICIENT_RESOURCES, state unchanged, when the block cannot be
// allocated. The lock owns the block until DeleteRecursiveLock.
[[nodiscard]] NTSTATUS InitializeRecursiveLock(RecursiveLock* lock);
// Every acquisition must be matched by one release on the same thread.
std::uint32_t AcquireRecursiveLock(RecursiveLock* lock);
void ReleaseRecursiveLock(RecursiveLock* lock);
[[nodiscard]] bool IsRecursiveLockOwned(const RecursiveLock* lock);
// Destroys the mutex if the state is not negative, frees the block and leaves
// the lock prepared again. Deleting a held lock is a caller error.
void DeleteRecursiveLock(RecursiveLock* lock);

// ---------------------------------------------------------------------------
// OwnedMutex: as RecursiveLock without recursion (block tag index 129). A second
// acquisition by the owner deadlocks like the POSIX mutex under it.
struct OwnedMutexBlock {
  pthread_mutex_t Mutex;
  std::atomic<std::uint64_t> Owner;
};

struct OwnedMutex {
  NTSTATUS State;
  OwnedMutexBlock* Block;
};

void PrepareOwnedMutex(OwnedMutex* mutex);
[[nodiscard]] NTSTATUS InitializeOwnedMutex(OwnedMutex* mutex);
void AcquireOwnedMutex(OwnedMutex* mutex);
void ReleaseOwnedMutex(OwnedMutex* mutex);
[[nodiscard]] bool IsOwnedMutexHeld(const OwnedMutex* mutex);
void DeleteOwnedMutex(OwnedMutex* mutex);

// ---------------------------------------------------------------------------
// RwLock: a POSIX reader-writer lock that remembers its exclusive owner (0 while
// only readers hold it). ReleaseRwLock serves both modes.
struct RwLock {
  NTSTATUS State;
  pthread_rwlock_t Lock;
  std::atomic<std::uint64_t> Owner;
};

void PrepareRwLock(RwLock* lock);
[[nodiscard]] NTSTATUS InitializeRwLock(RwLock* lock);
void AcquireRwLockExclusive(RwLock* lock);
void AcquireRwLockShared(RwLock* lock);
void ReleaseRwLock(RwLock* lock);
[[nodiscard]] bool IsRwLockOwnedExclusive(const RwLock* lock);
void DeleteRwLock(RwLock* lock);

// ---------------------------------------------------------------------------
// TvEvent: an eventfd (non-blocking, close-on-exec) that is signalled while its
// counter is non-zero. A notification event (type 0) stays signalled until
// reset; a synchronization event (type 1) is consumed by the waiter that takes
// it, so exactly one waiter returns per set.
inline constexpr std::uint32_t TV_NOTIFICATION_EVENT = 0;
inline constexpr std::uint32_t TV_SYNCHRONIZATION_EVENT = 1;

struct TvEvent {
  std::uint8_t Notification = 0;
  std::int32_t Descriptor = -1;  // -1 when closed
};

// Upper bound on the events of one TvWaitForMultipleEvents call. The pollfds live
// in a fixed array of this size; a count of 0 (which could never be satisfied
// without a time-out) and a count above the bound are rejected with
// STATUS_INVALID_PARAMETER. It also keeps every index below STATUS_TIMEOUT.
inline constexpr std::uint32_t kTvMaxWaitEvents = 32;

// Only the low 8 bits of initialState are used (the eventfd's initial counter).
// On failure logs "TvInitializeEventEx failed: %!ERRNO!" and returns
// STATUS_INSUFFICIENT_RESOURCES (ENOMEM), STATUS_TOO_MANY_OPENED_FILES (ENFILE,
// EMFILE) or STATUS_UNSUCCESSFUL; the descriptor is then left as it was.
[[nodiscard]] NTSTATUS TvInitializeEventEx(TvEvent* event, std::uint32_t type, std::uint32_t initialState);
void TvSetEvent(TvEvent* event);
void TvResetEvent(TvEvent* event);
[[nodiscard]] bool TvReadEvent(TvEvent* event);
// 0 when signalled, STATUS_TIMEOUT, or a failure. timeoutMs < 0 waits forever.
[[nodiscard]] NTSTATUS TvWaitForEvent(TvEvent* event, std::int32_t timeoutMs);
// Index of the lowest signalled event (0-based), STATUS_TIMEOUT,
// STATUS_INVALID_PARAMETER (null array, count 0 or above kTvMaxWaitEvents),
// STATUS_INSUFFICIENT_RESOURCES (ppoll ENOMEM/EINVAL) or STATUS_UNSUCCESSFUL.
// Every ready synchronization event is consumed, even those above the index
// reported.
[[nodiscard]] NTSTATUS TvWaitForMultipleEvents(TvEvent* const* events, std::uint32_t count, std::int32_t timeoutMs);
void TvCloseEvent(TvEvent* event);

