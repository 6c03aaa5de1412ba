// vantorctl --tags end to end: the format rules, the -f protection of a stored
// list, and the GroupTags record after every run.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

StoreImage Tags(const std::string& list) { return StoreImage().Add("GroupTags", list); }

using TagsE2e = ::vt_test::SandboxTest;

TEST_F(TagsE2e, FormatAndForce) {
  const std::string full(256, 'a');
  const std::string notSet = "Sensor grouping tags are not set.\n";
  std::vector<OptionCase> cases = {
      {"every allowed character", {}, {"-s", "-v", "--tags=web,prod/eu-1,team_a,@night,stage.3"},
       "tags=web,prod/eu-1,team_a,@night,stage.3.\n", "", 0, {{"GroupTags", "web,prod/eu-1,team_a,@night,stage.3"}}},
      {"256 bytes", {}, {"-s", "--tags=" + full}, "\n", "", 0, {{"GroupTags", full}}},
      Refused("set over a list", Tags("a"), {"-s", "-v", "--tags=b"},
              HandlerFailure("Sensor grouping tags are already set, but -f was not specified\n", "tags")),
      {"set over a list with -f", Tags("a,b"), {"-s", "-f", "--tags=c"}, "\n", "", 0, {{"GroupTags", "c"}}},
      Refused("delete of a list", Tags("a"), {"-d", "--tags"},
              HandlerFailure("Sensor grouping tags are set, but -f was not specified\n", "tags")),
      {"delete of a list with -f", Tags("a"), {"-d", "-f", "-v", "--tags"}, notSet, "", 0, {{"GroupTags", {}}}},
      Shows("delete with nothing stored", {}, {"-d", "-v", "--tags"}, notSet),
      Shows("get with nothing stored", {}, {"-g", "--tags"}, notSet),
      Shows("get returns the stored bytes", Tags("x-1,Y.2"), {"-g", "--tags"}, "tags=x-1,Y.2.\n"),
      Shows("get of a full list", Tags(full), {"-g", "--tags"}, "tags=" + full + ".\n"),
  };
  for (const std::string& bad : std::initializer_list<std::string>{",a", "a,", "a,,b", "a b", "a:b", "a#b", "",
                                                                  "caf\xC3\xA9", "a\x7F", full + "a"}) {
    cases.push_back(Refused(bad, Tags("old"), {"-s", "-f", "-v", "--tags=" + bad},
                            HandlerFailure("Sensor grouping tags have an invalid format\n", "tags")));
  }
  ExpectCases(cases);
}

}  // namespace
}  // namespace vt_test
