#include "options/value_print.h"

#include <cstdarg>
#include <cstdio>

void PrintSeparator(OptionContext* context) {
  // A handler prints only for options that were counted, so `remaining` is at
  // least 1 here; guard anyway so a miscount cannot wrap around.
  if (context->remaining > 0) {
    --context->remaining;
  }
  std::fputs(context->remaining != 0 ? ", " : ".", stdout);
}

void PrintValue(OptionContext* context, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stdout, format, args);
  va_end(args);
  PrintSeparator(context);
}

bool ReadGaveValue(OptionContext* context, NTSTATUS readStatus, const char* option, const char* readFailure,
                   NTSTATUS* result) {
  if (NT_SUCCESS(readStatus)) {
    return true;
  }
  if (readStatus == STATUS_NOT_FOUND) {
    PrintNotSet(context, option);
    *result = STATUS_SUCCESS;
  } else {
    std::fputs(readFailure, stderr);
    *result = readStatus;
  }
  return false;
}

void PrintNotSet(OptionContext* context, const char* option) { PrintValue(context, "%s is not set", option); }

void PrintDiagnostic(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stderr, format, args);
  va_end(args);
}
