// Path conversion shared by the file wrappers of runtime/file.h and
// runtime/file_extra.h; not for their callers.
#pragma once

#include "runtime/rtl_string.h"
#include "runtime/status.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

namespace file_internal {

// Converts a counted UTF-16 path for a system call. A null descriptor is refused
// with STATUS_INVALID_PARAMETER; the caller logs any failure.
[[nodiscard]] inline NTSTATUS ToUtf8(const UNICODE_STRING* path, Utf8String& out) {
  if (path == nullptr) {
    return STATUS_INVALID_PARAMETER;
  }
  return out.Convert(path);
}

// ToUtf8 that logs a failure the way every wrapper taking a UNICODE_STRING
// file name does.
[[nodiscard]] inline NTSTATUS ConvertPath(const UNICODE_STRING* path, Utf8String& out) {
  const NTSTATUS status = ToUtf8(path, out);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not convert unicode filename '%wZ' to UTF-8: %!STATUS!", path, status);
  }
  return status;
}

}  // namespace file_internal
