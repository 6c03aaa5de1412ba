// --loginterval and --logduration: the period and length of the sensor's
// telemetry file logging (LogInterval, LogDuration, u32 little-endian seconds),
// checked against each other. Its switch, --logcounters, is an ordinary stored
// setting (options/settings_table.h).
//
// Choices made here:
// - A duration being set is bounded like an interval: duration x 1000 must
//   fit 32 bits (at most 4294967 seconds), as the sensor counts both in
//   milliseconds. The refusal reads "\"%u\": Invalid log duration value, int
//   overflow detected\n". A stored duration is not held to that bound when an
//   interval is set.
#include "options/telemetry.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include "options/handlers.h"
#include "options/stored_value.h"
#include "options/settings.h"
#include "options/value_print.h"
#include "runtime/trace.h"

namespace {

constexpr std::uint32_t kLogSettingMinimumSeconds = 5;
constexpr std::uint32_t kLogIntervalDefaultSeconds = 60;
constexpr std::uint32_t kLogDurationDefaultSeconds = 3600;

struct LogSetting {
  const char* word;  // fills the %s of every message
  OptionId id;       // its settings row gives the value name
  std::uint32_t defaultSeconds;
};

constexpr LogSetting kLogSettings[] = {
    {"interval", OptionId::kLogInterval, kLogIntervalDefaultSeconds},
    {"duration", OptionId::kLogDuration, kLogDurationDefaultSeconds},
};

const UNICODE_STRING* ValueNameOf(OptionId id) { return &SettingOf(id).name; }

constexpr const LogSetting& SettingOf(LogSettingKind kind) { return kLogSettings[static_cast<std::uint32_t>(kind)]; }

// Largest accepted value text (4294967295 is refused as well).
constexpr unsigned long kMaxLogValue = 4294967294UL;

constexpr bool FitsInMilliseconds(std::uint32_t seconds) {
  return static_cast<std::uint64_t>(seconds) * 1000 <= 0xFFFFFFFFULL;
}

void PrintDefault(OptionContext* context, const LogSetting& setting) {
  PrintValue(context, "log %s is not set. Default value is %lu seconds", setting.word,
             static_cast<unsigned long>(setting.defaultSeconds));
}

NTSTATUS SetLogSetting(OptionContext* context, LogSettingKind kind, const char* value) {
  const LogSetting& setting = SettingOf(kind);
  errno = 0;
  const unsigned long parsed = std::strtoul(value, nullptr, 10);
  if (parsed == 0 || errno == ERANGE || parsed > kMaxLogValue) {
    PrintDiagnostic("\"%s\" is not a valid value for --log%s\n", value, setting.word);
    return STATUS_INVALID_PARAMETER;
  }
  const auto seconds = static_cast<std::uint32_t>(parsed);

  LogSettingReason reason = LogSettingReason::kNone;
  NTSTATUS status = CheckLogSetting(kind, seconds, &reason);
  if (!NT_SUCCESS(status)) {
    const bool settingDuration = kind == LogSettingKind::kDuration;
    switch (reason) {
      case LogSettingReason::kBelowMinimum:
        PrintDiagnostic("\"%u\": Invalid log %s value, minimum supported value is %lu seconds\n", seconds,
                        setting.word, static_cast<unsigned long>(kLogSettingMinimumSeconds));
        break;
      case LogSettingReason::kDurationShorterThanInterval:
        PrintDiagnostic("\"%u\": Invalid log %s value, log duration should be greater then log interval\n", seconds,
                        setting.word);
        break;
      case LogSettingReason::kIntervalOverflow:
        PrintDiagnostic("\"%u\": Invalid %slog interval value, int overflow detected\n", seconds,
                        settingDuration ? "stored " : "");
        break;
      case LogSettingReason::kDurationOverflow:
        PrintDiagnostic("\"%u\": Invalid log duration value, int overflow detected\n", seconds);
        break;
      case LogSettingReason::kReadFailure:
      case LogSettingReason::kNone:
        PrintDiagnostic("Unexpected error occurred. Status:0x%X\n", static_cast<unsigned>(status));
        break;
    }
    return status;
  }

  status = WriteU32Value(ValueNameOf(setting.id), seconds);
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not write log %s value \"%s\" to config. Status:0x%X\n", setting.word, value,
                    static_cast<unsigned>(status));
    return status;
  }
  if (context->verbose) {
    PrintValue(context, "log %s=%u seconds", setting.word, seconds);
  }
  return STATUS_SUCCESS;
}

NTSTATUS ShowLogSetting(OptionContext* context, LogSettingKind kind) {
  const LogSetting& setting = SettingOf(kind);
  std::uint32_t seconds = 0;
  const NTSTATUS status = ReadU32Value(ValueNameOf(setting.id), &seconds);
  if (status == STATUS_NOT_FOUND) {
    PrintDefault(context, setting);
    return STATUS_SUCCESS;
  }
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not read log %s from config file. Status:0x%X\n", setting.word,
                    static_cast<unsigned>(status));
    return status;
  }
  PrintValue(context, "log %s=%u seconds", setting.word, seconds);
  return STATUS_SUCCESS;
}

NTSTATUS DeleteLogSetting(OptionContext* context, LogSettingKind kind) {
  const LogSetting& setting = SettingOf(kind);
  const NTSTATUS status = DeleteSimpleStoreValue(ValueNameOf(setting.id));
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not delete log %s value from config file. Status:0x%X\n", setting.word,
                    static_cast<unsigned>(status));
    return status;
  }
  if (context->verbose) {
    PrintDefault(context, setting);
  }
  return STATUS_SUCCESS;
}

NTSTATUS HandleLogSetting(OptionContext* context, const char* value, LogSettingKind kind) {
  if (context->set) {
    return SetLogSetting(context, kind, value);
  }
  if (context->del) {
    return DeleteLogSetting(context, kind);
  }
  return ShowLogSetting(context, kind);
}

}  // namespace

NTSTATUS CheckLogSetting(LogSettingKind kind, std::uint32_t value, LogSettingReason* reason) {
  *reason = LogSettingReason::kNone;
  std::uint32_t interval = value;
  std::uint32_t duration = value;
  bool intervalStored = true;
  if (kind == LogSettingKind::kInterval) {
    const NTSTATUS status = ReadU32Value(ValueNameOf(OptionId::kLogDuration), &duration);
    if (status == STATUS_NOT_FOUND) {
      duration = kLogDurationDefaultSeconds;
    } else if (!NT_SUCCESS(status)) {
      TraceError(TRACE_COMPONENT_TELEMETRY, "Failed to read log duration from simple store: %!STATUS!", status);
      *reason = LogSettingReason::kReadFailure;
      return status;
    }
  } else {
    const NTSTATUS status = ReadU32Value(ValueNameOf(OptionId::kLogInterval), &interval);
    if (status == STATUS_NOT_FOUND) {
      interval = kLogIntervalDefaultSeconds;
      intervalStored = false;
    } else if (!NT_SUCCESS(status)) {
      TraceError(TRACE_COMPONENT_TELEMETRY, "Failed to read log interval from simple store: %!STATUS!", status);
      *reason = LogSettingReason::kReadFailure;
      return status;
    }
  }

  if (intervalStored && !FitsInMilliseconds(interval)) {
    *reason = LogSettingReason::kIntervalOverflow;
  } else if (kind == LogSettingKind::kDuration && !FitsInMilliseconds(duration)) {
    // Only a duration being set is bounded: a stored one, however large, never
    // refuses an interval that the checks below accept.
    *reason = LogSettingReason::kDurationOverflow;
  } else if (intervalStored && interval < kLogSettingMinimumSeconds) {
    *reason = LogSettingReason::kBelowMinimum;
  } else if (duration < kLogSettingMinimumSeconds) {
    *reason = LogSettingReason::kBelowMinimum;
  } else if (duration < interval) {
    TraceError(TRACE_COMPONENT_TELEMETRY, "logduration < default loginterval %!STATUS!", STATUS_SUCCESS);
    *reason = LogSettingReason::kDurationShorterThanInterval;
  }
  return *reason == LogSettingReason::kNone ? STATUS_SUCCESS : STATUS_INVALID_PARAMETER;
}

NTSTATUS HandleLogInterval(OptionContext* context, const char* value) {
  return HandleLogSetting(context, value, LogSettingKind::kInterval);
}

NTSTATUS HandleLogDuration(OptionContext* context, const char* value) {
  return HandleLogSetting(context, value, LogSettingKind::kDuration);
}
