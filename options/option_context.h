// What every option handler receives, and the handler's shape.
#pragma once

#include <cstdint>

#include "runtime/status.h"

// Created zeroed by the driver and handed by address to every handler, so the
// decrements of `remaining` accumulate over the run.
struct OptionContext {
  std::uint8_t get;
  std::uint8_t set;
  std::uint8_t del;
  std::uint8_t force;
  std::uint8_t verbose;
  // Long options given on the command line; handlers count it down once per
  // printed value.
  std::uint32_t remaining;
};

// `value` is the text after "=" (null when none was given); in set mode it is
// never null for a value-taking option.
using OptionHandler = NTSTATUS (*)(OptionContext* context, const char* value);

// Whether --update was given on this command line (the option table's `update`
// row is specified).
[[nodiscard]] bool UpdateRequested();
