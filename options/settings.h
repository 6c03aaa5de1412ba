// The table of stored settings: one row per option that keeps a value in the
// configuration store, beside the option table (cli/option_table.cc), which
// holds the option's name, modes and usage texts.
//
// A row's form says how the value is parsed, stored and printed. Settings of
// the forms kText, kSwitch and kNamed are handled entirely by
// HandleStoredSetting from their row's texts; the others (an identifier, the
// provisioning token, the tag list, a flag set, a number of seconds) have
// handlers of their own, which take their value names from the same place
// (options/value_names.h). Adding an ordinary setting is one row here and one
// in the option table, whose handler is HandleStoredSetting.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "options/named_value.h"
#include "options/option_context.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"

enum class SettingForm : std::uint8_t {
  kText,        // the bytes as given, at most `maxLength`; limited to `words` when any
  kSwitch,      // u32 1 or 0 from a switch word (options/switch_value.h)
  kNamed,       // u32 identifier of a row of `names`
  kIdentifier,  // own handler: cid, aid
  kToken,       // own handler: provisioning-token
  kTagList,     // own handler: tags
  kFlagSet,     // own handler: feature, metadata-query
  kSeconds,     // own handler: loginterval, logduration
};

struct Setting {
  const char* option;          // the long option, as printed ("apd")
  const UNICODE_STRING* name;  // stored value name
  SettingForm form;
  bool isProtected;  // replacing or deleting a stored value needs -f

  // kText: the longest accepted value, and the only texts accepted (any when empty).
  std::uint32_t maxLength = 0;
  std::span<const std::string_view> words = {};
  // kSwitch: how a stored 0 and 1 print.
  const char* falseText = "FALSE";
  const char* trueText = "TRUE";
  // kNamed: the (number, name) rows, and how set compares the name.
  std::span<const NamedValue> names = {};
  NameCase match = NameCase::kExact;

  // Diagnostics, each a whole line. The value text fills the %s of
  // invalidValue, invalidWord and writeFailure; the store's status may fill a
  // %X of readFailure.
  const char* invalidValue = nullptr;
  const char* invalidWord = nullptr;  // kText with words: a text within the length that is no word
  const char* writeFailure = nullptr;
  const char* readFailure = nullptr;
  const char* deleteFailure = nullptr;

  // A stored number with no meaning (a kNamed number without a row, a kSwitch
  // number above 1 when set): a diagnostic failing with badStoredStatus, or,
  // with badStoredIsValue, a value printed in its place (the number fills %u).
  // When null, a kSwitch prints any nonzero number as true.
  const char* badStored = nullptr;
  bool badStoredIsValue = false;
  NTSTATUS badStoredStatus = STATUS_UNSUCCESSFUL;

  // What a get prints when nothing is stored; null prints "<option> is not
  // set". With unsetIsError, no stored value fails the get with readFailure.
  const char* unsetText = nullptr;
  bool unsetIsError = false;
  // Read before a delete: a value that cannot be read is not deleted.
  bool readBeforeDelete = false;
  // After a successful set: signal the daemon when --update was given, and
  // print `trueNotice` to standard output when a switch was turned on.
  bool reloads = false;
  const char* trueNotice = nullptr;
};

// Every stored setting, in option-table order.
std::span<const Setting> Settings();

// The row of `option`, or null.
const Setting* FindSetting(std::string_view option);

// The handler of every kText, kSwitch and kNamed setting: the row of the
// option being handled (context->option) says what to do.
//   set:    validates, stores, then as the row says signals the daemon, prints
//           its notice, and with -v prints the value;
//   get:    prints "<option>=<value>" or the row's unset text;
//   delete: removes the value (absence is no error); with -v prints it unset.
// Returns STATUS_INVALID_PARAMETER for a rejected value, the row's status for
// a stored number without meaning, else the store's status; every failure
// after its diagnostic on standard error.
[[nodiscard]] NTSTATUS HandleStoredSetting(OptionContext* context, const char* value);
