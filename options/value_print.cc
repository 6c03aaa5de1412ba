#include "options/value_print.h"

#include <cstdarg>

void value_print::Write(FILE* stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stream, format, args);
  va_end(args);
}

void PrintSeparator(OptionContext* context) {
  // A handler prints only for options that were counted, so `remaining` is at
  // least 1 here; guard anyway so a miscount cannot wrap around.
  if (context->remaining > 0) {
    --context->remaining;
  }
  std::fputs(context->remaining != 0 ? ", " : ".", stdout);
}

void PrintNotSet(OptionContext* context, const char* option) { PrintValue(context, "%s is not set", option); }

bool ReadGaveValue(OptionContext* context, NTSTATUS readStatus, const char* option, Message<> readFailure,
                   NTSTATUS* result) {
  if (NT_SUCCESS(readStatus)) {
    return true;
  }
  if (readStatus == STATUS_NOT_FOUND) {
    PrintNotSet(context, option);
    *result = STATUS_SUCCESS;
  } else {
    PrintDiagnostic(readFailure);
    *result = readStatus;
  }
  return false;
}
