// Locks, events and the rundown guard. Every ordering is made explicit (the
// rundown's test hooks, a try-lock from another thread, a wait that cannot
// return before a set): no test sleeps or measures elapsed time, and no
// outcome depends on the machine's speed. A waiter that blocks for ever is
// caught by the test's time-out.
#include "runtime/sync.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "runtime/sync_extra.h"
#include "runtime/sync_for_testing.h"

namespace {

// Long enough that a wait never ends by its time-out while the test is still
// setting up the event it waits for.
constexpr std::int32_t kNoTimeout = 60'000;

// Whether another thread can take `mutex` right now.
bool FreeForAnotherThread(pthread_mutex_t* mutex) {
  bool taken = false;
  std::thread([&] {
    taken = pthread_mutex_trylock(mutex) == 0;
    if (taken) pthread_mutex_unlock(mutex);
  }).join();
  return taken;
}

// The last holder leaves between the waiter's publish and its wait, and is held
// inside its release just before the signal. The waiter must not return (and
// drop its wait block) before that signal: the holder's hook gives a waiter
// that wrongly skips the wait the chance to return, and checks that it did not.
// (The chance is a bounded wait, which a correct waiter always outlasts.)
TEST(RundownGuard, WaiterOutlivesTheLastHoldersSignal) {
  static RundownGuard guard;
  static std::mutex mutex;
  static std::condition_variable changed;
  static int stage = 0;  // 1 published, 2 holder inside its release, 3 waiter returned
  static bool waiterReturnedBeforeSignal = false;
  const auto advance = [](int to) {
    std::lock_guard lock(mutex);
    stage = to;
    changed.notify_all();
  };
  static void (*const advanceTo)(int) = +advance;
  InitializeRundownGuard(&guard);
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  gRundownTestHooks.afterPublish = [] {
    advanceTo(1);
    std::unique_lock lock(mutex);
    changed.wait(lock, [] { return stage >= 2; });
  };
  gRundownTestHooks.beforeLastSignal = [] {
    advanceTo(2);
    std::unique_lock lock(mutex);
    waiterReturnedBeforeSignal = changed.wait_for(lock, std::chrono::milliseconds(100), [] { return stage == 3; });
  };
  std::thread holder([] {
    {
      std::unique_lock lock(mutex);
      changed.wait(lock, [] { return stage >= 1; });
    }
    ReleaseRundownGuard(&guard);
  });
  WaitForRundown(&guard);
  advanceTo(3);
  holder.join();
  gRundownTestHooks = {nullptr, nullptr};
  EXPECT_FALSE(waiterReturnedBeforeSignal);
}

// A waiter with a holder left publishes its wait block and waits; it does not
// return first (the hook fires only on the way to the wait).
TEST(RundownGuard, WaitsWhileAHolderIsLeft) {
  static RundownGuard guard;
  static std::atomic<bool> published{false};
  InitializeRundownGuard(&guard);
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  gRundownTestHooks.afterPublish = [] { published = true; };
  std::atomic<bool> returned{false};
  std::thread waiter([&] { WaitForRundown(&guard), returned = true; });
  while (!published && !returned) std::this_thread::yield();
  EXPECT_FALSE(returned);
  EXPECT_FALSE(AcquireRundownGuard(&guard));  // rundown has begun
  ReleaseRundownGuard(&guard);
  waiter.join();
  gRundownTestHooks = {nullptr, nullptr};
}

TEST(RecursiveLock, FreeForOtherThreadsOnlyAfterTheLastRelease) {
  RecursiveLock lock;
  PrepareRecursiveLock(&lock);
  ASSERT_EQ(InitializeRecursiveLock(&lock), STATUS_SUCCESS);
  for (std::uint32_t depth = 1; depth <= 3; ++depth) {
    EXPECT_EQ(AcquireRecursiveLock(&lock), depth);
  }
  for (int release = 1; release <= 2; ++release) {
    ReleaseRecursiveLock(&lock);
    EXPECT_TRUE(IsRecursiveLockOwned(&lock));
    EXPECT_FALSE(FreeForAnotherThread(&lock.Block->Mutex)) << "free after release " << release << " of 3";
  }
  ReleaseRecursiveLock(&lock);
  EXPECT_FALSE(IsRecursiveLockOwned(&lock));
  EXPECT_TRUE(FreeForAnotherThread(&lock.Block->Mutex));
  std::thread([&] {
    EXPECT_EQ(AcquireRecursiveLock(&lock), 1u);
    ReleaseRecursiveLock(&lock);
  }).join();
  DeleteRecursiveLock(&lock);
}

// An RwLock records its owner only while held exclusively, and only that
// thread sees it.
TEST(RwLock, OwnershipIsSeenOnlyByTheExclusiveHolder) {
  RwLock lock;
  PrepareRwLock(&lock);
  ASSERT_EQ(InitializeRwLock(&lock), STATUS_SUCCESS);
  AcquireRwLockShared(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  ReleaseRwLock(&lock);
  AcquireRwLockExclusive(&lock);
  EXPECT_TRUE(IsRwLockOwnedExclusive(&lock));
  std::thread([&] { EXPECT_FALSE(IsRwLockOwnedExclusive(&lock)); }).join();
  ReleaseRwLock(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  DeleteRwLock(&lock);
}

// A set releases a waiter blocked before it; an auto-reset event is then
// taken by that one waiter, a manual-reset event by every wait until reset.
TEST(SyncEvent, AutoResetIsTakenByOneWaiterManualResetByAll) {
  for (bool manual : {false, true}) {
    SCOPED_TRACE(manual ? "manual reset" : "auto reset");
    SyncEvent event;
    ASSERT_EQ(InitializeSyncEvent(&event, manual, false), STATUS_SUCCESS);
    EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_TIMEOUT);
    std::atomic<bool> setCalled{false};
    std::thread waiter([&] {
      EXPECT_EQ(WaitSyncEvent(&event, kNoTimeout), STATUS_SUCCESS);
      EXPECT_TRUE(setCalled.load()) << "returned before the set";
    });
    setCalled = true;
    SetSyncEvent(&event);
    waiter.join();
    EXPECT_EQ(ReadSyncEvent(&event), manual);
    SetSyncEvent(&event);
    EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_SUCCESS);
    EXPECT_EQ(WaitSyncEvent(&event, 0), manual ? STATUS_SUCCESS : STATUS_TIMEOUT);
    ResetSyncEvent(&event);
    EXPECT_EQ(WaitSyncEvent(&event, 10), STATUS_TIMEOUT);
    DeleteSyncEvent(&event);
  }
}

struct TvEvents {
  TvEvents(std::size_t n, std::uint32_t type) : events(n), ptrs(n) {
    for (std::size_t i = 0; i < n; ++i) {
      EXPECT_EQ(TvInitializeEventEx(&events[i], type, 0), STATUS_SUCCESS);
      ptrs[i] = &events[i];
    }
  }
  ~TvEvents() { for (auto& e : events) TvCloseEvent(&e); }
  std::vector<TvEvent> events;
  std::vector<TvEvent*> ptrs;
};

// Six events, 2 and 5 set: the lowest index comes back; a notification event
// stays set until reset, every ready synchronization event is consumed.
TEST(TvEvent, WaitsReportTheLowestSignalledIndexAndConsumeSynchronizationEvents) {
  for (std::uint32_t type : {TV_NOTIFICATION_EVENT, TV_SYNCHRONIZATION_EVENT}) {
    SCOPED_TRACE(type);
    TvEvents events(6, type);
    TvSetEvent(events.ptrs[5]);
    TvSetEvent(events.ptrs[2]);
    EXPECT_EQ(TvWaitForMultipleEvents(events.ptrs.data(), 6, 0), 2);
    const bool stays = type == TV_NOTIFICATION_EVENT;
    EXPECT_EQ(TvReadEvent(events.ptrs[5]), stays);
    EXPECT_EQ(TvWaitForMultipleEvents(events.ptrs.data(), 6, 0), stays ? 2 : STATUS_TIMEOUT);
    TvResetEvent(events.ptrs[2]);
    EXPECT_EQ(TvWaitForEvent(events.ptrs[2], 0), STATUS_TIMEOUT);
  }
}

// Deadline arithmetic behind every timed wait: the nanosecond borrow and expiry.
TEST(SyncTime, TimeUntilBorrowsAndDetectsExpiry) {
  struct Case { timespec deadline, now; bool expired; timespec left; };
  const Case cases[] = {
      {{10, 100}, {9, 900000000}, false, {0, 100000100}},
      {{12, 0}, {10, 999999999}, false, {1, 1}},
      {{10, 500}, {10, 500}, true, {0, 0}},
      {{10, 500}, {11, 0}, true, {0, 0}},
  };
  for (const Case& c : cases) {
    bool expired = !c.expired;
    const timespec left = TvTimeUntil(c.deadline, c.now, &expired);
    EXPECT_EQ(expired, c.expired);
    EXPECT_EQ(std::make_pair(left.tv_sec, left.tv_nsec), std::make_pair(c.left.tv_sec, c.left.tv_nsec));
  }
}

}  // namespace
