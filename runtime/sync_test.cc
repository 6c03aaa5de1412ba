#include "runtime/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Long enough for a blocked thread to have made progress if it wrongly could.
constexpr auto kSettle = 100ms;

long ElapsedMs(Clock::time_point start) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// Runs `wait` on two threads, calls `set` once both are blocked, and returns how
// many got STATUS_SUCCESS (0 for TvEvent) and how many STATUS_TIMEOUT. No wait
// may return before the set.
template <typename Wait, typename Set>
std::pair<int, int> TwoWaitersOneSet(Wait wait, Set set) {
  std::atomic<int> released{0}, timedOut{0};
  std::atomic<bool> setCalled{false};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 2; ++i) {
    waiters.emplace_back([&] {
      const NTSTATUS status = wait();
      EXPECT_TRUE(setCalled.load()) << "returned before the set";
      ++(status == STATUS_SUCCESS ? released : timedOut);
      EXPECT_TRUE(status == STATUS_SUCCESS || status == STATUS_TIMEOUT) << status;
    });
  }
  std::this_thread::sleep_for(kSettle);
  setCalled = true;
  set();
  for (auto& w : waiters) w.join();
  return {released.load(), timedOut.load()};
}

TEST(RundownGuard, NoHoldersRunsDownAtOnceAndRefusesLaterHolders) {
  RundownGuard guard;
  InitializeRundownGuard(&guard);
  const auto start = Clock::now();
  WaitForRundown(&guard);
  EXPECT_LT(ElapsedMs(start), 50);
  EXPECT_FALSE(AcquireRundownGuard(&guard));
  EXPECT_EQ(guard.Word.load(), 1u);  // a refused acquisition changes nothing
}

// The last holder leaves between the waiter's publish and its wait, and is held
// inside its release just before the signal. The waiter must not return (and
// drop its wait block) before that signal: the holder's hook gives a waiter
// that wrongly skips the wait the chance to return, and checks that it did not.
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
    waiterReturnedBeforeSignal = changed.wait_for(lock, kSettle, [] { return stage == 3; });
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

TEST(RundownGuard, WaiterIsReleasedExactlyByTheLastHolder) {
  RundownGuard guard;
  InitializeRundownGuard(&guard);
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  std::atomic<bool> done{false};
  std::thread waiter([&] { WaitForRundown(&guard); done = true; });
  while ((guard.Word.load() & 1u) == 0) std::this_thread::yield();  // until the waiter has published its block
  EXPECT_FALSE(AcquireRundownGuard(&guard));
  ReleaseRundownGuard(&guard);
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(done.load()) << "released before the last holder left";
  ReleaseRundownGuard(&guard);
  waiter.join();
}

TEST(RecursiveLock, FreeForOtherThreadsOnlyAfterTheLastRelease) {
  RecursiveLock lock;
  PrepareRecursiveLock(&lock);
  ASSERT_EQ(InitializeRecursiveLock(&lock), STATUS_SUCCESS);
  for (std::uint32_t depth = 1; depth <= 3; ++depth) {
    EXPECT_EQ(AcquireRecursiveLock(&lock), depth);
  }
  std::atomic<bool> otherOwns{false};
  std::thread other([&] {
    EXPECT_FALSE(IsRecursiveLockOwned(&lock));
    EXPECT_EQ(AcquireRecursiveLock(&lock), 1u);
    otherOwns = true;
    ReleaseRecursiveLock(&lock);
  });
  for (int release = 1; release <= 2; ++release) {
    ReleaseRecursiveLock(&lock);
    std::this_thread::sleep_for(kSettle);
    EXPECT_FALSE(otherOwns.load()) << "free after release " << release << " of 3";
  }
  ReleaseRecursiveLock(&lock);
  EXPECT_FALSE(IsRecursiveLockOwned(&lock));
  other.join();
  EXPECT_TRUE(otherOwns.load());
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

TEST(SyncEvent, AutoResetIsTakenByOneWaiterManualResetByBoth) {
  for (bool manual : {false, true}) {
    SCOPED_TRACE(manual ? "manual reset" : "auto reset");
    SyncEvent event;
    ASSERT_EQ(InitializeSyncEvent(&event, manual, false), STATUS_SUCCESS);
    const auto [released, timedOut] = TwoWaitersOneSet([&] { return WaitSyncEvent(&event, 600); },
                                                       [&] { SetSyncEvent(&event); });
    EXPECT_EQ(released, manual ? 2 : 1);
    EXPECT_EQ(timedOut, manual ? 0 : 1);
    EXPECT_EQ(ReadSyncEvent(&event), manual);
    ResetSyncEvent(&event);
    const auto start = Clock::now();
    EXPECT_EQ(WaitSyncEvent(&event, 80), STATUS_TIMEOUT);
    EXPECT_GE(ElapsedMs(start), 79);
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

TEST(TvEvent, CountBoundsAndTimeout) {
  TvEvents events(kTvMaxWaitEvents + 1, TV_NOTIFICATION_EVENT);
  const auto start = Clock::now();
  EXPECT_EQ(TvWaitForMultipleEvents(events.ptrs.data(), kTvMaxWaitEvents, 80), STATUS_TIMEOUT);
  EXPECT_GE(ElapsedMs(start), 79);
  EXPECT_EQ(TvWaitForMultipleEvents(events.ptrs.data(), 0, 0), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(TvWaitForMultipleEvents(events.ptrs.data(), kTvMaxWaitEvents + 1, 0), STATUS_INVALID_PARAMETER);
}

TEST(TvEvent, SynchronizationSetReleasesExactlyOneOfTwoWaiters) {
  TvEvents events(1, TV_SYNCHRONIZATION_EVENT);
  const auto [released, timedOut] = TwoWaitersOneSet([&] { return TvWaitForEvent(events.ptrs[0], 600); },
                                                     [&] { TvSetEvent(events.ptrs[0]); });
  EXPECT_EQ(released, 1);
  EXPECT_EQ(timedOut, 1);
  EXPECT_FALSE(TvReadEvent(events.ptrs[0]));
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
