// Locks, events and time. Kernel-style synchronisation objects on POSIX threads,
// eventfd and ppoll. Every object is a plain structure owned by its user; nothing
// here is global and nothing allocates except lock initialisation.
//
// Common convention: objects with a state word start prepared
// (STATUS_NOT_INITIALIZED_SYNC), become usable when their initialisation sets
// STATUS_SUCCESS, and destruction tears the POSIX object down only when the state
// is not negative. Owner fields hold pthread_self() (0: none); they are written
// with sequentially consistent exchanges and read with plain (relaxed) loads:
// only the owning thread can find its own identity there, so the test is
// reliable for the caller.
//
// Time-outs are signed 32-bit milliseconds. Waits on mutexes and condition
// variables use absolute CLOCK_REALTIME deadlines; waits on eventfds use
// CLOCK_MONOTONIC deadlines and a relative time-out recomputed after every early
// return.
#pragma once

#include <pthread.h>
#include <time.h>

#include <atomic>
#include <cstdint>
#include <utility>

#include "runtime/status.h"

// ---------------------------------------------------------------------------
// SyncEvent: a mutex, a condition variable (default attributes, so timed waits
// use CLOCK_REALTIME), a manual-reset flag and the signalled flag. The
// signalled flag changes only under the mutex; it is atomic so that
// ReadSyncEvent may look at it without the mutex.
struct SyncEvent {
  pthread_mutex_t Mutex;
  pthread_cond_t Condition;
  std::uint8_t ManualReset;  // 1: every waiter is released and the event stays set
  std::atomic<std::uint8_t> Signalled;
};

[[nodiscard]] NTSTATUS InitializeSyncEvent(SyncEvent* event, bool manualReset, bool initialState);
void SetSyncEvent(SyncEvent* event);
void ResetSyncEvent(SyncEvent* event);
[[nodiscard]] bool ReadSyncEvent(SyncEvent* event);
// timeoutMs < 0 waits forever (-1 is the documented value; any negative value is
// taken the same way). Returns STATUS_SUCCESS, STATUS_TIMEOUT (also when the
// mutex itself could not be taken before the deadline) or STATUS_UNSUCCESSFUL.
// A successful wait on an auto-reset event resets it before the mutex is
// released, so exactly one waiter takes each set.
[[nodiscard]] NTSTATUS WaitSyncEvent(SyncEvent* event, std::int32_t timeoutMs);
void DeleteSyncEvent(SyncEvent* event);

// ---------------------------------------------------------------------------
// RundownGuard: one 64-bit word. 0: open, no holders; 2n: n holders; bit 0 set:
// running down or run down, the rest of the word is 0 or the address of the
// waiter's RundownWaitBlock. The word changes only by compare-and-swap.
struct RundownGuard {
  std::atomic<std::uint64_t> Word;
};

// Lives in the frame of the thread inside WaitForRundown. Count is in the word's
// units of 2; holders that release after the block was published decrement it.
struct alignas(8) RundownWaitBlock {
  SyncEvent Event;
  std::atomic<std::uint64_t> Count;
};

void InitializeRundownGuard(RundownGuard* guard);
// False, with nothing changed, once rundown has begun.
[[nodiscard]] bool AcquireRundownGuard(RundownGuard* guard);
// Must match one successful AcquireRundownGuard. The last holder to leave a
// guard that is running down wakes the waiter.
void ReleaseRundownGuard(RundownGuard* guard);
// Called once, by the thread that tears the object down. Returns when no holder
// is left; afterwards every acquisition fails until InitializeRundownGuard.
void WaitForRundown(RundownGuard* guard);

// Test seams of the rundown hand-over, null in the product: afterPublish runs in
// WaitForRundown right after its wait block was published; beforeLastSignal in
// the last holder's ReleaseRundownGuard between its decrement and its signal.
// Set them only while no guard is in use.
struct RundownTestHooks {
  void (*afterPublish)();
  void (*beforeLastSignal)();
};
extern constinit RundownTestHooks gRundownTestHooks;

// Holds one rundown reference for a scope. Test with operator bool.
class RundownReference {
 public:
  explicit RundownReference(RundownGuard* guard) : guard_(AcquireRundownGuard(guard) ? guard : nullptr) {}
  RundownReference(const RundownReference&) = delete;
  RundownReference& operator=(const RundownReference&) = delete;
  ~RundownReference() {
    if (guard_ != nullptr) {
      ReleaseRundownGuard(guard_);
    }
  }
  explicit operator bool() const { return guard_ != nullptr; }

 private:
  RundownGuard* guard_;
};

// ---------------------------------------------------------------------------
// RecursiveLock: a state word and a separately allocated block (tag index 130).
// The block can also be embedded by a user that wants no extra allocation (the
// registry does); the *Block functions work on it directly.
struct RecursiveLockBlock {
  pthread_mutex_t Mutex;
  std::atomic<std::uint64_t> Owner;  // pthread_self() of the holder, 0 when free
  std::uint32_t Count;               // recursion depth; touched only by the owner
};

struct RecursiveLock {
  NTSTATUS State;
  RecursiveLockBlock* Block;
};

// Embedded form: initialise (mutex with default attributes, no owner, count 0),
// acquire (returns the new recursion count), release, ownership test, destroy.
void InitializeRecursiveLockBlock(RecursiveLockBlock* block);
std::uint32_t AcquireRecursiveLockBlock(RecursiveLockBlock* block);
void ReleaseRecursiveLockBlock(RecursiveLockBlock* block);
[[nodiscard]] bool IsRecursiveLockBlockOwned(const RecursiveLockBlock* block);
void DestroyRecursiveLockBlock(RecursiveLockBlock* block);

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

// Holds a recursive lock block for a scope.
class RecursiveLockGuard {
 public:
  explicit RecursiveLockGuard(RecursiveLockBlock* block) : block_(block) { (void)AcquireRecursiveLockBlock(block_); }
  RecursiveLockGuard(const RecursiveLockGuard&) = delete;
  RecursiveLockGuard& operator=(const RecursiveLockGuard&) = delete;
  ~RecursiveLockGuard() { ReleaseRecursiveLockBlock(block_); }

 private:
  RecursiveLockBlock* block_;
};

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

// ---------------------------------------------------------------------------
// Time helpers shared by the timed waits.
// now(clock) + timeoutMs (>= 0), normalised (tv_nsec below 1,000,000,000).
timespec TvDeadlineAfter(clockid_t clock, std::int32_t timeoutMs);
// deadline - now, or {0, 0} when the deadline is reached or passed (*expired set).
timespec TvTimeUntil(const timespec& deadline, const timespec& now, bool* expired);
