// The sensor's RFM history as the sensor keeps it in the configuration store
// (value RFMHistory): newest entry first, 12 little-endian bytes per entry.
#pragma once

#include <cstdint>

#include "options/option_context.h"
#include "runtime/status.h"

struct RfmHistoryEntry {
  std::uint32_t Backend;     // 0: kernel backend; anything else: BPF
  std::uint32_t InRfm;       // 1: in RFM; anything else: not in RFM
  std::uint32_t ReasonCode;  // see RfmReasonText
};
static_assert(sizeof(RfmHistoryEntry) == 12);

inline constexpr std::uint32_t kRfmHistoryEntrySize = 12;

// Reads the whole RFMHistory value (through context->store) into a new array
// of *count entries (a trailing part shorter than one entry is ignored, so
// *count may be 0). The caller frees *entries with TvFreePoolWithTag(*entries, kTagTool). Statuses:
// STATUS_SUCCESS; STATUS_NOT_FOUND when the value is absent, empty or its first
// read fails in any way; STATUS_INSUFFICIENT_RESOURCES; the second read's
// status. Out-parameters are written only on success.
[[nodiscard]] NTSTATUS ReadRfmHistory(RfmHistoryEntry** entries, std::uint32_t* count);

// The newest entry's fields. STATUS_NOT_FOUND also when the value holds no whole
// entry (1 to 11 bytes): nothing is read past the stored bytes.
[[nodiscard]] NTSTATUS ReadRfmNewestEntry(std::uint32_t* inRfm, std::uint32_t* reasonCode, std::uint32_t* backend);
