// Handler-level tests of --feature and --metadata-query against the in-memory
// store: parsing and printing tables, failure paths the real store cannot be
// made to produce on demand, and the ordering of write and reload signal.
#include <gtest/gtest.h>

#include <string>

#include "options/handlers.h"
#include "options/testing/handler_fakes.h"

namespace {

using vt_test::Fakes;
using vt_test::Mode;
using vt_test::RunHandler;
using vt_test::U32;

class FlagSetTest : public ::testing::Test {
 protected:
  void SetUp() override { vt_test::ResetFakes(); }
};

std::string Repeat(const std::string& piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) {
    text += piece;
  }
  return text;
}

struct ListCase {
  OptionHandler handler;
  const char* key;
  std::string list;
  std::uint32_t mask;
  const char* verboseOut;
};

TEST_F(FlagSetTest, ListsReplaceTheStoredMaskAndPrintWithVerbose) {
  const ListCase cases[] = {
      {HandleFeature, "AFLAGS", "enableLog,disableLogBuffer", 3,
       "feature=enableLog,disableLogBuffer (hex bitmask: 3)."},
      {HandleFeature, "AFLAGS", "enableLog,none", 0, "feature= (hex bitmask: 0)."},
      {HandleFeature, "AFLAGS", "none,enableLog", 1, "feature=enableLog (hex bitmask: 1)."},
      // enableLog + 8 x ",disableLogBuffer" + 11 x ",enableLog": exactly 255 bytes.
      {HandleFeature, "AFLAGS", "enableLog" + Repeat(",disableLogBuffer", 8) + Repeat(",enableLog", 11), 3,
       "feature=enableLog,disableLogBuffer (hex bitmask: 3)."},
      {HandleMetadataQuery, "IMQF", "disable,enableGCP", 0xB,
       "metadata-query=disableAWS,disableAzure,enableGCP,disableOCI (hex bitmask: b)."},
      {HandleMetadataQuery, "IMQF", "disableAWS,disableOCI,enableAWS", 8,
       "metadata-query=enableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 8)."},
      {HandleMetadataQuery, "IMQF", "disableGCP,disable", 0xF, "metadata-query=disable (hex bitmask: f)."},
  };
  ASSERT_EQ(cases[3].list.size(), 255u);
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.list);
    vt_test::ResetFakes();
    Fakes().values[c.key] = U32(0x10000);  // replaced, not merged
    const auto run = RunHandler(c.handler, Mode('s', true), c.list.c_str());
    EXPECT_EQ(run.status, STATUS_SUCCESS);
    EXPECT_EQ(run.out, c.verboseOut);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(Fakes().values[c.key], U32(c.mask));
  }
}

TEST_F(FlagSetTest, RefusedListsLeaveTheStoreAlone) {
  const std::string tooLong = "enableLog" + std::string(247, ',');  // 256 bytes
  const struct {
    OptionHandler handler;
    std::string value;
    NTSTATUS status;
    std::string err;
  } cases[] = {
      {HandleFeature, "disableOsfm", STATUS_UNSUCCESSFUL, "not a valid feature switch: disableOsfm\n"},
      {HandleFeature, "enableLog,,none", STATUS_UNSUCCESSFUL, "not a valid feature switch: \n"},
      {HandleFeature, "EnableLog", STATUS_UNSUCCESSFUL, "not a valid feature switch: EnableLog\n"},
      {HandleFeature, "", STATUS_UNSUCCESSFUL, "not a valid feature switch: \n"},
      {HandleFeature, tooLong, STATUS_INVALID_PARAMETER, "\"" + tooLong + "\" is not a valid value for --feature\n"},
      {HandleMetadataQuery, "enableAWS,", STATUS_UNSUCCESSFUL, "not a valid metadata-query switch: \n"},
      {HandleMetadataQuery, "disableAws", STATUS_UNSUCCESSFUL, "not a valid metadata-query switch: disableAws\n"},
      {HandleMetadataQuery, tooLong, STATUS_INVALID_PARAMETER,
       "\"" + tooLong + "\" is not a valid value for --metadata-query\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    vt_test::ResetFakes();
    Fakes().update = true;
    const auto run = RunHandler(c.handler, Mode('s', true), c.value.c_str());
    EXPECT_EQ(run.status, c.status);
    EXPECT_EQ(run.err, c.err);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(Fakes().events.empty()) << "nothing written, nothing signalled";
  }
}

TEST_F(FlagSetTest, StoredMasksPrintAsWordsAndHex) {
  const struct {
    OptionHandler handler;
    const char* key;
    std::string stored;
    const char* out;
  } cases[] = {
      {HandleFeature, "AFLAGS", U32(0x10001), "feature=enableLog,disableOsfm (hex bitmask: 10001), "},
      {HandleFeature, "AFLAGS", U32(0x30007),
       "feature=enableLog,disableLogBuffer,disableOsfm,emulateUpdate (hex bitmask: 30007), "},
      {HandleFeature, "AFLAGS", U32(0x4), "feature= (hex bitmask: 4), "},
      {HandleFeature, "AFLAGS", std::string("\x02", 1), "feature=disableLogBuffer (hex bitmask: 2), "},
      {HandleMetadataQuery, "IMQF", U32(0), "metadata-query=enable (hex bitmask: 0), "},
      {HandleMetadataQuery, "IMQF", U32(0x1F),
       "metadata-query=disableAWS,disableAzure,disableGCP,disableOCI (hex bitmask: 1f), "},
      {HandleMetadataQuery, "IMQF", U32(0x10),
       "metadata-query=enableAWS,enableAzure,enableGCP,enableOCI (hex bitmask: 10), "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.out);
    vt_test::ResetFakes();
    Fakes().values[c.key] = c.stored;
    const auto run = RunHandler(c.handler, Mode('g', false, false, 2), nullptr);
    EXPECT_EQ(run.status, STATUS_SUCCESS);
    EXPECT_EQ(run.out, c.out);
  }
}

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
  EXPECT_EQ(Fakes().events, std::vector<std::string>{"set AFLAGS"}) << "no signal after a failed write";

  Fakes().setFailures["IMQF"] = STATUS_UNSUCCESSFUL;
  run = RunHandler(HandleMetadataQuery, Mode('s'), "enable");
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Could not write metadata-query \"enable\" to config\n");
}

TEST_F(FlagSetTest, OnlyTheFeatureSetSignalsAndOnlyAfterItsWrite) {
  auto run = RunHandler(HandleFeature, Mode('s'), "enableLog");
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(Fakes().events, std::vector<std::string>{"set AFLAGS"});

  vt_test::ResetFakes();
  Fakes().update = true;
  run = RunHandler(HandleFeature, Mode('s'), "enableLog");
  EXPECT_EQ(run.status, STATUS_SUCCESS);
  EXPECT_EQ(Fakes().events, (std::vector<std::string>{"set AFLAGS", "signal"}));

  vt_test::ResetFakes();
  Fakes().update = true;
  run = RunHandler(HandleMetadataQuery, Mode('s'), "disable");
  EXPECT_EQ(run.status, STATUS_SUCCESS);
  EXPECT_EQ(Fakes().events, std::vector<std::string>{"set IMQF"});
}

}  // namespace
