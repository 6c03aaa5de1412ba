#include "runtime/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Long enough for a blocked thread to have made progress if it were (wrongly)
// able to; short enough to keep the suite fast.
constexpr auto kSettle = 100ms;

long ElapsedMs(Clock::time_point start) {
  return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// ---------------------------------------------------------------------------
// RundownGuard

TEST(RundownGuard, NoHoldersRunsDownAtOnceAndRefusesLaterHolders) {
  RundownGuard guard;
  InitializeRundownGuard(&guard);
  const auto start = Clock::now();
  WaitForRundown(&guard);
  EXPECT_LT(ElapsedMs(start), 50);
  EXPECT_EQ(guard.Word.load(), 1u);
  EXPECT_FALSE(AcquireRundownGuard(&guard));
  EXPECT_EQ(guard.Word.load(), 1u);  // a refused acquisition changes nothing

  InitializeRundownGuard(&guard);
  EXPECT_TRUE(AcquireRundownGuard(&guard));
  EXPECT_EQ(guard.Word.load(), 2u);
  ReleaseRundownGuard(&guard);
  EXPECT_EQ(guard.Word.load(), 0u);
}

TEST(RundownGuard, WaiterIsReleasedExactlyByTheLastHolder) {
  RundownGuard guard;
  InitializeRundownGuard(&guard);
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  ASSERT_TRUE(AcquireRundownGuard(&guard));
  EXPECT_EQ(guard.Word.load(), 4u);

  std::atomic<bool> done{false};
  std::thread waiter([&] {
    WaitForRundown(&guard);
    done = true;
  });
  // Wait until the waiter has published its block.
  while ((guard.Word.load() & 1u) == 0) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(AcquireRundownGuard(&guard));  // running down: new holders refused

  ReleaseRundownGuard(&guard);
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(done.load()) << "released before the last holder left";

  ReleaseRundownGuard(&guard);
  waiter.join();
  EXPECT_TRUE(done.load());
  EXPECT_NE(guard.Word.load() & 1u, 0u);
  EXPECT_FALSE(AcquireRundownGuard(&guard));
}

TEST(RundownGuard, NoHolderIsInsideOnceTheRundownReturns) {
  for (int round = 0; round < 20; ++round) {
    RundownGuard guard;
    InitializeRundownGuard(&guard);
    std::atomic<int> inside{0};
    std::atomic<bool> stop{false};
    std::atomic<int> entered{0};
    std::vector<std::thread> holders;
    for (int t = 0; t < 4; ++t) {
      holders.emplace_back([&] {
        while (!stop.load()) {
          RundownReference ref(&guard);
          if (!ref) {
            return;
          }
          inside.fetch_add(1);
          entered.fetch_add(1);
          std::this_thread::yield();
          inside.fetch_sub(1);
        }
      });
    }
    while (entered.load() < 8) {
      std::this_thread::yield();
    }
    WaitForRundown(&guard);
    EXPECT_EQ(inside.load(), 0) << "round " << round;
    stop = true;
    for (auto& h : holders) {
      h.join();
    }
  }
}

// ---------------------------------------------------------------------------
// RecursiveLock, OwnedMutex, RwLock

TEST(RecursiveLock, NestedCountsAndFreeOnlyAfterTheLastRelease) {
  RecursiveLock lock;
  PrepareRecursiveLock(&lock);
  EXPECT_EQ(lock.State, STATUS_NOT_INITIALIZED_SYNC);
  EXPECT_EQ(lock.Block, nullptr);
  ASSERT_EQ(InitializeRecursiveLock(&lock), STATUS_SUCCESS);
  EXPECT_FALSE(IsRecursiveLockOwned(&lock));

  EXPECT_EQ(AcquireRecursiveLock(&lock), 1u);
  EXPECT_EQ(AcquireRecursiveLock(&lock), 2u);
  EXPECT_EQ(AcquireRecursiveLock(&lock), 3u);
  EXPECT_TRUE(IsRecursiveLockOwned(&lock));

  std::atomic<bool> otherOwns{false};
  std::atomic<bool> otherSawOwned{true};
  std::atomic<bool> releaseOther{false};
  std::thread other([&] {
    otherSawOwned = IsRecursiveLockOwned(&lock);
    const std::uint32_t count = AcquireRecursiveLock(&lock);
    EXPECT_EQ(count, 1u);
    otherOwns = true;
    while (!releaseOther.load()) {
      std::this_thread::yield();
    }
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
  while (!otherOwns.load()) {
    std::this_thread::yield();
  }
  EXPECT_FALSE(otherSawOwned.load());
  EXPECT_FALSE(IsRecursiveLockOwned(&lock));  // owned, but not by this thread
  releaseOther = true;
  other.join();

  EXPECT_EQ(AcquireRecursiveLock(&lock), 1u);
  ReleaseRecursiveLock(&lock);
  DeleteRecursiveLock(&lock);
  EXPECT_EQ(lock.Block, nullptr);
  EXPECT_EQ(lock.State, STATUS_NOT_INITIALIZED_SYNC);
}

TEST(OwnedMutex, HeldOnlyByTheAcquiringThread) {
  OwnedMutex mutex;
  PrepareOwnedMutex(&mutex);
  ASSERT_EQ(InitializeOwnedMutex(&mutex), STATUS_SUCCESS);
  EXPECT_FALSE(IsOwnedMutexHeld(&mutex));
  AcquireOwnedMutex(&mutex);
  EXPECT_TRUE(IsOwnedMutexHeld(&mutex));
  bool heldElsewhere = true;
  std::thread([&] { heldElsewhere = IsOwnedMutexHeld(&mutex); }).join();
  EXPECT_FALSE(heldElsewhere);
  ReleaseOwnedMutex(&mutex);
  EXPECT_FALSE(IsOwnedMutexHeld(&mutex));
  DeleteOwnedMutex(&mutex);
  EXPECT_EQ(mutex.Block, nullptr);
}

TEST(RwLock, OwnerIsRecordedOnlyForExclusiveHolders) {
  RwLock lock;
  PrepareRwLock(&lock);
  EXPECT_EQ(lock.State, STATUS_NOT_INITIALIZED_SYNC);
  ASSERT_EQ(InitializeRwLock(&lock), STATUS_SUCCESS);

  AcquireRwLockShared(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  // A second reader gets in while the first holds it.
  bool secondReader = false;
  std::thread([&] {
    AcquireRwLockShared(&lock);
    secondReader = !IsRwLockOwnedExclusive(&lock);
    ReleaseRwLock(&lock);
  }).join();
  EXPECT_TRUE(secondReader);
  ReleaseRwLock(&lock);

  AcquireRwLockExclusive(&lock);
  EXPECT_TRUE(IsRwLockOwnedExclusive(&lock));
  std::atomic<bool> writerIn{false};
  std::thread writer([&] {
    EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
    AcquireRwLockExclusive(&lock);
    writerIn = true;
    EXPECT_TRUE(IsRwLockOwnedExclusive(&lock));
    ReleaseRwLock(&lock);
  });
  std::this_thread::sleep_for(kSettle);
  EXPECT_FALSE(writerIn.load());
  ReleaseRwLock(&lock);
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  writer.join();
  EXPECT_TRUE(writerIn.load());
  EXPECT_FALSE(IsRwLockOwnedExclusive(&lock));
  DeleteRwLock(&lock);
}

// ---------------------------------------------------------------------------
// SyncEvent

TEST(SyncEvent, AutoResetSetIsTakenByExactlyOneOfTwoWaiters) {
  SyncEvent event;
  ASSERT_EQ(InitializeSyncEvent(&event, false, false), STATUS_SUCCESS);
  std::atomic<int> successes{0};
  std::atomic<int> timeouts{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 2; ++i) {
    waiters.emplace_back([&] {
      const NTSTATUS status = WaitSyncEvent(&event, 600);
      if (status == STATUS_SUCCESS) {
        ++successes;
      } else if (status == STATUS_TIMEOUT) {
        ++timeouts;
      }
    });
  }
  std::this_thread::sleep_for(kSettle);
  SetSyncEvent(&event);
  for (auto& w : waiters) {
    w.join();
  }
  EXPECT_EQ(successes.load(), 1);
  EXPECT_EQ(timeouts.load(), 1);
  EXPECT_FALSE(ReadSyncEvent(&event));
  DeleteSyncEvent(&event);
}

TEST(SyncEvent, ManualResetReleasesAllWaitersAndStaysSet) {
  SyncEvent event;
  ASSERT_EQ(InitializeSyncEvent(&event, true, false), STATUS_SUCCESS);
  std::atomic<int> released{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 3; ++i) {
    waiters.emplace_back([&] {
      if (WaitSyncEvent(&event, -1) == STATUS_SUCCESS) {
        ++released;
      }
    });
  }
  std::this_thread::sleep_for(kSettle);
  EXPECT_EQ(released.load(), 0);
  SetSyncEvent(&event);
  for (auto& w : waiters) {
    w.join();
  }
  EXPECT_EQ(released.load(), 3);
  EXPECT_TRUE(ReadSyncEvent(&event));
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_SUCCESS);
  EXPECT_TRUE(ReadSyncEvent(&event));
  ResetSyncEvent(&event);
  EXPECT_FALSE(ReadSyncEvent(&event));
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_TIMEOUT);
  DeleteSyncEvent(&event);
}

TEST(SyncEvent, TimedWaits) {
  SyncEvent event;
  ASSERT_EQ(InitializeSyncEvent(&event, false, false), STATUS_SUCCESS);
  EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_TIMEOUT);

  auto start = Clock::now();
  EXPECT_EQ(WaitSyncEvent(&event, 80), STATUS_TIMEOUT);
  EXPECT_GE(ElapsedMs(start), 79);

  // Initially signalled auto-reset: one wait succeeds and resets it.
  SyncEvent set;
  ASSERT_EQ(InitializeSyncEvent(&set, false, true), STATUS_SUCCESS);
  EXPECT_TRUE(ReadSyncEvent(&set));
  EXPECT_EQ(WaitSyncEvent(&set, 0), STATUS_SUCCESS);
  EXPECT_FALSE(ReadSyncEvent(&set));
  EXPECT_EQ(WaitSyncEvent(&set, 0), STATUS_TIMEOUT);

  // A set during a timed wait ends it early.
  start = Clock::now();
  std::thread setter([&] {
    std::this_thread::sleep_for(50ms);
    SetSyncEvent(&event);
  });
  EXPECT_EQ(WaitSyncEvent(&event, 5000), STATUS_SUCCESS);
  EXPECT_LT(ElapsedMs(start), 4000);
  setter.join();

  // The mutex itself held past the deadline: the timed lock gives up.
  pthread_mutex_lock(&event.Mutex);
  std::atomic<NTSTATUS> blocked{STATUS_SUCCESS};
  std::thread([&] { blocked = WaitSyncEvent(&event, 50); }).join();
  pthread_mutex_unlock(&event.Mutex);
  EXPECT_EQ(blocked.load(), STATUS_TIMEOUT);

  DeleteSyncEvent(&event);
  DeleteSyncEvent(&set);
}

// ---------------------------------------------------------------------------
// TvEvent

class TvEvents {
 public:
  TvEvents(std::size_t n, std::uint32_t type) : events_(n) {
    for (auto& e : events_) {
      EXPECT_EQ(TvInitializeEventEx(&e, type, 0), STATUS_SUCCESS);
      pointers_.push_back(&e);
    }
  }
  ~TvEvents() {
    for (auto& e : events_) {
      TvCloseEvent(&e);
    }
  }
  TvEvent& operator[](std::size_t i) { return events_[i]; }
  TvEvent* const* data() const { return pointers_.data(); }
  std::uint32_t size() const { return static_cast<std::uint32_t>(events_.size()); }

 private:
  std::vector<TvEvent> events_;
  std::vector<TvEvent*> pointers_;
};

TEST(TvEvent, InitialStateUsesTheLowEightBitsAndCloseClearsTheDescriptor) {
  struct Case {
    std::uint32_t initial;
    bool signalled;
  };
  constexpr Case cases[] = {{0, false}, {1, true}, {0x100, false}, {0x1FF, true}};
  for (const Case& c : cases) {
    TvEvent event;
    ASSERT_EQ(TvInitializeEventEx(&event, TV_NOTIFICATION_EVENT, c.initial), STATUS_SUCCESS);
    EXPECT_GE(event.Descriptor, 0);
    EXPECT_EQ(TvReadEvent(&event), c.signalled) << "initial state " << c.initial;
    TvCloseEvent(&event);
    EXPECT_EQ(event.Descriptor, -1);
  }
}

TEST(TvEvent, NotificationStaysSetUntilReset) {
  TvEvents events(1, TV_NOTIFICATION_EVENT);
  EXPECT_EQ(events[0].Notification, 1);
  EXPECT_FALSE(TvReadEvent(&events[0]));
  EXPECT_EQ(TvWaitForEvent(&events[0], 0), STATUS_TIMEOUT);
  TvSetEvent(&events[0]);
  TvSetEvent(&events[0]);  // already full: harmless
  EXPECT_EQ(TvWaitForEvent(&events[0], 0), 0);
  EXPECT_EQ(TvWaitForEvent(&events[0], -1), 0);
  EXPECT_TRUE(TvReadEvent(&events[0]));
  TvResetEvent(&events[0]);
  EXPECT_FALSE(TvReadEvent(&events[0]));
  TvResetEvent(&events[0]);  // already empty: harmless
  EXPECT_FALSE(TvReadEvent(&events[0]));
}

TEST(TvEvent, SynchronizationEventIsConsumedByTheWait) {
  TvEvents events(1, TV_SYNCHRONIZATION_EVENT);
  EXPECT_EQ(events[0].Notification, 0);
  TvSetEvent(&events[0]);
  TvSetEvent(&events[0]);
  EXPECT_TRUE(TvReadEvent(&events[0]));
  EXPECT_EQ(TvWaitForEvent(&events[0], 0), 0);
  EXPECT_FALSE(TvReadEvent(&events[0]));
  EXPECT_EQ(TvWaitForEvent(&events[0], 0), STATUS_TIMEOUT);
}

TEST(TvEvent, MultipleWaitReportsTheLowestSignalledIndex) {
  for (std::uint32_t type : {TV_NOTIFICATION_EVENT, TV_SYNCHRONIZATION_EVENT}) {
    TvEvents events(6, type);
    TvSetEvent(&events[5]);
    TvSetEvent(&events[2]);
    EXPECT_EQ(TvWaitForMultipleEvents(events.data(), events.size(), 0), 2) << "type " << type;
    const bool stays = type == TV_NOTIFICATION_EVENT;
    // Every ready synchronization event was consumed, not only the one reported.
    EXPECT_EQ(TvReadEvent(&events[2]), stays);
    EXPECT_EQ(TvReadEvent(&events[5]), stays);
    EXPECT_EQ(TvWaitForMultipleEvents(events.data(), events.size(), 0), stays ? 2 : STATUS_TIMEOUT);
  }
}

TEST(TvEvent, MultipleWaitWakesOnALaterSet) {
  TvEvents events(3, TV_SYNCHRONIZATION_EVENT);
  std::thread setter([&] {
    std::this_thread::sleep_for(50ms);
    TvSetEvent(&events[1]);
  });
  const auto start = Clock::now();
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), events.size(), 5000), 1);
  EXPECT_LT(ElapsedMs(start), 4000);
  setter.join();
}

TEST(TvEvent, CountBounds) {
  TvEvents events(kTvMaxWaitEvents + 1, TV_NOTIFICATION_EVENT);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 0, 0), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), kTvMaxWaitEvents + 1, 0), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(TvWaitForMultipleEvents(nullptr, 1, 0), STATUS_INVALID_PARAMETER);
  TvSetEvent(&events[kTvMaxWaitEvents - 1]);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), kTvMaxWaitEvents, 0),
            static_cast<NTSTATUS>(kTvMaxWaitEvents - 1));
}

TEST(TvEvent, TimeoutsZeroAndShort) {
  TvEvents events(2, TV_SYNCHRONIZATION_EVENT);
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 2, 0), STATUS_TIMEOUT);
  const auto start = Clock::now();
  EXPECT_EQ(TvWaitForMultipleEvents(events.data(), 2, 80), STATUS_TIMEOUT);
  EXPECT_GE(ElapsedMs(start), 79);
}

TEST(TvEvent, SynchronizationSetReleasesExactlyOneOfTwoWaiters) {
  TvEvents events(1, TV_SYNCHRONIZATION_EVENT);
  std::atomic<int> released{0};
  std::atomic<int> timedOut{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 2; ++i) {
    waiters.emplace_back([&] {
      const NTSTATUS status = TvWaitForEvent(&events[0], 600);
      if (status == 0) {
        ++released;
      } else if (status == STATUS_TIMEOUT) {
        ++timedOut;
      }
    });
  }
  std::this_thread::sleep_for(kSettle);
  TvSetEvent(&events[0]);
  for (auto& w : waiters) {
    w.join();
  }
  EXPECT_EQ(released.load(), 1);
  EXPECT_EQ(timedOut.load(), 1);
  EXPECT_FALSE(TvReadEvent(&events[0]));
}

// ---------------------------------------------------------------------------
// Time helpers

TEST(SyncTime, TimeUntilBorrowsAndDetectsExpiry) {
  struct Case {
    timespec deadline;
    timespec now;
    bool expired;
    timespec left;
  };
  const Case cases[] = {
      {{10, 100}, {9, 900000000}, false, {0, 100000100}},
      {{10, 500}, {10, 100}, false, {0, 400}},
      {{10, 500}, {10, 500}, true, {0, 0}},
      {{10, 500}, {11, 0}, true, {0, 0}},
      {{12, 0}, {10, 999999999}, false, {1, 1}},
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
  for (std::int32_t ms : {0, 1, 999, 1000, 1999, 2500}) {
    timespec before{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    const timespec deadline = TvDeadlineAfter(CLOCK_MONOTONIC, ms);
    EXPECT_GE(deadline.tv_nsec, 0);
    EXPECT_LT(deadline.tv_nsec, 1000000000L);
    const long long deltaNs = (static_cast<long long>(deadline.tv_sec) - before.tv_sec) * 1000000000LL +
                              (deadline.tv_nsec - before.tv_nsec);
    EXPECT_GE(deltaNs, static_cast<long long>(ms) * 1000000LL) << ms;
    EXPECT_LT(deltaNs, static_cast<long long>(ms) * 1000000LL + 50000000LL) << ms;
  }
}

}  // namespace
