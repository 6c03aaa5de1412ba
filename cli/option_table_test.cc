// The completion generated from the option table, run by bash. (The table's own
// consistency is checked when it is compiled; the usage text and the manual
// page are pinned as data: tests/cases/cli.t, tests/cases/vantorctl.8.)
#include "cli/option_table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "cli/completion.h"

namespace {

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
