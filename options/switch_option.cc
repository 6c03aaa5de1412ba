#include "options/switch_option.h"

#include <cstdint>

#include "options/stored_value.h"
#include "options/switch_value.h"
#include "options/value_print.h"

namespace {

const char* SwitchText(std::uint32_t value) { return value != 0 ? "TRUE" : "FALSE"; }

}  // namespace

NTSTATUS HandleSwitchOption(const SwitchOption& desc, OptionContext* context, const char* value) {
  if (context->set) {
    std::uint32_t parsed = 0;
    if (!ParseSwitchValue(value, &parsed)) {
      PrintDiagnostic(desc.invalidValue, value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteU32Value(desc.name, parsed);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic(desc.writeFailure, value);
      return status;
    }
    if (context->verbose) {
      PrintValue(context, "%s=%s", desc.option, SwitchText(parsed));
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    return DeleteSettingValue(context, desc.name, desc.option, desc.deleteFailure);
  }

  std::uint32_t stored = 0;
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadU32Value(desc.name, &stored), desc.option, desc.readFailure, &result)) {
    return result;
  }
  PrintValue(context, "%s=%s", desc.option, SwitchText(stored));
  return STATUS_SUCCESS;
}
