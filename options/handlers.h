// The option handlers with code of their own, one per row of the option table
// that does something and is not an ordinary stored setting (those share
// HandleStoredSetting, options/settings.h).
// Each takes the shared OptionContext and the option's value text and returns
// STATUS_SUCCESS or a failure status after writing its own diagnostic to
// standard error; the driver then reports the option as failed.
#pragma once

#include "options/option_context.h"

// Customer and agent identity.
[[nodiscard]] NTSTATUS HandleCid(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleAid(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleProvisioningToken(OptionContext* context, const char* value);

// Feature and metadata-query flag sets.
[[nodiscard]] NTSTATUS HandleFeature(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleMetadataQuery(OptionContext* context, const char* value);

// Sensor grouping tags.
[[nodiscard]] NTSTATUS HandleTags(OptionContext* context, const char* value);

// Telemetry logging settings (logcounters is an ordinary stored setting).
[[nodiscard]] NTSTATUS HandleLogInterval(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleLogDuration(OptionContext* context, const char* value);

// Sensor status queries.
[[nodiscard]] NTSTATUS HandleVersion(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleSystags(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleRfmState(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleRfmReason(OptionContext* context, const char* value);
[[nodiscard]] NTSTATUS HandleRfmHistory(OptionContext* context, const char* value);
