#include "options/settings.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "options/stored_value.h"
#include "options/switch_value.h"
#include "options/value_names.h"
#include "options/value_print.h"
#include "options/value_sets.h"

namespace {

namespace names = value_names;
using SF = SettingForm;

// The longest text any kText row keeps, plus its terminator.
constexpr std::size_t kTextBufferSize = 256;

// A plain array: GCC 12 places a std::array whose type is deduced in writable
// data, outside the read-only-after-relocation pages.
constexpr Setting kSettings[] = {
    Setting{.option = "cid", .name = &names::kCustomerId, .form = SF::kIdentifier, .isProtected = true},
    Setting{.option = "aid", .name = &names::kAgentId, .form = SF::kIdentifier, .isProtected = true},
    Setting{.option = "apd",
            .name = &names::kAppProxyDisable,
            .form = SF::kSwitch,
            .isProtected = false,
            .invalidValue = "\"%s\" is not a valid value for --apd\n",
            .writeFailure = "Could not write application proxy disable \"%s\" to config file\n",
            .readFailure = "Could not read app proxy disable from config file\n",
            .deleteFailure = "Could not delete application proxy disable from config file\n"},
    Setting{.option = "aph",
            .name = &names::kAppProxyHost,
            .form = SF::kText,
            .isProtected = false,
            .maxLength = 255,
            .invalidValue = "\"%s\" is not a valid value for --aph\n",
            .writeFailure = "Could not write application proxy host \"%s\" to config\n",
            .readFailure = "Could not read application proxy host from config file\n",
            .deleteFailure = "Could not delete application proxy host from config file\n"},
    Setting{.option = "app",
            .name = &names::kAppProxyPort,
            .form = SF::kText,
            .isProtected = false,
            .maxLength = 5,
            .invalidValue = "\"%s\" is not a valid value for --app\n",
            .writeFailure = "Could not write application proxy port \"%s\" to config\n",
            .readFailure = "Could not read application proxy port from config file\n",
            .deleteFailure = "Could not delete application proxy port from config file\n",
            .readBeforeDelete = true},
    Setting{.option = "trace",
            .name = &names::kTraceLevel,
            .form = SF::kText,
            .isProtected = false,
            .maxLength = 100,
            .words = value_sets::kTraceLevels,
            .invalidValue = "\"%s\" is not a valid value for --trace\n",
            .invalidWord = "not a valid trace option: %s\n",
            .writeFailure = "Could not write trace level \"%s\" to config\n",
            .readFailure = "Could not get trace level from config file\n",
            .deleteFailure = "Could not delete the trace level from config file \n",
            .reloads = true},
    // Never deleted (the option table refuses -d); no value and a number
    // without a row both read as "auto", as the sensor reads them.
    Setting{.option = "pcpt",
            .name = &names::kPreferredProtocol,
            .form = SF::kNamed,
            .isProtected = false,
            .names = value_sets::kProtocols,
            .match = NameCase::kIgnore,
            .invalidValue = "not a valid pcpt option: %s\n",
            .writeFailure = "Could not write pcpt \"%s\" to config\n",
            .readFailure = "Could not get pcpt from config file\n",
            .badStored = "pcpt=auto",
            .badStoredIsValue = true,
            .unsetText = "pcpt=auto"},
    Setting{.option = "feature", .name = &names::kFeatureFlags, .form = SF::kFlagSet, .isProtected = false,
            .reloads = true},
    // Read by the sensor at its next start: no reload.
    Setting{.option = "metadata-query", .name = &names::kMetadataQueryFlags, .form = SF::kFlagSet,
            .isProtected = false},
    Setting{.option = "billing",
            .name = &names::kBillingType,
            .form = SF::kNamed,
            .isProtected = false,
            .names = value_sets::kBillingTypes,
            .invalidValue = "\"%s\" is not a valid value for --billing\n",
            .writeFailure = "Could not write billing \"%s\" to config file\n",
            .readFailure = "Could not read billing setting from config file\n",
            .deleteFailure = "Could not delete billing from config file\n",
            .badStored = "WARNING: unknown billing type configured (ID = %u)",
            .badStoredIsValue = true},
    Setting{.option = "tags", .name = &names::kGroupTags, .form = SF::kTagList, .isProtected = true},
    Setting{.option = "provisioning-token", .name = &names::kProvisioningToken, .form = SF::kToken,
            .isProtected = true},
    Setting{.option = "backend",
            .name = &names::kBackend,
            .form = SF::kNamed,
            .isProtected = false,
            .names = value_sets::kBackends,
            .invalidValue = "\"%s\" is not a valid value for --backend\n",
            .writeFailure = "Could not write backend value \"%s\" to config file\n",
            .readFailure = "Could not read backend value from config file\n",
            .deleteFailure = "Could not delete backend value from config file\n",
            .badStored = "Backend value in config file is invalid\n",
            .badStoredStatus = STATUS_INVALID_PARAMETER},
    Setting{.option = "fkm",
            .name = &names::kFuzzyKernelMatch,
            .form = SF::kSwitch,
            .isProtected = false,
            .invalidValue = "\"%s\" is not a valid value for --fkm\n",
            .writeFailure = "Could not write fuzzy kernel match \"%s\" to config file\n",
            .readFailure = "Could not read fuzzy kernel match from config file\n",
            .deleteFailure = "Could not delete fuzzy kernel match from config file\n"},
    // The sensor reads only 0 and 1, and a get of no value fails: the sensor
    // has no default for it.
    Setting{.option = "logcounters",
            .name = &names::kLogCounters,
            .form = SF::kSwitch,
            .isProtected = false,
            .falseText = "false",
            .trueText = "true",
            .invalidValue = "\"%s\" is not a valid value for --logcounters\n",
            .writeFailure = "Could not write log counters \"%s\" to config file\n",
            .readFailure = "Failed to read log settings from config. Status: 0x%X\n",
            .deleteFailure = "Could not delete log counters from config file\n",
            .badStored = "Unknown log counters value!\n",
            .unsetIsError = true,
            .reloads = true,
            .trueNotice = "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off "
                          "telemetry logging, \n          when you are done collecting telemetry data.\n"},
    Setting{.option = "loginterval", .name = &names::kLogInterval, .form = SF::kSeconds, .isProtected = false},
    Setting{.option = "logduration", .name = &names::kLogDuration, .form = SF::kSeconds, .isProtected = false},
};

bool IsWord(std::span<const std::string_view> words, const char* text) {
  for (std::string_view word : words) {
    if (word == text) {
      return true;
    }
  }
  return false;
}

// Checks `value` and gives the number to store (kSwitch, kNamed); false after
// the rejection's diagnostic.
bool ParseSetting(const Setting& s, const char* value, std::uint32_t* number) {
  switch (s.form) {
    case SF::kText:
      if (std::strlen(value) > s.maxLength) {
        PrintDiagnostic(s.invalidValue, value);
        return false;
      }
      if (!s.words.empty() && !IsWord(s.words, value)) {
        PrintDiagnostic(s.invalidWord, value);
        return false;
      }
      return true;
    case SF::kSwitch:
      if (!ParseSwitchValue(value, number)) {
        PrintDiagnostic(s.invalidValue, value);
        return false;
      }
      return true;
    default: {
      const NamedValue* row = FindNamedValue(s.names, value, s.match);
      if (row == nullptr) {
        PrintDiagnostic(s.invalidValue, value);
        return false;
      }
      *number = row->id;
      return true;
    }
  }
}

// How a set prints its value with -v: a switch as stored, anything else as typed.
void EchoSetting(OptionContext* context, const Setting& s, const char* value, std::uint32_t number) {
  if (s.form == SF::kSwitch) {
    PrintValue(context, "%s=%s", s.option, number != 0 ? s.trueText : s.falseText);
  } else {
    PrintValue(context, "%s=%s", s.option, value);
  }
}

NTSTATUS SetSetting(OptionContext* context, const Setting& s, const char* value) {
  std::uint32_t number = 0;
  if (!ParseSetting(s, value, &number)) {
    return STATUS_INVALID_PARAMETER;
  }
  const NTSTATUS status =
      s.form == SF::kText ? WriteTextValue(context, s.name, value) : WriteU32Value(context, s.name, number);
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic(s.writeFailure, value);
    return status;
  }
  if (s.trueNotice != nullptr && number == 1) {
    std::fputs(s.trueNotice, stdout);  // whatever the verbosity; not a counted result
  }
  if (s.reloads && context->reload != nullptr) {
    context->reload();  // its outcome does not change this result
  }
  if (context->verbose) {
    EchoSetting(context, s, value, number);
  }
  return STATUS_SUCCESS;
}

// Prints a stored number (kSwitch, kNamed).
NTSTATUS PrintStoredNumber(OptionContext* context, const Setting& s, std::uint32_t number) {
  const char* text = nullptr;
  if (s.form == SF::kSwitch) {
    if (number <= 1 || s.badStored == nullptr) {
      text = number != 0 ? s.trueText : s.falseText;
    }
  } else {
    text = NameOfValue(s.names, number);
  }
  if (text != nullptr) {
    PrintValue(context, "%s=%s", s.option, text);
    return STATUS_SUCCESS;
  }
  if (s.badStoredIsValue) {
    PrintValue(context, s.badStored, number);
    return STATUS_SUCCESS;
  }
  PrintDiagnostic("%s", s.badStored);
  return s.badStoredStatus;
}

NTSTATUS ReadSetting(const OptionContext* context, const Setting& s, std::uint32_t* number, std::span<char> text) {
  return s.form == SF::kText ? ReadTextValue(context, s.name, text) : ReadU32Value(context, s.name, number);
}

NTSTATUS GetSetting(OptionContext* context, const Setting& s) {
  std::array<char, kTextBufferSize> text{};
  std::uint32_t number = 0;
  const NTSTATUS status = ReadSetting(context, s, &number, std::span(text).first(s.maxLength + 1));
  if (status == STATUS_NOT_FOUND && !s.unsetIsError) {
    if (s.unsetText != nullptr) {
      PrintValue(context, "%s", s.unsetText);
    } else {
      PrintNotSet(context, s.option);
    }
    return STATUS_SUCCESS;
  }
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic(s.readFailure, static_cast<unsigned>(status));
    return status;
  }
  if (s.form != SF::kText) {
    return PrintStoredNumber(context, s, number);
  }
  PrintValue(context, "%s=%s", s.option, text.data());  // whatever text is stored, unchanged
  return STATUS_SUCCESS;
}

NTSTATUS DeleteSetting(OptionContext* context, const Setting& s) {
  if (s.readBeforeDelete) {
    std::array<char, kTextBufferSize> text{};
    std::uint32_t number = 0;
    const NTSTATUS status = ReadSetting(context, s, &number, std::span(text).first(s.maxLength + 1));
    if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
      PrintDiagnostic(s.readFailure, static_cast<unsigned>(status));
      return status;
    }
  }
  return DeleteSettingValue(context, s.name, s.option, s.deleteFailure);
}

}  // namespace

std::span<const Setting> Settings() { return kSettings; }

const Setting* FindSetting(std::string_view option) {
  for (const Setting& s : kSettings) {
    if (option == s.option) {
      return &s;
    }
  }
  return nullptr;
}

NTSTATUS HandleStoredSetting(OptionContext* context, const char* value) {
  const Setting* s = FindSetting(context->option != nullptr ? context->option : "");
  if (s == nullptr || s->form > SF::kNamed) {
    PrintDiagnostic("--%s has no stored setting\n", context->option != nullptr ? context->option : "");
    return STATUS_INTERNAL_ERROR;  // a table fault: the consistency test catches it
  }
  if (context->set) {
    return SetSetting(context, *s, value);
  }
  if (context->del) {
    return DeleteSetting(context, *s);
  }
  return GetSetting(context, *s);
}
