// The synchronisation objects of runtime/sync_extra.h. The results of pthread
// calls on these default-attribute mutexes and reader-writer locks are not
// checked: on a live object they fail only on a caller's error, which the
// ownership fields and the tests guard instead.
#include "runtime/sync_extra.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <utility>

#include "runtime/fd.h"
#include "runtime/pool.h"
#include "runtime/trace.h"

namespace {

std::uint64_t CurrentThread() { return static_cast<std::uint64_t>(pthread_self()); }

}  // namespace

void PrepareRecursiveLock(RecursiveLock* lock) {
  lock->State = STATUS_NOT_INITIALIZED_SYNC;
  lock->Block = nullptr;
}

NTSTATUS InitializeRecursiveLock(RecursiveLock* lock) {
  void* memory = TvAllocatePoolWithTag(sizeof(RecursiveLockBlock), kTagRecursiveLock);
  if (memory == nullptr) {
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  std::memset(memory, 0, sizeof(RecursiveLockBlock));
  auto* block = new (memory) RecursiveLockBlock{};
  InitializeRecursiveLockBlock(block);
  lock->Block = block;
  lock->State = STATUS_SUCCESS;
  return STATUS_SUCCESS;
}

std::uint32_t AcquireRecursiveLock(RecursiveLock* lock) { return AcquireRecursiveLockBlock(lock->Block); }
void ReleaseRecursiveLock(RecursiveLock* lock) { ReleaseRecursiveLockBlock(lock->Block); }
bool IsRecursiveLockOwned(const RecursiveLock* lock) {
  return lock->Block != nullptr && IsRecursiveLockBlockOwned(lock->Block);
}

void DeleteRecursiveLock(RecursiveLock* lock) {
  if (lock->Block != nullptr) {
    if (NT_SUCCESS(lock->State)) {
      DestroyRecursiveLockBlock(lock->Block);
    }
    lock->Block->~RecursiveLockBlock();
    TvFreePoolWithTag(lock->Block, kTagRecursiveLock);
  }
  PrepareRecursiveLock(lock);
}

// ---------------------------------------------------------------------------
// OwnedMutex

void PrepareOwnedMutex(OwnedMutex* mutex) {
  mutex->State = STATUS_NOT_INITIALIZED_SYNC;
  mutex->Block = nullptr;
}

NTSTATUS InitializeOwnedMutex(OwnedMutex* mutex) {
  void* memory = TvAllocatePoolWithTag(sizeof(OwnedMutexBlock), kTagOwnedMutex);
  if (memory == nullptr) {
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  std::memset(memory, 0, sizeof(OwnedMutexBlock));
  auto* block = new (memory) OwnedMutexBlock{};
  pthread_mutex_init(&block->Mutex, nullptr);
  block->Owner.store(0);
  mutex->Block = block;
  mutex->State = STATUS_SUCCESS;
  return STATUS_SUCCESS;
}

void AcquireOwnedMutex(OwnedMutex* mutex) {
  pthread_mutex_lock(&mutex->Block->Mutex);
  mutex->Block->Owner.exchange(CurrentThread());
}

void ReleaseOwnedMutex(OwnedMutex* mutex) {
  mutex->Block->Owner.exchange(0);
  pthread_mutex_unlock(&mutex->Block->Mutex);
}

bool IsOwnedMutexHeld(const OwnedMutex* mutex) {
  return mutex->Block != nullptr && mutex->Block->Owner.load(std::memory_order_relaxed) == CurrentThread();
}

void DeleteOwnedMutex(OwnedMutex* mutex) {
  if (mutex->Block != nullptr) {
    if (NT_SUCCESS(mutex->State)) {
      pthread_mutex_destroy(&mutex->Block->Mutex);
    }
    mutex->Block->~OwnedMutexBlock();
    TvFreePoolWithTag(mutex->Block, kTagOwnedMutex);
  }
  PrepareOwnedMutex(mutex);
}

// ---------------------------------------------------------------------------
// RwLock

void PrepareRwLock(RwLock* lock) {
  lock->State = STATUS_NOT_INITIALIZED_SYNC;
  std::memset(static_cast<void*>(&lock->Lock), 0, sizeof(lock->Lock));
  lock->Owner.store(0);
}

NTSTATUS InitializeRwLock(RwLock* lock) {
  pthread_rwlock_init(&lock->Lock, nullptr);
  lock->Owner.store(0);
  lock->State = STATUS_SUCCESS;
  return STATUS_SUCCESS;
}

void AcquireRwLockExclusive(RwLock* lock) {
  pthread_rwlock_wrlock(&lock->Lock);
  lock->Owner.exchange(CurrentThread());
}

void AcquireRwLockShared(RwLock* lock) { pthread_rwlock_rdlock(&lock->Lock); }

void ReleaseRwLock(RwLock* lock) {
  if (lock->Owner.load(std::memory_order_relaxed) != 0) {
    lock->Owner.exchange(0);
  }
  pthread_rwlock_unlock(&lock->Lock);
}

bool IsRwLockOwnedExclusive(const RwLock* lock) {
  return lock->Owner.load(std::memory_order_relaxed) == CurrentThread();
}

void DeleteRwLock(RwLock* lock) {
  if (NT_SUCCESS(lock->State)) {
    pthread_rwlock_destroy(&lock->Lock);
  }
  lock->State = STATUS_NOT_INITIALIZED_SYNC;
}

// ---------------------------------------------------------------------------
// TvEvent

namespace {
// Fills the eventfd counter to its maximum: signalled until read.
constexpr std::uint64_t kEventFullCounter = 0xFFFFFFFFFFFFFFFEull;
// Requested alongside POLLIN on a synchronization event: the waiter must consume
// the counter before it may count the event as its own. The kernel ignores
// POLLHUP in the requested events, so it serves purely as a marker.
constexpr short kConsumeMarker = POLLHUP;

bool Consume(std::int32_t descriptor) {
  std::uint64_t value = 0;
  return read(descriptor, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value));
}
}  // namespace

NTSTATUS TvInitializeEventEx(TvEvent* event, std::uint32_t type, std::uint32_t initialState) {
  const int fd = eventfd(initialState & 0xFFu, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0) {
    const int error = errno;
    TraceError(TRACE_COMPONENT_CORE, "TvInitializeEventEx failed: %!ERRNO!", error);
    if (error == ENOMEM) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    if (error == ENFILE || error == EMFILE) {
      return STATUS_TOO_MANY_OPENED_FILES;
    }
    return STATUS_UNSUCCESSFUL;
  }
  event->Notification = type == TV_NOTIFICATION_EVENT ? 1 : 0;
  event->Descriptor = fd;
  return STATUS_SUCCESS;
}

void TvSetEvent(TvEvent* event) {
  const std::uint64_t value = kEventFullCounter;
  if (write(event->Descriptor, &value, sizeof(value)) < 0) {
    // EAGAIN: the counter is full, so the event is already set, which is what
    // was asked. A write to a live eventfd fails in no other way.
    return;
  }
}

// Reading a counter that is already 0 fails with EAGAIN: the event is reset either way.
void TvResetEvent(TvEvent* event) { (void)Consume(event->Descriptor); }

bool TvReadEvent(TvEvent* event) {
  pollfd entry{event->Descriptor, POLLIN, 0};
  const timespec zero{0, 0};
  sigset_t all;
  sigfillset(&all);
  int rc;
  do {
    rc = ppoll(&entry, 1, &zero, &all);
  } while (rc < 0 && errno == EINTR);
  return rc == 1;
}

NTSTATUS TvWaitForEvent(TvEvent* event, std::int32_t timeoutMs) {
  TvEvent* const events[1] = {event};
  return TvWaitForMultipleEvents(events, 1, timeoutMs);
}

NTSTATUS TvWaitForMultipleEvents(TvEvent* const* events, std::uint32_t count, std::int32_t timeoutMs) {
  if (events == nullptr || count == 0 || count > kTvMaxWaitEvents) {
    return STATUS_INVALID_PARAMETER;
  }
  pollfd entries[kTvMaxWaitEvents];
  for (std::uint32_t i = 0; i < count; ++i) {
    entries[i].fd = events[i]->Descriptor;
    entries[i].events = static_cast<short>(POLLIN | (events[i]->Notification != 0 ? 0 : kConsumeMarker));
    entries[i].revents = 0;
  }

  timespec relative{};
  timespec deadline{};
  const bool limited = timeoutMs >= 0;
  if (limited) {
    relative = timespec{timeoutMs / 1000, static_cast<long>(timeoutMs % 1000) * 1'000'000L};
    deadline = TvDeadlineAfter(CLOCK_MONOTONIC, timeoutMs);
  }
  sigset_t all;
  sigfillset(&all);

  for (;;) {
    const int rc = ppoll(entries, count, limited ? &relative : nullptr, &all);
    if (rc == 0) {
      return STATUS_TIMEOUT;
    }
    if (rc < 0) {
      const int error = errno;
      if (error != EINTR) {
        TraceError(TRACE_COMPONENT_CORE, "TvWaitForMultipleEvents ppoll failed: %!ERRNO!", error);
        return (error == ENOMEM || error == EINVAL) ? STATUS_INSUFFICIENT_RESOURCES : STATUS_UNSUCCESSFUL;
      }
    } else {
      std::int32_t lowest = -1;
      for (std::uint32_t i = 0; i < count; ++i) {
        if ((entries[i].revents & POLLIN) == 0) {
          continue;
        }
        // A failed read means another waiter took the signal first.
        if ((entries[i].events & kConsumeMarker) != 0 && !Consume(entries[i].fd)) {
          continue;
        }
        if (lowest < 0) {
          lowest = static_cast<std::int32_t>(i);
        }
      }
      if (lowest >= 0) {
        return lowest;
      }
    }
    if (limited) {
      bool expired = false;
      relative = TvTimeUntil(deadline, TvDeadlineAfter(CLOCK_MONOTONIC, 0), &expired);
      if (expired) {
        return STATUS_TIMEOUT;
      }
    }
  }
}

void TvCloseEvent(TvEvent* event) {
  UniqueFile(std::exchange(event->Descriptor, kInvalidFile)).reset();  // closes a descriptor >= 0
}
