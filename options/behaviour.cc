// Sensor behaviour settings: trace (level name as text under TRACE), backend
// (u32 under SenBackend), billing (u32 under BT) and fkm (u32 switch under FKM).
// None is protected by -f. A successful trace write with --update signals the
// running sensor.
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "options/handlers.h"
#include "options/named_value.h"
#include "options/stored_value.h"
#include "options/switch_option.h"
#include "options/value_names.h"
#include "options/value_print.h"
#include "options/value_sets.h"

namespace {

constexpr std::size_t kMaxTraceLength = 100;
using value_sets::kBackends;
using value_sets::kBillingTypes;
using value_sets::kTraceLevels;

constexpr std::uint32_t kMaxBackend = 2;

constexpr SwitchOption kFuzzyKernelMatch{
    "fkm",
    &value_names::kFuzzyKernelMatch,
    "\"%s\" is not a valid value for --fkm\n",
    "Could not write fuzzy kernel match \"%s\" to config file\n",
    "Could not read fuzzy kernel match from config file\n",
    "Could not delete fuzzy kernel match from config file\n",
};

bool IsTraceLevel(const char* text) {
  for (std::string_view level : kTraceLevels) {
    if (level == text) {
      return true;
    }
  }
  return false;
}

// An identifier without a row is only a warning, printed in place of the value.
void PrintBillingType(OptionContext* context, std::uint32_t id) {
  const char* name = NameOfValue(kBillingTypes, id);
  if (name != nullptr) {
    PrintValue(context, "billing=%s", name);
  } else {
    PrintValue(context, "WARNING: unknown billing type configured (ID = %u)", id);
  }
}

}  // namespace

NTSTATUS HandleTrace(OptionContext* context, const char* value) {
  if (context->set) {
    if (std::strlen(value) > kMaxTraceLength) {
      PrintDiagnostic("\"%s\" is not a valid value for --trace\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    if (!IsTraceLevel(value)) {
      PrintDiagnostic("not a valid trace option: %s\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteTextValue(&value_names::kTraceLevel, value);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write trace level \"%s\" to config\n", value);
      return status;
    }
    // The level is stored; a failed signal is reported by the reload call and
    // does not change this result.
    if (context->reload != nullptr) {
      context->reload();
    }
    if (context->get || context->verbose) {
      PrintValue(context, "trace=%s", value);
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    return DeleteSettingValue(context, &value_names::kTraceLevel, "trace",
                              "Could not delete the trace level from config file \n");
  }

  // Whatever text is stored is printed unchanged.
  std::array<char, kMaxTraceLength + 1> level{};
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadTextValue(&value_names::kTraceLevel, level), "trace",
                     "Could not get trace level from config file\n", &result)) {
    return result;
  }
  PrintValue(context, "trace=%s", level.data());
  return STATUS_SUCCESS;
}

NTSTATUS HandleBackend(OptionContext* context, const char* value) {
  if (context->set) {
    const NamedValue* backend = FindNamedValue(kBackends, value, NameCase::kExact);
    if (backend == nullptr) {
      PrintDiagnostic("\"%s\" is not a valid value for --backend\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteU32Value(&value_names::kBackend, backend->id);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write backend value \"%s\" to config file\n", value);
      return status;
    }
    if (context->verbose) {
      PrintValue(context, "backend=%s", backend->name);
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    return DeleteSettingValue(context, &value_names::kBackend, "backend",
                              "Could not delete backend value from config file\n");
  }

  std::uint32_t stored = 0;
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadU32Value(&value_names::kBackend, &stored), "backend",
                     "Could not read backend value from config file\n", &result)) {
    return result;
  }
  if (stored > kMaxBackend) {
    PrintDiagnostic("Backend value in config file is invalid\n");
    return STATUS_INVALID_PARAMETER;
  }
  PrintValue(context, "backend=%s", NameOfValue(kBackends, stored));
  return STATUS_SUCCESS;
}

NTSTATUS HandleBilling(OptionContext* context, const char* value) {
  if (context->set) {
    const NamedValue* type = FindNamedValue(kBillingTypes, value, NameCase::kExact);
    if (type == nullptr) {
      PrintDiagnostic("\"%s\" is not a valid value for --billing\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteU32Value(&value_names::kBillingType, type->id);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write billing \"%s\" to config file\n", value);
      return status;
    }
    if (context->get || context->verbose) {
      PrintBillingType(context, type->id);
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    return DeleteSettingValue(context, &value_names::kBillingType, "billing",
                              "Could not delete billing from config file\n");
  }

  std::uint32_t stored = 0;
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadU32Value(&value_names::kBillingType, &stored), "billing",
                     "Could not read billing setting from config file\n", &result)) {
    return result;
  }
  PrintBillingType(context, stored);
  return STATUS_SUCCESS;
}

NTSTATUS HandleFkm(OptionContext* context, const char* value) {
  return HandleSwitchOption(kFuzzyKernelMatch, context, value);
}
