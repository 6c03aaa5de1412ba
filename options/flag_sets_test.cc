// --feature and --metadata-query against the in-memory store: the failure paths
// the real store cannot be made to produce on demand, and when the reload signal
// is sent. The word tables and printing are covered end to end.
#include <gtest/gtest.h>

#include "options/handlers.h"
#include "options/testing/handler_fakes.h"

namespace {

using vt_test::Fakes;
using vt_test::Mode;
using vt_test::RunHandler;
using Events = std::vector<std::string>;

class FlagSetTest : public ::testing::Test {
 protected:
  void SetUp() override { vt_test::ResetFakes(); }
};

TEST_F(FlagSetTest, StoreFailuresAreReportedWithTheStoreStatus) {
  Fakes().getFailures["AFLAGS"] = STATUS_DATA_ERROR;
  auto run = RunHandler(HandleFeature, Mode('g'), nullptr);
  EXPECT_EQ(run.status, STATUS_DATA_ERROR);
  EXPECT_EQ(run.err, "Could not get feature from config file c000003e\n");
  EXPECT_EQ(run.out, "");

  Fakes().values["IMQF"] = "12345";  // longer than the 4-byte form
  run = RunHandler(HandleMetadataQuery, Mode('g'), nullptr);
  EXPECT_EQ(run.status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(run.err, "Could not get metadata-query from config file c0000023\n");

  Fakes().update = true;
  Fakes().setFailures["AFLAGS"] = STATUS_INSUFFICIENT_RESOURCES;
  run = RunHandler(HandleFeature, Mode('s', true), "enableLog");
  EXPECT_EQ(run.status, STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(run.err, "Could not write feature \"enableLog\" to config\n");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Fakes().events, Events{"set AFLAGS"}) << "no signal after a failed write";

  Fakes().setFailures["IMQF"] = STATUS_UNSUCCESSFUL;
  run = RunHandler(HandleMetadataQuery, Mode('s'), "enable");
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Could not write metadata-query \"enable\" to config\n");
}

TEST_F(FlagSetTest, OnlyASuccessfulFeatureSetWithUpdateSignals) {
  const std::string tooLong(256, 'a');
  const struct {
    OptionHandler handler;
    const char* value;
    bool update;
    Events events;
  } cases[] = {
      {HandleFeature, "enableLog", false, {"set AFLAGS"}},
      {HandleFeature, "enableLog", true, {"set AFLAGS", "signal"}},
      {HandleFeature, "enableLog,bogus", true, {}},
      {HandleFeature, tooLong.c_str(), true, {}},
      {HandleMetadataQuery, "disable", true, {"set IMQF"}},
  };
  for (const auto& c : cases) {
    vt_test::ResetFakes();
    Fakes().update = c.update;
    (void)RunHandler(c.handler, Mode('s'), c.value);
    EXPECT_EQ(Fakes().events, c.events) << c.value;
  }
}

}  // namespace
