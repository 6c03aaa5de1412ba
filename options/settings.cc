#include "options/settings.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "options/stored_value.h"
#include "options/switch_value.h"
#include "options/value_print.h"
#include "options/value_sets.h"

namespace {

using SF = SettingForm;

// The longest text any kText row keeps, plus its terminator.
constexpr std::size_t kTextBufferSize = 256;

// A plain array: GCC 12 places a std::array whose type is deduced in writable
// data, outside the read-only-after-relocation pages.
constexpr Setting kSettings[] = {
    Setting{.id = OptionId::kCid,
            .name = TvConstantString(u"CU"),
            .form = SF::kIdentifier,
            .isProtected = true,
            .summary = "Customer identifier.",
            .readFailure = "Could not read CID from config file\n",
            .protectedSet = "CID is set, but -f was not specified\n",
            .protectedDelete = "CID is set, but -f was not specified\n"},
    Setting{.id = OptionId::kAid,
            .name = TvConstantString(u"AG"),
            .form = SF::kIdentifier,
            .isProtected = true,
            .summary = "Agent identifier.",
            .readFailure = "Could not read AID from config file\n",
            .protectedDelete = "AID is set, but -f was not specified\n"},
    Setting{.id = OptionId::kApd,
            .name = TvConstantString(u"DP"),
            .form = SF::kSwitch,
            .summary = "Disable the application proxy.",
            .invalidValue = "\"%s\" is not a valid value for --apd\n",
            .writeFailure = "Could not write application proxy disable \"%s\" to config file\n",
            .readFailure = "Could not read app proxy disable from config file\n",
            .deleteFailure = "Could not delete application proxy disable from config file\n"},
    Setting{.id = OptionId::kAph,
            .name = TvConstantString(u"APH"),
            .form = SF::kText,
            .summary = "Application proxy host name.",
            .maxLength = 255,
            .invalidValue = "\"%s\" is not a valid value for --aph\n",
            .writeFailure = "Could not write application proxy host \"%s\" to config\n",
            .readFailure = "Could not read application proxy host from config file\n",
            .deleteFailure = "Could not delete application proxy host from config file\n"},
    Setting{.id = OptionId::kApp,
            .name = TvConstantString(u"APP"),
            .form = SF::kText,
            .summary = "Application proxy port.",
            .numeric = true,
            .maxLength = 5,
            .invalidValue = "\"%s\" is not a valid value for --app\n",
            .writeFailure = "Could not write application proxy port \"%s\" to config\n",
            .readFailure = "Could not read application proxy port from config file\n",
            .deleteFailure = "Could not delete application proxy port from config file\n",
            .readBeforeDelete = true},
    Setting{.id = OptionId::kTrace,
            .name = TvConstantString(u"TRACE"),
            .form = SF::kText,
            .summary = "Trace level of the sensor.",
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
    Setting{.id = OptionId::kPcpt,
            .name = TvConstantString(u"PCPT"),
            .form = SF::kNamed,
            .summary = "Preferred connection protocol type.",
            .names = value_sets::kProtocols,
            .match = NameCase::kIgnore,
            .invalidValue = "not a valid pcpt option: %s\n",
            .writeFailure = "Could not write pcpt \"%s\" to config\n",
            .readFailure = "Could not get pcpt from config file\n",
            .badStoredValue = "pcpt=auto",
            .unsetText = "pcpt=auto"},
    Setting{.id = OptionId::kFeature,
            .name = TvConstantString(u"AFLAGS"),
            .form = SF::kFlagSet,
            .summary = "Sensor feature flags; C([]) or C([none]) clears all.",
            .flagWords = value_sets::kFeatureWords,
            .reloads = true},
    // Read by the sensor at its next start: no reload.
    Setting{.id = OptionId::kMetadataQuery,
            .name = TvConstantString(u"IMQF"),
            .form = SF::kFlagSet,
            .summary = "Cloud provider metadata query flags; C([]) or C([enable]) enables every provider.",
            .flagWords = value_sets::kMetadataQueryWords,
            .unsetText = "metadata-query=enable (unset default)"},
    Setting{.id = OptionId::kBilling,
            .name = TvConstantString(u"BT"),
            .form = SF::kNamed,
            .summary = "Billing type.",
            .names = value_sets::kBillingTypes,
            .invalidValue = "\"%s\" is not a valid value for --billing\n",
            .writeFailure = "Could not write billing \"%s\" to config file\n",
            .readFailure = "Could not read billing setting from config file\n",
            .deleteFailure = "Could not delete billing from config file\n",
            .badStoredValue = "WARNING: unknown billing type configured (ID = %u)"},
    Setting{.id = OptionId::kTags,
            .name = TvConstantString(u"GroupTags"),
            .form = SF::kTagList,
            .isProtected = true,
            .summary = "Sensor grouping tags.",
            .readFailure = "Could not read the sensor grouping tags from config file\n",
            .protectedSet = "Sensor grouping tags are already set, but -f was not specified\n",
            .protectedDelete = "Sensor grouping tags are set, but -f was not specified\n"},
    Setting{.id = OptionId::kProvisioningToken,
            .name = TvConstantString(u"PT"),
            .form = SF::kToken,
            .isProtected = true,
            .summary = "Provisioning token.",
            .readFailure = "Could not read provision token from config file\n",
            .protectedSet = "Provisioning token is set, but -f was not specified\n",
            .protectedDelete = "Provisioning token is set, but -f was not specified\n"},
    Setting{.id = OptionId::kBackend,
            .name = TvConstantString(u"SenBackend"),
            .form = SF::kNamed,
            .summary = "Sensor backend.",
            .names = value_sets::kBackends,
            .invalidValue = "\"%s\" is not a valid value for --backend\n",
            .writeFailure = "Could not write backend value \"%s\" to config file\n",
            .readFailure = "Could not read backend value from config file\n",
            .deleteFailure = "Could not delete backend value from config file\n",
            .badStored = "Backend value in config file is invalid\n",
            .badStoredStatus = STATUS_INVALID_PARAMETER},
    Setting{.id = OptionId::kFkm,
            .name = TvConstantString(u"FKM"),
            .form = SF::kSwitch,
            .summary = "Fuzzy kernel match.",
            .invalidValue = "\"%s\" is not a valid value for --fkm\n",
            .writeFailure = "Could not write fuzzy kernel match \"%s\" to config file\n",
            .readFailure = "Could not read fuzzy kernel match from config file\n",
            .deleteFailure = "Could not delete fuzzy kernel match from config file\n"},
    // The sensor reads only 0 and 1, and a get of no value fails: the sensor
    // has no default for it.
    Setting{.id = OptionId::kLogCounters,
            .name = TvConstantString(u"LogCounters"),
            .form = SF::kSwitch,
            .summary = "Telemetry logging.",
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
    Setting{.id = OptionId::kLogInterval, .name = TvConstantString(u"LogInterval"), .form = SF::kSeconds,
            .summary = "Interval of file logging."},
    Setting{.id = OptionId::kLogDuration, .name = TvConstantString(u"LogDuration"), .form = SF::kSeconds,
            .summary = "Duration of file logging; longer than the interval."},
};

// The rows follow the option table's order, each option at most once.
constexpr bool RowsInOptionOrder() {
  for (std::size_t i = 1; i < std::size(kSettings); ++i) {
    if (IndexOf(kSettings[i - 1].id) >= IndexOf(kSettings[i].id)) {
      return false;
    }
  }
  return true;
}
static_assert(RowsInOptionOrder(), "settings rows must follow the option table's order");

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
    case SF::kNamed:
      if (const NamedValue* row = FindNamedValue(s.names, value, s.match); row != nullptr) {
        *number = row->id;
        return true;
      }
      PrintDiagnostic(s.invalidValue, value);
      return false;
    default:
      return false;  // not a generic form: HandleStoredSetting never gets here
  }
}

NTSTATUS ReadSetting(const OptionContext* context, const Setting& s, std::uint32_t* number, std::span<char> text) {
  return s.form == SF::kText ? ReadTextValue(context, &s.name, text) : ReadU32Value(context, &s.name, number);
}

// A protected row's read and -f check before its set or delete.
NTSTATUS GuardSetting(OptionContext* context, const Setting& s) {
  std::array<char, kTextBufferSize> text{};
  std::uint32_t number = 0;
  bool stored = false;
  return GuardStoredValue(context, s, ReadSetting(context, s, &number, std::span(text).first(s.maxLength + 1)),
                          &stored);
}

NTSTATUS SetSetting(OptionContext* context, const Setting& s, const char* value) {
  std::uint32_t number = 0;
  if (!ParseSetting(s, value, &number)) {
    return STATUS_INVALID_PARAMETER;
  }
  const NTSTATUS status =
      s.form == SF::kText ? WriteTextValue(context, &s.name, value) : WriteU32Value(context, &s.name, number);
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic(s.writeFailure, value);
    return status;
  }
  if (s.trueNotice != nullptr && number == 1) {
    PrintText("%s", s.trueNotice);  // whatever the verbosity; not a counted result
  }
  if (s.reloads && context->reload != nullptr) {
    context->reload();  // its outcome does not change this result
  }
  if (context->verbose) {
    // A switch as stored, anything else as typed.
    const char* shown = s.form != SF::kSwitch ? value : number != 0 ? s.trueText : s.falseText;
    PrintValue(context, "%s=%s", context->option, shown);
  }
  return STATUS_SUCCESS;
}

// Prints a stored number (kSwitch, kNamed).
NTSTATUS PrintStoredNumber(OptionContext* context, const Setting& s, std::uint32_t number) {
  const bool meaningless = s.badStored || s.badStoredValue;
  const char* text = s.form == SF::kSwitch ? (number <= 1 || !meaningless ? (number != 0 ? s.trueText : s.falseText)
                                                                          : nullptr)
                                           : NameOfValue(s.names, number);
  if (text != nullptr) {
    PrintValue(context, "%s=%s", context->option, text);
    return STATUS_SUCCESS;
  }
  if (s.badStoredValue) {
    PrintValue(context, s.badStoredValue, number);
    return STATUS_SUCCESS;
  }
  PrintDiagnostic(s.badStored);
  return s.badStoredStatus;
}

NTSTATUS GetSetting(OptionContext* context, const Setting& s) {
  std::array<char, kTextBufferSize> text{};
  std::uint32_t number = 0;
  const NTSTATUS status = ReadSetting(context, s, &number, std::span(text).first(s.maxLength + 1));
  if (status == STATUS_NOT_FOUND && !s.unsetIsError) {
    if (s.unsetText != nullptr) {
      PrintValue(context, "%s", s.unsetText);
    } else {
      PrintNotSet(context, context->option);
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
  PrintValue(context, "%s=%s", context->option, text.data());  // whatever text is stored, unchanged
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
  return DeleteSettingValue(context, &s.name, context->option, s.deleteFailure);
}

}  // namespace

std::span<const Setting> Settings() { return kSettings; }

const Setting* FindSetting(OptionId id) {
  for (const Setting& s : kSettings) {
    if (s.id == id) {
      return &s;
    }
  }
  return nullptr;
}

const Setting& SettingOf(OptionId id) {
  const Setting* s = FindSetting(id);
  return s != nullptr ? *s : kSettings[0];  // every caller's row exists: the consistency test says so
}

NTSTATUS GuardStoredValue(OptionContext* context, const Setting& s, NTSTATUS readStatus, bool* stored) {
  *stored = NT_SUCCESS(readStatus);
  if (!*stored && readStatus != STATUS_NOT_FOUND) {
    PrintDiagnostic(s.readFailure, static_cast<unsigned>(readStatus));
    return readStatus;
  }
  if (*stored && s.isProtected && !context->force && (context->set || context->del)) {
    const Message<>& refusal = context->set ? s.protectedSet : s.protectedDelete;
    if (refusal) {
      PrintDiagnostic(refusal);
    } else {
      PrintDiagnostic("%s is set, but -f was not specified\n", context->option);
    }
    return STATUS_INVALID_PARAMETER;
  }
  return STATUS_SUCCESS;
}

NTSTATUS HandleStoredSetting(OptionContext* context, const char* value) {
  const Setting* s = FindSetting(context->id);
  if (s == nullptr || !IsGenericForm(s->form)) {
    PrintDiagnostic("--%s has no stored setting\n", context->option);
    return STATUS_INTERNAL_ERROR;  // a table fault: the consistency test catches it
  }
  if (s->isProtected && (context->set || context->del)) {
    if (const NTSTATUS status = GuardSetting(context, *s); !NT_SUCCESS(status)) {
      return status;
    }
  }
  if (context->set) {
    return SetSetting(context, *s, value);
  }
  if (context->del) {
    return DeleteSetting(context, *s);
  }
  return GetSetting(context, *s);
}
