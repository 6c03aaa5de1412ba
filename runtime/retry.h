// How often a system call that failed with EINTR is retried in a row before the
// interruption is taken as the call's failure. The tool installs no signal
// handlers, so a call that keeps being interrupted is a fault of its own, and
// the limit keeps every retry loop finite.
#pragma once

inline constexpr int kInterruptedRetryLimit = 100;
