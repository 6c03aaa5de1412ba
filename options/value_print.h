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

// A diagnostic line on standard error (the format carries its own "\n").
void PrintDiagnostic(const char* format, ...) __attribute__((format(printf, 1, 2)));
