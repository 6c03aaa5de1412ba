// Proxy and connection settings: apd (u32 switch under DP), aph (text of at most
// 255 bytes under APH), app (text of at most 5 bytes under APP) and pcpt (u32
// protocol under PCPT). None is protected by -f; none is used by the tool itself.
#include <array>
#include <cstdint>
#include <cstring>

#include "options/handlers.h"
#include "options/named_value.h"
#include "options/stored_value.h"
#include "options/switch_option.h"
#include "options/value_names.h"
#include "options/value_print.h"
#include "options/value_sets.h"

namespace {

constexpr SwitchOption kAppProxyDisable{
    "apd",
    &value_names::kAppProxyDisable,
    "\"%s\" is not a valid value for --apd\n",
    "Could not write application proxy disable \"%s\" to config file\n",
    "Could not read app proxy disable from config file\n",
    "Could not delete application proxy disable from config file\n",
};

constexpr std::size_t kMaxHostLength = 255;
constexpr std::size_t kMaxPortLength = 5;

// Set compares the protocol ignoring case; a stored number without a row prints
// as "auto", because absence means automatic too.
using value_sets::kProtocols;

}  // namespace

NTSTATUS HandleApd(OptionContext* context, const char* value) {
  return HandleSwitchOption(kAppProxyDisable, context, value);
}

NTSTATUS HandleAph(OptionContext* context, const char* value) {
  if (context->set) {
    if (std::strlen(value) > kMaxHostLength) {
      PrintDiagnostic("\"%s\" is not a valid value for --aph\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteTextValue(&value_names::kAppProxyHost, value);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write application proxy host \"%s\" to config\n", value);
      return status;
    }
    if (context->verbose) {
      PrintValue(context, "aph=%s", value);
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    return DeleteSettingValue(context, &value_names::kAppProxyHost, "aph",
                              "Could not delete application proxy host from config file\n");
  }

  std::array<char, kMaxHostLength + 1> host{};
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadTextValue(&value_names::kAppProxyHost, host), "aph",
                     "Could not read application proxy host from config file\n", &result)) {
    return result;
  }
  PrintValue(context, "aph=%s", host.data());
  return STATUS_SUCCESS;
}

NTSTATUS HandleApp(OptionContext* context, const char* value) {
  if (context->set) {
    if (std::strlen(value) > kMaxPortLength) {
      PrintDiagnostic("\"%s\" is not a valid value for --app\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteTextValue(&value_names::kAppProxyPort, value);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write application proxy port \"%s\" to config\n", value);
      return status;
    }
    if (context->verbose) {
      PrintValue(context, "app=%s", value);
    }
    return STATUS_SUCCESS;
  }

  // Get and delete both read first: a port that cannot be read is not deleted.
  std::array<char, kMaxPortLength + 1> port{};
  const NTSTATUS status = ReadTextValue(&value_names::kAppProxyPort, port);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not read application proxy port from config file\n");
    return status;
  }
  if (context->del) {
    return DeleteSettingValue(context, &value_names::kAppProxyPort, "app",
                              "Could not delete application proxy port from config file\n");
  }
  if (status == STATUS_NOT_FOUND) {
    PrintNotSet(context, "app");
  } else {
    PrintValue(context, "app=%s", port.data());
  }
  return STATUS_SUCCESS;
}

// Set and get only: the option table refuses -d with --pcpt before any handler
// runs, so every non-set call is treated as a get.
NTSTATUS HandlePcpt(OptionContext* context, const char* value) {
  if (context->set) {
    const NamedValue* protocol = FindNamedValue(kProtocols, value, NameCase::kIgnore);
    if (protocol == nullptr) {
      PrintDiagnostic("not a valid pcpt option: %s\n", value);
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS status = WriteU32Value(&value_names::kPreferredProtocol, protocol->id);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write pcpt \"%s\" to config\n", value);
      return status;
    }
    if (context->verbose) {
      // Printed as typed ("IPv4"), not as the table's spelling.
      PrintValue(context, "pcpt=%s", value);
    }
    return STATUS_SUCCESS;
  }

  std::uint32_t stored = 0;
  const NTSTATUS status = ReadU32Value(&value_names::kPreferredProtocol, &stored);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not get pcpt from config file\n");
    return status;
  }
  const char* name = status == STATUS_NOT_FOUND ? nullptr : NameOfValue(kProtocols, stored);
  PrintValue(context, "pcpt=%s", name != nullptr ? name : "auto");
  return STATUS_SUCCESS;
}
