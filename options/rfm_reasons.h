// Why the sensor runs in reduced functionality mode: the reason codes the sensor
// stores in its RFM history and their texts.
#pragma once

#include <cstdint>

// The text of the first row whose code equals `code`, or "Unspecified". The
// result is a static string.
[[nodiscard]] const char* RfmReasonText(std::uint32_t code);
