// Telemetry logging settings shared with the sensor's telemetry code: the check
// that keeps a log interval and a log duration consistent with each other.
// Part of the runtime's API (the sensor calls it too); the tool's own handlers
// for --loginterval and --logduration are in options/handlers.h.
#pragma once

#include <cstdint>

#include "options/option_context.h"
#include "runtime/status.h"

// Which of the two settings is being proposed; the other one is read from the
// configuration store.
enum class LogSettingKind : std::uint32_t {
  kInterval = 0,  // LogInterval, default 60 seconds
  kDuration = 1,  // LogDuration, default 3600 seconds
};

// Why CheckLogSetting refused a value.
enum class LogSettingReason : std::uint32_t {
  kNone = 0,
  kBelowMinimum,                 // interval or duration under 5 seconds
  kDurationShorterThanInterval,  // duration < interval (equal passes)
  kIntervalOverflow,             // interval x 1000 does not fit 32 bits
  kDurationOverflow,             // duration x 1000 does not fit 32 bits
  kReadFailure,                  // the other stored value could not be read
};

// Checks `value` proposed for `kind` against the other stored value (its default
// when not stored). Checks, first failure decides: interval overflow (skipped
// when the interval is the default), duration overflow, interval minimum (skipped
// likewise), duration minimum, duration >= interval.
// Returns STATUS_SUCCESS with *reason None; STATUS_INVALID_PARAMETER with the
// reason; or the store's read status with ReadFailure (logged, component 1).
// Holds no lock across the call beyond the store's own.
[[nodiscard]] NTSTATUS CheckLogSetting(LogSettingKind kind, std::uint32_t value, LogSettingReason* reason);
