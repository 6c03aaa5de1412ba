// The option table: one row per long option, in the order in which the driver
// runs the handlers. It is the single source for the parser's long-option array,
// the mode checks, the dispatch and the usage text.
//
// The table is a process global filled by constant initialisation. Only the
// driver reads and writes it (each row's `specified` and `value`, during the
// parse); handlers learn what they need from the OptionContext the driver
// hands them. Single-threaded by design: no lock.
#pragma once

#include <getopt.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "options/option_context.h"

// Allowed-modes bits, also the driver's mode-set bits.
inline constexpr std::uint8_t kModeSet = 0x01;
inline constexpr std::uint8_t kModeGet = 0x02;
inline constexpr std::uint8_t kModeDelete = 0x04;
inline constexpr std::uint8_t kModeHelp = 0x20;

// One row. `longOption` holds name, has_arg, flag and val with the C library's
// own record, which the driver copies into the getopt_long array:
//   name     - the long option without "--"
//   has_arg  - no_argument (0) or optional_argument (2)
//   flag     - always null
//   val      - the row's index in the table
struct OptionEntry {
  std::uint8_t specified;  // set by the driver when the option was given
  const char* value;       // text after "=", or null; owned by argv
  option longOption;
  std::uint8_t allowedModes;  // kMode* bits
  const char* helpText;       // shown under the get, delete and help headings; may be null
  const char* valueSyntax;    // shown under the set heading; may be null
  OptionHandler handler;      // null for `update` and `help`
};

inline constexpr std::size_t kOptionCount = 24;

// Row indices (== each row's `val`).
inline constexpr int kRowCid = 0;
inline constexpr int kRowAid = 1;
inline constexpr int kRowApd = 2;
inline constexpr int kRowAph = 3;
inline constexpr int kRowApp = 4;
inline constexpr int kRowTrace = 5;
inline constexpr int kRowPcpt = 6;
inline constexpr int kRowFeature = 7;
inline constexpr int kRowMetadataQuery = 8;
inline constexpr int kRowVersion = 9;
inline constexpr int kRowUpdate = 10;
inline constexpr int kRowBilling = 11;
inline constexpr int kRowTags = 12;
inline constexpr int kRowProvisioningToken = 13;
inline constexpr int kRowSystags = 14;
inline constexpr int kRowBackend = 15;
inline constexpr int kRowRfmState = 16;
inline constexpr int kRowRfmReason = 17;
inline constexpr int kRowRfmHistory = 18;
inline constexpr int kRowFkm = 19;
inline constexpr int kRowLogCounters = 20;
inline constexpr int kRowLogInterval = 21;
inline constexpr int kRowLogDuration = 22;
inline constexpr int kRowHelp = 23;

extern OptionEntry gOptionTable[kOptionCount];

// The whole table, in table order.
inline std::span<OptionEntry, kOptionCount> OptionTable() { return gOptionTable; }
