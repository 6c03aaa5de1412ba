// The option table's own consistency and the usage text generated from it.
#include "cli/option_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>

#include "cli/completion.h"
#include "cli/manpage.h"
#include "cli/usage.h"

namespace {

// Runs `print` against a memory stream and returns what it wrote.
template <typename Print>
std::string Capture(Print print) {
  char* buffer = nullptr;
  std::size_t size = 0;
  FILE* stream = open_memstream(&buffer, &size);
  EXPECT_NE(stream, nullptr);
  print(stream);
  std::fclose(stream);
  std::string text(buffer, size);
  std::free(buffer);
  return text;
}

// What the driver and the usage text rely on, for every row (the rows' order
// and getopt values are checked when the table is compiled): names are unique
// and only the marker rows (update, help) go without a handler.
TEST(OptionTable, RowsAreConsistent) {
  std::set<std::string> names;
  std::set<std::string> withoutHandler;
  for (const OptionEntry& row : OptionTable()) {
    const std::string name = row.longOption.name;
    SCOPED_TRACE(name);
    EXPECT_TRUE(names.insert(name).second) << "name used twice";
    EXPECT_TRUE(row.longOption.has_arg == no_argument || row.longOption.has_arg == optional_argument);
    EXPECT_EQ(row.longOption.flag, nullptr);
    EXPECT_EQ(row.allowedModes & ~(kModeSet | kModeGet | kModeDelete | kModeHelp), 0);
    if (row.handler == nullptr) {
      withoutHandler.insert(name);
    } else {
      EXPECT_NE(row.allowedModes & (kModeSet | kModeGet | kModeDelete), 0);
    }
  }
  EXPECT_EQ(withoutHandler, (std::set<std::string>{"update", "help"}));
  EXPECT_EQ(OptionRow(OptionId::kHelp).allowedModes, kModeHelp);
}

// The manual page lists every option the usage text shows, and no other.
TEST(ManPage, ListsEveryVisibleOption) {
  const std::string page = Capture([](FILE* s) { PrintManPage(s, "0"); });
  for (const OptionEntry& row : OptionTable()) {
    const bool visible = UsageBlockText(row, kModeGet | kModeDelete | kModeHelp) != nullptr ||
                         UsageBlockText(row, kModeSet) != nullptr;
    std::string entry = std::string(".B \\-\\-") + row.longOption.name + "\n";
    for (std::size_t at = entry.find('-', 7); at != std::string::npos; at = entry.find('-', at + 2)) {
      entry.insert(at, "\\");  // a dash inside the name is escaped too
    }
    EXPECT_EQ(page.find(entry) != std::string::npos, visible) << row.longOption.name;
  }
  EXPECT_NE(page.find("Accepted values: \\fBnone\\fR, \\fBdebug\\fR"), std::string::npos);
}

// The generated completion, sourced by bash and asked what follows the words.
TEST(Completion, OffersWhatTheModesUsageLists) {
  char path[] = "/tmp/vantorctl_completion.XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  FILE* script = fdopen(fd, "w");
  ASSERT_NE(script, nullptr);
  PrintBashCompletion(script);
  std::fclose(script);
  struct Case {
    const char* words;
    const char* offered;
  };
  const Case cases[] = {
      {"vantorctl -s --tr", "--trace=\n"},          // value-taking in set mode
      {"vantorctl -sfv --up", "--update\n"},        // mode inside a cluster; no value
      {"vantorctl -g --tr", "--trace\n"},           // get ignores values
      {"vantorctl -g --fk", ""},                     // hidden from the usage, hidden here
      {"vantorctl -d --pc", ""},                     // pcpt cannot be deleted
      {"vantorctl -d --a", "--aid\n--apd\n--aph\n--app\n"},
      {"vantorctl --he", "--help\n"},
      // Values of a closed set, after "--name=" in set mode only.
      {"vantorctl -s --trace=in", "info\n"},
      {"vantorctl -s --apd=", "true\nfalse\n"},
      {"vantorctl -s -f --feature=enableLog,dis", "enableLog,disableLogBuffer\n"},
      {"vantorctl -s --metadata-query=disableAWS,enableA", "disableAWS,enableAWS\ndisableAWS,enableAzure\n"},
      {"vantorctl -s --aph=pro", ""},  // a free-form value
  };
  for (const Case& c : cases) {
    const std::string command = std::string("bash -c 'source ") + path + "; COMP_LINE=\"" + c.words +
                                "\"; COMP_POINT=${#COMP_LINE}; COMP_WORDS=(" + c.words +
                                "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vantorctl; "
                                "printf \"%s\\n\" \"${COMPREPLY[@]}\" | grep .'";
    FILE* out = popen(command.c_str(), "r");
    ASSERT_NE(out, nullptr);
    std::string offered;
    char buffer[256];
    while (std::fgets(buffer, sizeof(buffer), out) != nullptr) {
      offered += buffer;
    }
    pclose(out);
    EXPECT_EQ(offered, c.offered) << c.words;
  }
  unlink(path);
}

}  // namespace
