// Why the sensor runs in reduced functionality mode: the reason codes the sensor
// stores in its RFM history and their texts.
#pragma once

#include <cstdint>
#include <span>

struct RfmReason {
  std::uint32_t code;
  const char* text;
};

// The reason table in search order (20 rows; several codes share a text).
[[nodiscard]] std::span<const RfmReason> RfmReasonTable();

// The text of the first row whose code equals `code`, or "Unspecified". The
// result is a static string.
[[nodiscard]] const char* RfmReasonText(std::uint32_t code);
