#include "runtime/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
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
// many of them got STATUS_SUCCESS (0 for TvEvent) and how many STATUS_TIMEOUT.
// No wait may return before the set.
template <typename Wait, typename Set>
std::pair<int, int> TwoWaitersOneSet(Wait wait, Set set) {
  std::atomic<int> released{0};
  std::atomic<int> timedOut{0};
  std::atomic<bool> setCalled{false};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 2; ++i) {
    waiters.emplace_back([&] {
      const NTSTATUS status = wait();
      EXPECT_TRUE(setCalled.load()) << "returned before the set";
      if (status == STATUS_SUCCESS) {
        ++released;
      } else if (status == STATUS_TIMEOUT) {
        ++timedOut;
      }
    });
  }
  std::this_thread::sleep_for(kSettle);
  setCalled = true;
  set();
  for (auto& w : waiters) {
    w.join();
  }
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

TEST(RundownGuard, WaiterIsReleasedExactlyByTheLastHolder) {
  RundownGuard guard;
  InitializeRundownGuard(&guard);
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  std::atomic<bool> done{false};
  std::thread waiter([&] {
    WaitForRundown(&guard);
    done = true;
  });
  while ((guard.Word.load() & 1u) == 0) {  // until the waiter has published its block
    std::this_thread::yield();
  }
  EXPECT_FALSE(AcquireRundownGuard(&guard));
  ReleaseRundownGuard(&guard);
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(done.load()) << "released before the last holder left";
  ReleaseRundownGuard(&guard);
  waiter.join();
  EXPECT_FALSE(AcquireRundownGuard(&guard));
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
    EXPECT_TRUE(IsRecursiveLockOwned(&lock));
  }
  ReleaseRecursiveLock(&lock);
  EXPECT_FALSE(IsRecursiveLockOwned(&lock));
  other.join();
  EXPECT_TRUE(otherOwns.load());
  DeleteRecursiveLock(&lock);
  EXPECT_EQ(lock.Block, nullptr);
}

// The owner is recorded for the owning thread only, and for an RwLock only
// while it is held exclusively.
TEST(OwnedMutexAndRwLock, OwnershipIsSeenOnlyByTheExclusiveHolder) {
  OwnedMutex mutex;
  PrepareOwnedMutex(&mutex);
  ASSERT_EQ(InitializeOwnedMutex(&mutex), STATUS_SUCCESS);
  RwLock lock;
  PrepareRwLock(&lock);
  ASSERT_EQ(InitializeRwLock(&lock), STATUS_SUCCESS);

  AcquireRwLockShared(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  ReleaseRwLock(&lock);
  AcquireRwLockExclusive(&lock);
  AcquireOwnedMutex(&mutex);
  EXPECT_TRUE(IsRwLockOwnedExclusive(&lock));
  EXPECT_TRUE(IsOwnedMutexHeld(&mutex));
  std::thread([&] {
    EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
    EXPECT_FALSE(IsOwnedMutexHeld(&mutex));
  }).join();
  ReleaseOwnedMutex(&mutex);
  ReleaseRwLock(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  EXPECT_FALSE(IsOwnedMutexHeld(&mutex));
  DeleteRwLock(&lock);
  DeleteOwnedMutex(&mutex);
}

TEST(SyncEvent, AutoResetSetIsTakenByExactlyOneOfTwoWaiters) {
  SyncEvent event;
  ASSERT_EQ(InitializeSyncEvent(&event, false, false), STATUS_SUCCESS);
  const auto [released, timedOut] = TwoWaitersOneSet([&] { return WaitSyncEvent(&event, 600); },
                                                     [&] { SetSyncEvent(&event); });
  EXPECT_EQ(released, 1);
  EXPECT_EQ(timedOut, 1);
  EXPECT_FALSE(ReadSyncEvent(&event));
  DeleteSyncEvent(&event);

  // Initially set: one zero wait takes it and resets it.
  ASSERT_EQ(InitializeSyncEvent(&event, false, true), STATUS_SUCCESS);
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_SUCCESS);
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_TIMEOUT);
  DeleteSyncEvent(&event);
}

TEST(SyncEvent, ManualResetReleasesBothWaitersAndStaysSetUntilReset) {
  SyncEvent event;
  ASSERT_EQ(InitializeSyncEvent(&event, true, false), STATUS_SUCCESS);
  const auto [released, timedOut] = TwoWaitersOneSet([&] { return WaitSyncEvent(&event, -1); },
                                                     [&] { SetSyncEvent(&event); });
  EXPECT_EQ(released, 2);
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_SUCCESS);
  ResetSyncEvent(&event);
  const auto start = Clock::now();
  EXPECT_EQ(WaitSyncEvent(&event, 80), STATUS_TIMEOUT);
  EXPECT_GE(ElapsedMs(start), 79);

  // The mutex itself held past the deadline: the timed lock gives up.
  pthread_mutex_lock(&event.Mutex);
  std::atomic<NTSTATUS> blocked{STATUS_SUCCESS};
  std::thread([&] { blocked = WaitSyncEvent(&event, 50); }).join();
  pthread_mutex_unlock(&event.Mutex);
  EXPECT_EQ(blocked.load(), STATUS_TIMEOUT);
  DeleteSyncEvent(&event);
}

class TvEvents {
 public:
  TvEvents(std::size_t n, std::uint32_t type, std::uint32_t initial = 0) : events_(n) {
    for (auto& e : events_) {
      EXPECT_EQ(TvInitializeEventEx(&e, type, initial), STATUS_SUCCESS);
      pointers_.push_back(&e);
    }
  }
  ~TvEvents() {
    for (auto& e : events_) {
      TvCloseEvent(&e);
    }
  }
  TvEvent* operator[](std::size_t i) { return &events_[i]; }
  TvEvent* const* data() const { return pointers_.data(); }

 private:
  std::vector<TvEvent> events_;
  std::vector<TvEvent*> pointers_;
};

TEST(TvEvent, InitialStateUsesTheLowEightBits) {
  for (std::uint32_t initial : {0u, 1u, 0x100u, 0x1FFu}) {
    TvEvents event(1, TV_NOTIFICATION_EVENT, initial);
    EXPECT_EQ(TvReadEvent(event[0]), (initial & 0xFF) != 0) << initial;
  }
}

// Six events, 2 and 5 set: the lowest index comes back; a notification event
// stays set until reset, every ready synchronization event is consumed.
TEST(TvEvent, WaitsReportTheLowestSignalledIndexAndConsumeSynchronizationEvents) {
  for (std::uint32_t type : {TV_NOTIFICATION_EVENT, TV_SYNCHRONIZATION_EVENT}) {
    SCOPED_TRACE(type);
    TvEvents events(6, type);
    EXPECT_EQ(TvWaitForEvent(events[0], 0), STATUS_TIMEOUT);
    TvSetEvent(events[5]);
    TvSetEvent(events[2]);
    TvSetEvent(events[2]);
    EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 6, 0), 2);
    const bool stays = type == TV_NOTIFICATION_EVENT;
    EXPECT_EQ(TvReadEvent(events[2]), stays);
    EXPECT_EQ(TvReadEvent(events[5]), stays);
    EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 6, 0), stays ? 2 : STATUS_TIMEOUT);
    TvSetEvent(events[1]);
    EXPECT_EQ(TvWaitForEvent(events[1], -1), 0);
    EXPECT_EQ(TvReadEvent(events[1]), stays);
    TvResetEvent(events[1]);
    EXPECT_FALSE(TvReadEvent(events[1]));
  }
}

TEST(TvEvent, CountBoundsAndTimeout) {
  TvEvents events(kTvMaxWaitEvents + 1, TV_NOTIFICATION_EVENT);
  const auto start = Clock::now();
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), kTvMaxWaitEvents, 80), STATUS_TIMEOUT);
  EXPECT_GE(ElapsedMs(start), 79);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 0, 0), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), kTvMaxWaitEvents + 1, 0), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(TvWaitForMultipleEvents(nullptr, 1, 0), STATUS_INVALID_PARAMETER);
  TvSetEvent(events[kTvMaxWaitEvents - 1]);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), kTvMaxWaitEvents, 0),
            static_cast<NTSTATUS>(kTvMaxWaitEvents - 1));
}

TEST(TvEvent, SynchronizationSetReleasesExactlyOneOfTwoWaiters) {
  TvEvents events(1, TV_SYNCHRONIZATION_EVENT);
  const auto [released, timedOut] = TwoWaitersOneSet([&] { return TvWaitForEvent(events[0], 600); },
                                                     [&] { TvSetEvent(events[0]); });
  EXPECT_EQ(released, 1);
  EXPECT_EQ(timedOut, 1);
  EXPECT_FALSE(TvReadEvent(events[0]));
}

TEST(SyncTime, TimeUntilBorrowsAndDetectsExpiry) {
  struct Case {
    timespec deadline, now;
    bool expired;
    timespec left;
  };
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
    EXPECT_EQ(left.tv_sec, c.left.tv_sec);
    EXPECT_EQ(left.tv_nsec, c.left.tv_nsec);
  }
}

TEST(SyncTime, DeadlineIsNormalisedAndAhead) {
  for (std::int32_t ms : {0, 999, 1000, 2500}) {
    timespec before{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const timespec deadline = TvDeadlineAfter(CLOCK_MONOTONIC, ms);
    EXPECT_LT(deadline.tv_nsec, 1000000000L);
    const long long aheadNs = (static_cast<long long>(deadline.tv_sec) - before.tv_sec) * 1000000000LL +
                              (deadline.tv_nsec - before.tv_nsec);
    EXPECT_GE(aheadNs, ms * 1000000LL) << ms;
    EXPECT_LT(aheadNs, ms * 1000000LL + 50000000LL) << ms;
  }
}

}  // namespace
