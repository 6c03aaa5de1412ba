// Locks, events and time (see sync.h). The results of pthread calls on these
// default-attribute mutexes, condition variables and reader-writer locks are
// not checked: on a live object they fail only on a caller's error (a lock
// taken twice, a release by a non-owner), which the ownership fields and the
// tests guard instead. clock_gettime on the monotonic and real-time clocks
// cannot fail.
#include "runtime/sync.h"

#include "runtime/sync_for_testing.h"

#include <errno.h>


#include "runtime/pool.h"
#include "runtime/trace.h"

namespace {

constexpr long kNanosecondsPerSecond = 1000000000L;
constexpr long kNanosecondsPerMillisecond = 1000000L;

std::uint64_t CurrentThread() { return static_cast<std::uint64_t>(pthread_self()); }

timespec Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

bool AtOrPast(const timespec& now, const timespec& deadline) {
  return now.tv_sec > deadline.tv_sec || (now.tv_sec == deadline.tv_sec && now.tv_nsec >= deadline.tv_nsec);
}

}  // namespace

timespec TvDeadlineAfter(clockid_t clock, std::int32_t timeoutMs) {
  timespec deadline = Now(clock);
  deadline.tv_sec += timeoutMs / 1000;
  deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * kNanosecondsPerMillisecond;
  if (deadline.tv_nsec >= kNanosecondsPerSecond) {
    deadline.tv_sec += 1;
    deadline.tv_nsec -= kNanosecondsPerSecond;
  }
  return deadline;
}

timespec TvTimeUntil(const timespec& deadline, const timespec& now, bool* expired) {
  if (AtOrPast(now, deadline)) {
    *expired = true;
    return timespec{0, 0};
  }
  *expired = false;
  timespec left{deadline.tv_sec - now.tv_sec, deadline.tv_nsec - now.tv_nsec};
  if (left.tv_nsec < 0) {
    left.tv_sec -= 1;
    left.tv_nsec += kNanosecondsPerSecond;
  }
  return left;
}

// ---------------------------------------------------------------------------
// SyncEvent

NTSTATUS InitializeSyncEvent(SyncEvent* event, bool manualReset, bool initialState) {
  pthread_mutex_init(&event->Mutex, nullptr);
  pthread_cond_init(&event->Condition, nullptr);
  event->ManualReset = manualReset ? 1 : 0;
  event->Signalled.store(initialState ? 1 : 0, std::memory_order_relaxed);
  return STATUS_SUCCESS;
}

// The condition is signalled while the mutex is still held. A waiter may delete
// the event as soon as its wait returns (the rundown wait block lives in the
// waiter's frame), so the setter must be done with the condition variable before
// the waiter can get the mutex back.
void SetSyncEvent(SyncEvent* event) {
  pthread_mutex_lock(&event->Mutex);
  event->Signalled.store(1, std::memory_order_relaxed);
  if (event->ManualReset != 0) {
    pthread_cond_broadcast(&event->Condition);
  } else {
    pthread_cond_signal(&event->Condition);
  }
  pthread_mutex_unlock(&event->Mutex);
}

void ResetSyncEvent(SyncEvent* event) {
  pthread_mutex_lock(&event->Mutex);
  event->Signalled.store(0, std::memory_order_relaxed);
  pthread_mutex_unlock(&event->Mutex);
}

bool ReadSyncEvent(SyncEvent* event) { return event->Signalled.load(std::memory_order_relaxed) != 0; }

NTSTATUS WaitSyncEvent(SyncEvent* event, std::int32_t timeoutMs) {
  if (timeoutMs < 0) {
    pthread_mutex_lock(&event->Mutex);
    while (event->Signalled.load(std::memory_order_relaxed) == 0) {
      pthread_cond_wait(&event->Condition, &event->Mutex);
    }
  } else {
    const timespec deadline = TvDeadlineAfter(CLOCK_REALTIME, timeoutMs);
    int rc = pthread_mutex_timedlock(&event->Mutex, &deadline);
    if (rc == ETIMEDOUT) {
      return STATUS_TIMEOUT;
    }
    if (rc != 0) {
      return STATUS_UNSUCCESSFUL;
    }
    while (event->Signalled.load(std::memory_order_relaxed) == 0) {
      rc = pthread_cond_timedwait(&event->Condition, &event->Mutex, &deadline);
      if (rc == ETIMEDOUT) {
        pthread_mutex_unlock(&event->Mutex);
        return STATUS_TIMEOUT;
      }
      if (rc != 0) {
        pthread_mutex_unlock(&event->Mutex);
        return STATUS_UNSUCCESSFUL;
      }
    }
  }
  if (event->ManualReset == 0) {
    event->Signalled.store(0, std::memory_order_relaxed);
  }
  pthread_mutex_unlock(&event->Mutex);
  return STATUS_SUCCESS;
}

void DeleteSyncEvent(SyncEvent* event) {
  pthread_cond_destroy(&event->Condition);
  pthread_mutex_destroy(&event->Mutex);
}

// ---------------------------------------------------------------------------
// RundownGuard

namespace {
constexpr std::uint64_t kRundownActive = 1;
constexpr std::uint64_t kRundownUnit = 2;
}  // namespace

constinit RundownTestHooks gRundownTestHooks{nullptr, nullptr};

void InitializeRundownGuard(RundownGuard* guard) { guard->Word.store(0); }

bool AcquireRundownGuard(RundownGuard* guard) {
  std::uint64_t value = guard->Word.load();
  while ((value & kRundownActive) == 0) {
    if (guard->Word.compare_exchange_weak(value, value + kRundownUnit)) {
      return true;
    }
  }
  return false;
}

void ReleaseRundownGuard(RundownGuard* guard) {
  std::uint64_t value = guard->Word.load();
  for (;;) {
    if ((value & kRundownActive) == 0) {
      if (guard->Word.compare_exchange_weak(value, value - kRundownUnit)) {
        return;
      }
      continue;  // lost a race; value holds what was found
    }
    // Running down: the word (less bit 0) is the waiter's block.
    auto* block = reinterpret_cast<RundownWaitBlock*>(static_cast<std::uintptr_t>(value & ~kRundownActive));
    std::uint64_t count = block->Count.load();
    while (!block->Count.compare_exchange_weak(count, count - kRundownUnit)) {
    }
    if (count == kRundownUnit) {
      // The last holder. The waiter may free the block once this returns.
      if (gRundownTestHooks.beforeLastSignal != nullptr) {
        gRundownTestHooks.beforeLastSignal();
      }
      SetSyncEvent(&block->Event);
    }
    return;
  }
}

void WaitForRundown(RundownGuard* guard) {
  std::uint64_t expected = 0;
  if (guard->Word.compare_exchange_strong(expected, kRundownActive)) {
    return;  // nobody held it; the word stays 1
  }
  RundownWaitBlock block;
  (void)InitializeSyncEvent(&block.Event, true, false);  // always STATUS_SUCCESS
  const std::uint64_t published = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&block)) | kRundownActive;
  // The holder count taken over by the swap decides whether to wait. It is not
  // read back from the block: a holder may already have brought that to 0 and
  // still be on its way to SetSyncEvent, which must find the block alive.
  std::uint64_t taken = 0;
  std::uint64_t value = guard->Word.load();
  while ((value & kRundownActive) == 0) {
    block.Count.store(value);
    if (guard->Word.compare_exchange_weak(value, published)) {
      if (gRundownTestHooks.afterPublish != nullptr) {
        gRundownTestHooks.afterPublish();
      }
      taken = value;  // what the swap replaced
      break;
    }
  }
  if (taken != 0) {
    (void)WaitSyncEvent(&block.Event, -1);  // without a deadline it returns only once set
  }
  DeleteSyncEvent(&block.Event);
}

// ---------------------------------------------------------------------------
// RecursiveLock

void InitializeRecursiveLockBlock(RecursiveLockBlock* block) {
  pthread_mutex_init(&block->Mutex, nullptr);
  block->Owner.store(0);
  block->Count = 0;
}

std::uint32_t AcquireRecursiveLockBlock(RecursiveLockBlock* block) {
  const std::uint64_t self = CurrentThread();
  if (block->Owner.load(std::memory_order_relaxed) == self && block->Count != 0) {
    return ++block->Count;
  }
  pthread_mutex_lock(&block->Mutex);
  block->Owner.exchange(self);
  return ++block->Count;
}

void ReleaseRecursiveLockBlock(RecursiveLockBlock* block) {
  if (block->Count-- == 1) {
    block->Owner.exchange(0);
    pthread_mutex_unlock(&block->Mutex);
  }
}

bool IsRecursiveLockBlockOwned(const RecursiveLockBlock* block) {
  return block->Owner.load(std::memory_order_relaxed) == CurrentThread() && block->Count != 0;
}

void DestroyRecursiveLockBlock(RecursiveLockBlock* block) { pthread_mutex_destroy(&block->Mutex); }
