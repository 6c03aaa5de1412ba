// --tags against the in-memory store: read, write and delete failures, which the
// real store cannot be made to produce on demand. Formats and the -f rules are
// covered end to end.
#include <gtest/gtest.h>

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

TEST_F(TagsTest, ReadFailureStopsEveryMode) {
  for (const char mode : {'g', 's', 'd'}) {
    vt_test::ResetFakes();
    Fakes().getFailures["GroupTags"] = STATUS_DATA_ERROR;
    const auto run = RunHandler(HandleTags, Mode(mode, true, true), "a");
    EXPECT_EQ(run.status, STATUS_DATA_ERROR) << mode;
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

  // Gone between the read and the delete: the list is absent, which is success.
  Fakes().deleteFailures["GroupTags"] = STATUS_NOT_FOUND;
  run = RunHandler(HandleTags, Mode('d', true, true), nullptr);
  EXPECT_EQ(run.status, STATUS_SUCCESS);
  EXPECT_EQ(run.out, "Sensor grouping tags are not set.");
}

}  // namespace
