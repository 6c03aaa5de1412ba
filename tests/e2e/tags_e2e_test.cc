// vantorctl --tags end to end: the format rules, the -f protection of a stored
// list, and the GroupTags record after every run.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

constexpr char kInvalid[] = "Sensor grouping tags have an invalid format\n";
constexpr char kNotSet[] = "Sensor grouping tags are not set.\n";

StoreImage Tags(const std::string& list) { return StoreImage().Add("GroupTags", list); }

TEST(TagsE2e, FormatRules) {
  const std::string full(256, 'a');
  const OptionCase accepted[] = {
      {"every allowed character", {}, {"-s", "-v", "--tags=web,prod/eu-1,team_a,@night,stage.3"},
       "tags=web,prod/eu-1,team_a,@night,stage.3.\n", "", 0, {{"GroupTags", "web,prod/eu-1,team_a,@night,stage.3"}}},
      {"256 bytes", {}, {"-s", "--tags=" + full}, "\n", "", 0, {{"GroupTags", full}}},
  };
  for (const OptionCase& c : accepted) ExpectCase(c);

  for (const std::string& bad : std::vector<std::string>{",a", "a,", "a,,b", "a b", "a:b", "a#b", "", "caf\xC3\xA9",
                                                         "a\x7F", full + "a"}) {
    ExpectCase({bad.c_str(), Tags("old"), {"-s", "-f", "-v", "--tags=" + bad}, "\n", HandlerFailure(kInvalid, "tags"),
                1, {}, true});
  }
}

TEST(TagsE2e, StoredListNeedsForce) {
  const OptionCase cases[] = {
      {"set over a list", Tags("a"), {"-s", "-v", "--tags=b"}, "\n",
       HandlerFailure("Sensor grouping tags are already set, but -f was not specified\n", "tags"), 1, {}, true},
      {"set over a list with -f", Tags("a,b"), {"-s", "-f", "--tags=c"}, "\n", "", 0, {{"GroupTags", "c"}}},
      {"delete of a list", Tags("a"), {"-d", "--tags"}, "\n",
       HandlerFailure("Sensor grouping tags are set, but -f was not specified\n", "tags"), 1, {}, true},
      {"delete of a list with -f", Tags("a"), {"-d", "-f", "-v", "--tags"}, kNotSet, "", 0, {{"GroupTags", {}}}},
      {"delete with nothing stored", {}, {"-d", "-v", "--tags"}, kNotSet, "", 0, {}, true},
      {"get with nothing stored", {}, {"-g", "--tags"}, kNotSet, "", 0, {}, true},
      {"get returns the stored bytes", Tags("x-1,Y.2"), {"-g", "--tags"}, "tags=x-1,Y.2.\n", "", 0, {}, true},
      {"get of a full list", Tags(std::string(256, 'z')), {"-g", "--tags"}, "tags=" + std::string(256, 'z') + ".\n",
       "", 0, {}, true},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

}  // namespace
}  // namespace vt_test
