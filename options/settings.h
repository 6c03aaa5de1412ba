// The table of stored settings (its rows: options/settings_table.h): one
// constant row per option that keeps a value in the configuration store, in
// option-table order, each naming its option by its OptionId
// (options/option_id.h); the option table (cli/option_table.cc) holds the
// option's name, modes and usage texts. A rule a row declares is enforced by
// the code that reads the row:
//   - `form`: how the value is parsed, stored and printed. The generic forms
//     (IsGenericForm) are handled entirely by HandleStoredSetting from the
//     row; the others have handlers of their own that take everything the row
//     declares from it.
//   - `name`: the stored value name, used by every handler of the option.
//   - `isProtected`: a stored value is replaced or deleted only with -f; every
//     handler of a protected row goes through GuardStoredValue.
//   - `words`, `names`, `flagWords`: the closed set of values. The parser
//     validates against it, and completion, the manual page and the Ansible
//     words list it (ForEachValueWord).
//   - `reloads`: a successful set signals the daemon when --update was given.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "options/message.h"
#include "options/named_value.h"
#include "options/option_context.h"
#include "options/option_id.h"
#include "options/value_sets.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"

enum class SettingForm : std::uint8_t {
  kText,        // the bytes as given, at most `maxLength`; limited to `words` when any
  kSwitch,      // u32 1 or 0 from a switch word (options/switch_value.h)
  kNamed,       // u32 identifier of a row of `names`
  kIdentifier,  // 16 bytes from a checksum CID (options/identity.cc)
  kToken,       // u64 provisioning token (options/identity.cc)
  kTagList,     // text of comma-separated tags (options/tags.cc)
  kFlagSet,     // u32 mask from a list of `flagWords` (options/flag_sets.cc)
  kSeconds,     // u32 number of seconds, checked against its partner (options/telemetry.cc)
};

// Whether HandleStoredSetting handles the form from the row alone. Every form
// is named here, so a new one is placed on purpose (the compiler asks).
constexpr bool IsGenericForm(SettingForm form) {
  switch (form) {
    case SettingForm::kText:
    case SettingForm::kSwitch:
    case SettingForm::kNamed:
      return true;
    case SettingForm::kIdentifier:
    case SettingForm::kToken:
    case SettingForm::kTagList:
    case SettingForm::kFlagSet:
    case SettingForm::kSeconds:
      return false;
  }
  return false;
}

struct Setting {
  OptionId id;
  UNICODE_STRING name;  // stored value name
  SettingForm form;
  bool isProtected = false;  // replacing or deleting a stored value needs -f
  // What the setting is, one sentence for the documentation of the Ansible
  // module's parameter (the rest of it follows from the row).
  const char* summary = nullptr;
  // kText holding a number (a port): a playbook gives it as a number.
  bool numeric = false;

  // kText: the longest accepted value, and the only texts accepted (any when empty).
  std::uint32_t maxLength = 0;
  std::span<const std::string_view> words = {};
  // kSwitch: how a stored 0 and 1 print.
  const char* falseText = "FALSE";
  const char* trueText = "TRUE";
  // kNamed: the (number, name) rows, and how set compares the name.
  std::span<const NamedValue> names = {};
  NameCase match = NameCase::kExact;
  // kFlagSet: the words of the list.
  std::span<const value_sets::FlagWord> flagWords = {};

  // Diagnostics, each a whole line. The value text fills the %s of
  // invalidValue, invalidWord and writeFailure; the store's status may fill a
  // %X of readFailure.
  Message<const char*> invalidValue = nullptr;
  Message<const char*> invalidWord = nullptr;  // kText with words: a text within the length that is no word
  Message<const char*> writeFailure = nullptr;
  Message<unsigned> readFailure = nullptr;
  Message<> deleteFailure = nullptr;
  // A protected row's refusals without -f.
  Message<> protectedSet = nullptr;
  Message<> protectedDelete = nullptr;

  // A stored number with no meaning (a kNamed number without a row, a kSwitch
  // number above 1): printed in the value's place (badStoredValue, the number
  // fills %u), or a diagnostic failing with badStoredStatus. When both are
  // null, a kSwitch prints any nonzero number as true.
  Message<unsigned> badStoredValue = nullptr;
  Message<> badStored = nullptr;
  NTSTATUS badStoredStatus = STATUS_UNSUCCESSFUL;

  // What a get prints when nothing is stored; null prints "<option> is not
  // set". With unsetIsError, no stored value fails the get: with unsetFailure
  // when the row has one, else with readFailure and the store's status.
  const char* unsetText = nullptr;
  bool unsetIsError = false;
  Message<> unsetFailure = nullptr;
  // A setting that can be set but not deleted: the word whose stored value
  // means to the sensor what an empty slot means (what the Ansible module
  // writes to undo a first set). One of the row's words.
  const char* emptyWord = nullptr;
  // Read before a delete: a value that cannot be read is not deleted.
  bool readBeforeDelete = false;
  // After a successful set: signal the daemon when --update was given, and
  // print `trueNotice` to standard output when a switch was turned on.
  bool reloads = false;
  const char* trueNotice = nullptr;
};

// The get's buffer for a kText value: every row's maxLength stays below it.
inline constexpr std::size_t kTextBufferSize = 256;

// Every stored setting, in option-table order.
std::span<const Setting> Settings();

// The row of `id`, or null for an option that stores nothing.
const Setting* FindSetting(OptionId id);
// The row of `id`, which must exist (the handlers of stored settings).
const Setting& SettingOf(OptionId id);

// Calls emit(std::string_view) for each word the setting takes from a closed
// set, in the row's order; a free-form value (host, port, identifiers, tags,
// numbers) emits none.
template <typename Emit>
constexpr void ForEachValueWord(const Setting& s, Emit&& emit) {
  switch (s.form) {
    case SettingForm::kSwitch:
      for (std::string_view word : value_sets::kSwitchWords) emit(word);
      break;
    case SettingForm::kText:
      for (std::string_view word : s.words) emit(word);
      break;
    case SettingForm::kNamed:
      for (const NamedValue& value : s.names) emit(std::string_view(value.name));
      break;
    case SettingForm::kFlagSet:
      for (const value_sets::FlagWord& word : s.flagWords) {
        if (word.action != value_sets::WordAction::kShowOnly) emit(word.word);
      }
      break;
    default:
      break;
  }
}

// Whether the setting's value is a comma-separated list of its words.
constexpr bool TakesWordList(const Setting& s) { return s.form == SettingForm::kFlagSet; }

// The start of every handler of a protected setting, after its read: a failed
// read (other than nothing stored) is reported with the row's readFailure; a
// stored value (*stored) is not replaced or deleted without -f (the row's
// protectedSet or protectedDelete). STATUS_SUCCESS to go on, else the failure
// after its diagnostic. Rows that are not protected pass the -f check.
[[nodiscard]] NTSTATUS GuardStoredValue(OptionContext* context, const Setting& s, NTSTATUS readStatus, bool* stored);

// The handler of every setting of a generic form: the row of the option being
// handled (context->id) says what to do.
//   set:    validates, stores, then as the row says signals the daemon, prints
//           its notice, and with -v prints the value;
//   get:    prints "<option>=<value>" or the row's unset text;
//   delete: removes the value (absence is no error); with -v prints it unset.
// Returns STATUS_INVALID_PARAMETER for a rejected value, the row's status for
// a stored number without meaning, else the store's status; every failure
// after its diagnostic on standard error.
[[nodiscard]] NTSTATUS HandleStoredSetting(OptionContext* context, const char* value);
