// The one way handlers print results. Every result goes to standard output as
// "name=value" or "name is not set" (or an option's own text), followed at once
// by the separator: `remaining` is decremented and ", " is written while it is
// still nonzero, "." when it reaches zero. The driver writes the final newline.
#pragma once

#include "options/option_context.h"

// Prints the formatted result and its separator.
void PrintValue(OptionContext* context, const char* format, ...) __attribute__((format(printf, 2, 3)));
// "<option> is not set" and the separator.
void PrintNotSet(OptionContext* context, const char* option);
// Only the separator: decrements `remaining` and writes ", " or ".".
void PrintSeparator(OptionContext* context);

// A get's answer to the status of its read. STATUS_NOT_FOUND value-prints
// "<option> is not set" and the handler succeeds; another failure writes
// `readFailure` (a whole line) to standard error and the handler fails with it.
// Returns true when a value was read and is still to be printed; otherwise
// *result is what the handler returns.
[[nodiscard]] bool ReadGaveValue(OptionContext* context, NTSTATUS readStatus, const char* option,
                                 const char* readFailure, NTSTATUS* result);

// A diagnostic line on standard error (the format carries its own "\n").
void PrintDiagnostic(const char* format, ...) __attribute__((format(printf, 1, 2)));
