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

std::string NameText(const UNICODE_STRING* name) {
  std::string text;
  for (std::size_t i = 0; i < name->Length / sizeof(WCHAR); ++i) text.push_back(static_cast<char>(name->Buffer[i]));
  return text;
}

bool IsGeneric(SettingForm form) { return form <= SettingForm::kNamed; }

TEST(SettingsTable, MatchesTheOptionTable) {
  std::set<std::string> names;
  std::set<std::string_view> options;
  for (const Setting& s : Settings()) {
    SCOPED_TRACE(s.option);
    EXPECT_TRUE(names.insert(NameText(s.name)).second) << "stored value name used twice";
    EXPECT_TRUE(options.insert(s.option).second) << "option has two rows";
    const OptionEntry* row = nullptr;
    for (const OptionEntry& entry : OptionTable()) {
      if (s.option == std::string_view(entry.longOption.name)) row = &entry;
    }
    ASSERT_NE(row, nullptr) << "no option row";
    EXPECT_EQ(row->handler == HandleStoredSetting, IsGeneric(s.form)) << "handler and form disagree";
    if (!IsGeneric(s.form)) continue;
    const bool deletes = (row->allowedModes & kModeDelete) != 0;
    EXPECT_NE(s.invalidValue, nullptr);
    EXPECT_NE(s.writeFailure, nullptr);
    EXPECT_NE(s.readFailure, nullptr);
    EXPECT_EQ(s.deleteFailure != nullptr, deletes);
    EXPECT_EQ(s.invalidWord != nullptr, !s.words.empty());
    EXPECT_EQ(s.form == SettingForm::kNamed, !s.names.empty());
    if (s.form == SettingForm::kText) {
      EXPECT_GT(s.maxLength, 0u);
      EXPECT_LT(s.maxLength, 256u) << "larger than the handler's read buffer";
    }
    if (s.badStoredIsValue || s.form == SettingForm::kNamed) {
      EXPECT_NE(s.badStored, nullptr);
    }
  }
  // Every option that keeps a value has a row; status queries and the mode
  // switches have none.
  for (const OptionEntry& entry : OptionTable()) {
    const std::string_view option = entry.longOption.name;
    const bool query = option == "version" || option == "systags" || option.starts_with("rfm-");
    EXPECT_EQ(FindSetting(option) != nullptr, entry.handler != nullptr && !query) << option;
  }
}

// The get of a flag set prints words derived from the same tables the set
// parses: every provider's disable word needs its enable word.
TEST(SettingsTable, FlagWordsPair) {
  using value_sets::WordAction;
  for (const auto& word : value_sets::kMetadataQueryWords) {
    if (word.action != WordAction::SetBits || !std::has_single_bit(word.bits)) continue;
    int enables = 0;
    for (const auto& other : value_sets::kMetadataQueryWords) {
      enables += other.action == WordAction::ClearBits && other.bits == word.bits;
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
