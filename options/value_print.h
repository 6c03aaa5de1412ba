// The one way the handlers print. A result goes to standard output as
// "name=value" or "name is not set" (or an option's own text), followed at once
// by the separator: `remaining` is decremented and ", " is written while it is
// still nonzero, "." when it reaches zero. A status query's whole lines and a
// set's notice go out uncounted (PrintText). A diagnostic goes to standard
// error as one whole line. The driver writes the final newline. Every format
// is a Message (options/message.h), checked against its arguments when the
// program is compiled, also where a settings row keeps it.
#pragma once

#include <cstdio>
#include <type_traits>

#include "options/message.h"
#include "options/option_context.h"

namespace value_print {
// vfprintf of a format a Message has checked.
void Write(FILE* stream, const char* format, ...);

template <typename... Args>
void Put(FILE* stream, const char* format, Args... args) {
  if constexpr (sizeof...(Args) == 0) {
    std::fputs(format, stream);  // a Message<> holds no '%'
  } else {
    Write(stream, format, args...);
  }
}
}  // namespace value_print

// Only the separator: decrements `remaining` and writes ", " or ".".
void PrintSeparator(OptionContext* context);

// Prints the formatted result and its separator.
template <typename... Args>
void PrintValue(OptionContext* context, Message<std::type_identity_t<Args>...> format, Args... args) {
  value_print::Put(stdout, format.text(), args...);
  PrintSeparator(context);
}

// "<option> is not set" and the separator.
void PrintNotSet(OptionContext* context, const char* option);

// Text on standard output that is no counted result: a status query's whole
// lines and pieces, a set's notice.
template <typename... Args>
void PrintText(Message<std::type_identity_t<Args>...> format, Args... args) {
  value_print::Put(stdout, format.text(), args...);
}

// A diagnostic line on standard error (the format carries its own "\n").
template <typename... Args>
void PrintDiagnostic(Message<std::type_identity_t<Args>...> format, Args... args) {
  value_print::Put(stderr, format.text(), args...);
}

// A get's answer to the status of its read. STATUS_NOT_FOUND value-prints
// "<option> is not set" and the handler succeeds; another failure writes
// `readFailure` (a whole line) to standard error and the handler fails with it.
// Returns true when a value was read and is still to be printed; otherwise
// *result is what the handler returns.
[[nodiscard]] bool ReadGaveValue(OptionContext* context, NTSTATUS readStatus, const char* option,
                                 Message<> readFailure, NTSTATUS* result);
