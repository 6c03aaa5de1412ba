// Events and the rundown guard across threads (what one thread can see of
// them is in tests/cases/runtime_sync.t). The rundown's orderings are made
// explicit by its test hooks; the events' test sleeps only to give its waiters
// time to block, and passes (less sharply) when they have not. No test measures
// elapsed time. A waiter that blocks for ever is caught by the test's time-out.
#include "runtime/sync.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "runtime/sync_for_testing.h"

namespace {

// Long enough that a wait never ends by its time-out while the test is still
// setting up the event it waits for.
constexpr std::int32_t kNoTimeout = 60'000;

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
  static void (*const advanceTo)(int) = [](int to) {
    std::lock_guard lock(mutex);
    stage = to;
    changed.notify_all();
  };
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
    std::unique_lock lock(mutex);
    changed.wait(lock, [] { return stage >= 1; });
    lock.unlock();
    ReleaseRundownGuard(&guard);
  });
  WaitForRundown(&guard);
  advanceTo(3);
  holder.join();
  gRundownTestHooks = {nullptr, nullptr};
  EXPECT_FALSE(waiterReturnedBeforeSignal);
}

// A waiter with a holder left publishes its wait block and waits; it does not
// return first (the hook fires only on the way to the wait). A later wait does
// not wait at all.
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
  WaitForRundown(&guard);  // run down already: returns at once
  gRundownTestHooks = {nullptr, nullptr};
}

// A set releases the waiters blocked before it: an auto-reset event one per
// set, a manual-reset event all of them and every wait until reset.
TEST(SyncEvent, AutoResetIsTakenByOneWaiterManualResetByAll) {
  for (bool manual : {false, true}) {
    SCOPED_TRACE(manual ? "manual reset" : "auto reset");
    SyncEvent event;
    // Not signalled: no waiter may return before a set.
    ASSERT_EQ(InitializeSyncEvent(&event, manual, false), STATUS_SUCCESS);
    std::atomic<int> sets{0}, returned{0};
    const auto wait = [&] {
      EXPECT_EQ(WaitSyncEvent(&event, kNoTimeout), STATUS_SUCCESS);
      EXPECT_GT(sets.load(), manual ? 0 : returned.fetch_add(1)) << "returned without a set of its own";
    };
    std::thread first(wait), second(wait);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // most likely both blocked by now
    ++sets, SetSyncEvent(&event);
    while (!manual && returned == 0) std::this_thread::yield();
    if (!manual) ++sets, SetSyncEvent(&event);  // the other waiter's own set
    first.join(), second.join();
    EXPECT_EQ(ReadSyncEvent(&event), manual);
    SetSyncEvent(&event);
    EXPECT_EQ(WaitSyncEvent(&event, 0), STATUS_SUCCESS);
    EXPECT_EQ(WaitSyncEvent(&event, 0), manual ? STATUS_SUCCESS : STATUS_TIMEOUT);
    ResetSyncEvent(&event);
    EXPECT_EQ(WaitSyncEvent(&event, 10), STATUS_TIMEOUT);
    SetSyncEvent(&event), DeleteSyncEvent(&event);  // a reset leaves the event free to be set again
  }
}

// Deadline arithmetic behind every timed wait: the nanosecond borrow (none for whole seconds) and expiry.
TEST(SyncTime, TimeUntilBorrowsAndDetectsExpiry) {
  struct Case { timespec deadline, now; bool expired; timespec left; };
  const Case cases[] = {
      {{12, 500}, {10, 500}, false, {2, 0}}, {{12, 0}, {10, 999999999}, false, {1, 1}},
      {{10, 500}, {10, 500}, true, {0, 0}}, {{10, 500}, {10, 499}, false, {0, 1}}, {{10, 500}, {11, 0}, true, {0, 0}},
  };
  for (const Case& c : cases) {
    bool expired = !c.expired;
    const timespec left = TvTimeUntil(c.deadline, c.now, &expired);
    EXPECT_EQ(expired, c.expired);
    EXPECT_EQ(std::make_pair(left.tv_sec, left.tv_nsec), std::make_pair(c.left.tv_sec, c.left.tv_nsec));
  }
}

}  // namespace
