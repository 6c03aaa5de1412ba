// The handler logic shared by the true/false settings stored as a u32 (apd,
// fkm): one description of each option's texts and one function doing the work.
#pragma once

#include "options/option_context.h"
#include "runtime/rtl_string.h"

struct SwitchOption {
  const char* option;            // option name, as printed ("apd")
  const UNICODE_STRING* name;    // stored value name
  const char* invalidValue;      // format with one %s: the value text
  const char* writeFailure;      // format with one %s: the value text
  const char* readFailure;       // complete line
  const char* deleteFailure;     // complete line
};

// Set: parses the value with ParseSwitchValue and stores 1 or 0; get: prints
// "<option>=TRUE" for any nonzero stored number, "<option>=FALSE" for 0, or
// "<option> is not set"; delete: removes it (absence is no error). Returns
// STATUS_INVALID_PARAMETER for a rejected value, else the store's status.
[[nodiscard]] NTSTATUS HandleSwitchOption(const SwitchOption& desc, OptionContext* context, const char* value);
