// The option table: one constant row per long option, in the order in which
// the driver runs the handlers (options/option_id.h). It is the single source
// for the parser's long-option array, the mode checks, the dispatch, the usage
// text, the completion, the manual page and the Ansible words. The rows are
// never written: what a run gives on its command line is the driver's own
// state.
#pragma once

#include <getopt.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "options/option_context.h"
#include "options/option_id.h"

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
//   val      - the row's index in the table (its OptionId)
struct OptionEntry {
  OptionId id;
  option longOption;
  std::uint8_t allowedModes;  // kMode* bits
  const char* helpText;       // shown under the get, delete and help headings; may be null
  const char* valueSyntax;    // shown under the set heading; may be null
  OptionHandler handler;      // null for `update` and `help`
  // A credential (the customer identifier, the provisioning token): in set
  // mode its value may be "@PATH", read from PATH at the start of the run
  // (cli/value_file.h), and the Ansible module passes it on standard input.
  bool credential;
  // A query of the sensor's state (version, system tags, reduced
  // functionality): get only, nothing stored, so no settings row.
  bool query;
};

// The whole table, in table order.
std::span<const OptionEntry, kOptionCount> OptionTable();

// The row of `id`.
inline const OptionEntry& OptionRow(OptionId id) { return OptionTable()[IndexOf(id)]; }
