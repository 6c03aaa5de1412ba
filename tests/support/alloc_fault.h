// Allocation failures on demand, for a test binary that links alloc_fault.cc.
// The pool takes its blocks from aligned_alloc; that file defines aligned_alloc
// in the binary itself, in front of the C library's, so the runtime's calls
// reach it. Single-threaded use: arm, run the code under test, then disarm.
#pragma once

namespace vt_test {

// The nth aligned_alloc from now (1 is the next one) returns null.
void FailNthAllocation(long nth);
// Disarms; true when the armed allocation was asked for, and refused.
bool StopFailingAllocations();

}  // namespace vt_test
