// Test hooks of runtime/sync.h.
#pragma once

#include "runtime/sync.h"

// Test seams of the rundown hand-over, null in the product: afterPublish runs in
// WaitForRundown right after its wait block was published; beforeLastSignal in
// the last holder's ReleaseRundownGuard between its decrement and its signal.
// Set them only while no guard is in use.
struct RundownTestHooks {
  void (*afterPublish)();
  void (*beforeLastSignal)();
};
extern constinit RundownTestHooks gRundownTestHooks;
