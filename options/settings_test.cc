// The settings table against the option table and the value tables: a row
// missing, doubled or pointing at the wrong handler would only show as a
// wrong answer for that one option.
#include "options/settings.h"

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <string>
#include <string_view>

#include "cli/option_table.h"
#include "options/value_sets.h"

namespace {

std::string NameText(const UNICODE_STRING& name) {
  std::string text;
  for (std::size_t i = 0; i < name.Length / sizeof(WCHAR); ++i) text.push_back(static_cast<char>(name.Buffer[i]));
  return text;
}

// The rows' order against the option table is checked when they are compiled;
// what a row must hold for the code that reads it is checked here.
TEST(SettingsTable, MatchesTheOptionTable) {
  std::set<std::string> names;
  for (const Setting& s : Settings()) {
    const OptionEntry& row = OptionRow(s.id);
    SCOPED_TRACE(row.longOption.name);
    EXPECT_TRUE(names.insert(NameText(s.name)).second) << "stored value name used twice";
    EXPECT_EQ(row.handler == HandleStoredSetting, IsGenericForm(s.form)) << "handler and form disagree";
    const bool sets = (row.allowedModes & kModeSet) != 0;
    const bool deletes = (row.allowedModes & kModeDelete) != 0;
    if (s.isProtected) {
      EXPECT_TRUE(s.readFailure);
      EXPECT_EQ(static_cast<bool>(s.protectedSet), sets);
      EXPECT_EQ(static_cast<bool>(s.protectedDelete), deletes);
    }
    if (!IsGenericForm(s.form)) continue;
    EXPECT_TRUE(s.invalidValue);
    EXPECT_TRUE(s.writeFailure);
    EXPECT_TRUE(s.readFailure);
    EXPECT_EQ(static_cast<bool>(s.deleteFailure), deletes);
    EXPECT_EQ(static_cast<bool>(s.invalidWord), !s.words.empty());
    EXPECT_EQ(s.form == SettingForm::kNamed, !s.names.empty());
    if (s.form == SettingForm::kText) {
      EXPECT_GT(s.maxLength, 0u);
      EXPECT_LT(s.maxLength, 256u) << "larger than the handler's read buffer";
    }
    if (s.form == SettingForm::kNamed) {
      EXPECT_TRUE(s.badStored || s.badStoredValue) << "a stored number without a name prints nothing";
    }
  }
  // Every option that keeps a value has a row; status queries and the mode
  // switches have none.
  for (const OptionEntry& entry : OptionTable()) {
    const std::string_view option = entry.longOption.name;
    const bool query = option == "version" || option == "systags" || option.starts_with("rfm-");
    EXPECT_EQ(FindSetting(entry.id) != nullptr, entry.handler != nullptr && !query) << option;
  }
}

// The get of a flag set prints words derived from the same tables the set
// parses: every provider's disable word needs its enable word.
TEST(SettingsTable, FlagWordsPair) {
  using value_sets::WordAction;
  for (const auto& word : value_sets::kMetadataQueryWords) {
    if (word.action != WordAction::kSetBits || !std::has_single_bit(word.bits)) continue;
    int enables = 0;
    for (const auto& other : value_sets::kMetadataQueryWords) {
      enables += other.action == WordAction::kClearBits && other.bits == word.bits;
    }
    EXPECT_EQ(enables, 1) << word.word;
  }
  std::uint32_t seen = 0;
  for (const auto& word : value_sets::kFeatureWords) {
    EXPECT_EQ(seen & word.bits, 0u) << word.word << " shares a bit";
    seen |= word.bits;
  }
}

}  // namespace
