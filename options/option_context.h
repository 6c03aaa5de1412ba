// What every option handler receives, and the handler's shape.
#pragma once

#include <cstdint>

#include "options/option_id.h"
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
  // The option whose handler runs now, and its long name (without "--"); set
  // by the driver before each call.
  OptionId id;
  const char* option;
  // SignalSensorReload (options/reload.h) when --update was given: the daemon
  // is to be told of a changed trace level, feature set or log-counters
  // switch. Null otherwise.
  void (*reload)();
};

// `value` is the text after "=" (null when none was given); in set mode it is
// never null for a value-taking option.
using OptionHandler = NTSTATUS (*)(OptionContext* context, const char* value);
