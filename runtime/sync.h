// Locks, events and time: the kernel-style synchronisation objects the registry
// uses (SyncEvent, RundownGuard, RecursiveLockBlock), on POSIX threads. Every
// object is a plain structure owned by its user; nothing here allocates, and
// the only global is the test hooks' table (runtime/sync_for_testing.h). The
// rest of the family is in runtime/sync_extra.h.
//
// Owner fields hold pthread_self() (0: none); they are written with
// sequentially consistent exchanges and read with plain (relaxed) loads: only
// the owning thread can find its own identity there, so the test is reliable
// for the caller.
//
// Time-outs are signed 32-bit milliseconds; the waits use absolute
// CLOCK_REALTIME deadlines.
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
// RecursiveLockBlock: a recursive lock a user embeds (the registry does). The
// form with a state word and an allocated block, RecursiveLock, is in
// runtime/sync_extra.h.
struct RecursiveLockBlock {
  pthread_mutex_t Mutex;
  std::atomic<std::uint64_t> Owner;  // pthread_self() of the holder, 0 when free
  std::uint32_t Count;               // recursion depth; touched only by the owner
};

// Embedded form: initialise (mutex with default attributes, no owner, count 0),
// acquire (returns the new recursion count), release, ownership test, destroy.
void InitializeRecursiveLockBlock(RecursiveLockBlock* block);
std::uint32_t AcquireRecursiveLockBlock(RecursiveLockBlock* block);
void ReleaseRecursiveLockBlock(RecursiveLockBlock* block);
[[nodiscard]] bool IsRecursiveLockBlockOwned(const RecursiveLockBlock* block);
void DestroyRecursiveLockBlock(RecursiveLockBlock* block);

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
// Time helpers shared by the timed waits.
// now(clock) + timeoutMs (>= 0), normalised (tv_nsec below 1,000,000,000).
timespec TvDeadlineAfter(clockid_t clock, std::int32_t timeoutMs);
// deadline - now, or {0, 0} when the deadline is reached or passed (*expired set).
timespec TvTimeUntil(const timespec& deadline, const timespec& now, bool* expired);
