// Handler-level tests of --tags against the in-memory store: the format rules
// byte by byte, and the read, write and delete failure paths.
#include <gtest/gtest.h>

#include <string>

#include "options/handlers.h"
#include "options/testing/handler_fakes.h"

namespace {

using vt_test::Fakes;
using vt_test::Mode;
using vt_test::RunHandler;

class TagsTest : public ::testing::Test {
 protected:
  void SetUp() override { vt_test::ResetFakes(); }
};

TEST_F(TagsTest, FormatRules) {
  const std::string full(256, 'a');
  const struct {
    std::string value;
    bool accepted;
  } cases[] = {
      {"web,prod/eu-1,team_a,@night,stage.3", true},
      {"a", true},
      {"Z9", true},
      {full, true},
      {full + "a", false},
      {"", false},
      {",", false},
      {",a", false},
      {"a,", false},
      {"a,,b", false},
      {"a b", false},
      {"a:b", false},
      {"a#b", false},
      {"a+b", false},
      {"a\tb", false},
      {"caf\xC3\xA9", false},
      {"a\x7F", false},
      {"\xFF", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    vt_test::ResetFakes();
    const auto run = RunHandler(HandleTags, Mode('s', true), c.value.c_str());
    if (c.accepted) {
      EXPECT_EQ(run.status, STATUS_SUCCESS);
      EXPECT_EQ(run.out, "tags=" + c.value + ".");
      EXPECT_EQ(Fakes().values["GroupTags"], c.value);
    } else {
      EXPECT_EQ(run.status, STATUS_INVALID_PARAMETER_1);
      EXPECT_EQ(run.err, "Sensor grouping tags have an invalid format\n");
      EXPECT_EQ(run.out, "");
      EXPECT_TRUE(Fakes().events.empty());
    }
  }
}

TEST_F(TagsTest, FullStoredListPrintsWhole) {
  const std::string full(255, 'x');
  Fakes().values["GroupTags"] = full + "y";
  const auto run = RunHandler(HandleTags, Mode('g'), nullptr);
  EXPECT_EQ(run.out, "tags=" + full + "y.");
}

TEST_F(TagsTest, ReadFailureStopsEveryMode) {
  for (const char mode : {'g', 's', 'd'}) {
    SCOPED_TRACE(mode);
    vt_test::ResetFakes();
    Fakes().getFailures["GroupTags"] = STATUS_DATA_ERROR;
    const auto run = RunHandler(HandleTags, Mode(mode, true, true), "a");
    EXPECT_EQ(run.status, STATUS_DATA_ERROR);
    EXPECT_EQ(run.err, "Could not read the sensor grouping tags from config file\n");
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Fakes().events.empty());
  }
}

TEST_F(TagsTest, WriteAndDeleteFailuresCarryTheStoreStatus) {
  Fakes().setFailures["GroupTags"] = STATUS_INSUFFICIENT_RESOURCES;
  auto run = RunHandler(HandleTags, Mode('s', true), "a,b");
  EXPECT_EQ(run.status, STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(run.err, "Could not write the sensor grouping tags 'a,b' to config file\n");
  EXPECT_EQ(run.out, "");

  Fakes().values["GroupTags"] = "a";
  Fakes().deleteFailures["GroupTags"] = STATUS_UNSUCCESSFUL;
  run = RunHandler(HandleTags, Mode('d', true, true), nullptr);
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Could not delete the sensor grouping tags from config file\n");
  EXPECT_EQ(run.out, "");
}

TEST_F(TagsTest, ListVanishingBeforeTheDeleteStillSucceeds) {
  Fakes().values["GroupTags"] = "a";
  Fakes().deleteFailures["GroupTags"] = STATUS_NOT_FOUND;
  const auto run = RunHandler(HandleTags, Mode('d', true, true), nullptr);
  EXPECT_EQ(run.status, STATUS_SUCCESS);
  EXPECT_EQ(run.out, "Sensor grouping tags are not set.");
}

}  // namespace
