#include "options/settings.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "options/stored_value.h"
#include "options/switch_value.h"
#include "options/value_print.h"
#include "options/settings_table.h"
#include "options/value_sets.h"

namespace {

using SF = SettingForm;

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

// A row's stored value: its text (read up to the row's maxLength, so a longer one fails) or number.
struct StoredSetting {
  std::array<char, kTextBufferSize> text{};
  std::uint32_t number = 0;

  [[nodiscard]] NTSTATUS Read(const Setting& s) {
    return s.form == SF::kText ? ReadTextValue(&s.name, std::span(text).first(s.maxLength + 1))
                               : ReadU32Value(&s.name, &number);
  }
};

// A protected row's read and -f check before its set or delete.
NTSTATUS GuardSetting(OptionContext* context, const Setting& s) {
  StoredSetting value;
  bool stored = false;
  return GuardStoredValue(context, s, value.Read(s), &stored);
}

NTSTATUS SetSetting(OptionContext* context, const Setting& s, const char* value) {
  std::uint32_t number = 0;
  if (!ParseSetting(s, value, &number)) {
    return STATUS_INVALID_PARAMETER;
  }
  const NTSTATUS status =
      s.form == SF::kText ? WriteTextValue(&s.name, value) : WriteU32Value(&s.name, number);
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
  StoredSetting value;
  const NTSTATUS status = value.Read(s);
  if (status == STATUS_NOT_FOUND && s.unsetFailure) {
    PrintDiagnostic(s.unsetFailure);
    return status;
  }
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
    return PrintStoredNumber(context, s, value.number);
  }
  PrintValue(context, "%s=%s", context->option, value.text.data());  // whatever text is stored, unchanged
  return STATUS_SUCCESS;
}

NTSTATUS DeleteSetting(OptionContext* context, const Setting& s) {
  if (s.readBeforeDelete) {
    StoredSetting value;
    const NTSTATUS status = value.Read(s);
    if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
      PrintDiagnostic(s.readFailure, static_cast<unsigned>(status));
      return status;
    }
  }
  return DeleteSettingValue(context, &s.name, context->option, s.deleteFailure);
}

}  // namespace

std::span<const Setting> Settings() { return settings_table::kSettings; }

const Setting* FindSetting(OptionId id) {
  for (const Setting& s : settings_table::kSettings) {
    if (s.id == id) {
      return &s;
    }
  }
  return nullptr;
}

const Setting& SettingOf(OptionId id) {
  return *FindSetting(id);  // every caller's row exists: checked when cli/option_table.cc is compiled
}

NTSTATUS GuardStoredValue(OptionContext* context, const Setting& s, NTSTATUS readStatus, bool* stored) {
  *stored = NT_SUCCESS(readStatus);
  if (!*stored && readStatus != STATUS_NOT_FOUND) {
    PrintDiagnostic(s.readFailure, static_cast<unsigned>(readStatus));
    return readStatus;
  }
  if (*stored && s.isProtected && !context->force && (context->set || context->del)) {
    // Every protected row has both refusals of the modes its option takes
    // (checked when cli/option_table.cc is compiled).
    PrintDiagnostic(context->set ? s.protectedSet : s.protectedDelete);
    return STATUS_INVALID_PARAMETER;
  }
  return STATUS_SUCCESS;
}

NTSTATUS HandleStoredSetting(OptionContext* context, const char* value) {
  // The option's row is of a generic form: checked when cli/option_table.cc is compiled.
  const Setting& s = SettingOf(context->id);
  if (s.isProtected && (context->set || context->del)) {
    if (const NTSTATUS status = GuardSetting(context, s); !NT_SUCCESS(status)) {
      return status;
    }
  }
  if (context->set) {
    return SetSetting(context, s, value);
  }
  if (context->del) {
    return DeleteSetting(context, s);
  }
  return GetSetting(context, s);
}
