// RFM history reads over the in-memory store fake: the cases a real store file
// cannot easily produce (failed reads, partial entries). The printed texts are
// checked end to end in tests/e2e/status_e2e_test.cc.
#include "options/status_queries.h"

#include <gtest/gtest.h>

#include <string>

#include "options/handlers.h"
#include "options/testing/handler_fakes.h"
#include "runtime/pool.h"

namespace {

using vt_test::Fakes;
using vt_test::Mode;
using vt_test::RunHandler;
using vt_test::U32;

std::string Entry(std::uint32_t backend, std::uint32_t inRfm, std::uint32_t reason) {
  return U32(backend) + U32(inRfm) + U32(reason);
}

class RfmTest : public ::testing::Test {
 protected:
  void SetUp() override { vt_test::ResetFakes(); }
  void StoreHistory(const std::string& bytes) { Fakes().values["RFMHistory"] = bytes; }
};

TEST_F(RfmTest, ReadHistoryDecodesEntriesAndIgnoresRemainder) {
  StoreHistory(Entry(1, 1, 0xE00400AC) + Entry(0, 0, 0) + "\x01\x02\x03");  // 27 bytes: 2 entries
  RfmHistoryEntry* entries = nullptr;
  std::uint32_t count = 99;
  ASSERT_EQ(ReadRfmHistory(&entries, &count), STATUS_SUCCESS);
  ASSERT_NE(entries, nullptr);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(entries[0].Backend, 1u);
  EXPECT_EQ(entries[0].InRfm, 1u);
  EXPECT_EQ(entries[0].ReasonCode, 0xE00400ACu);
  EXPECT_EQ(entries[1].Backend, 0u);
  EXPECT_EQ(entries[1].ReasonCode, 0u);
  TvFreePoolWithTag(entries, TAG_TOOL);
}

TEST_F(RfmTest, MissingEmptyOrUnreadableHistoryIsNotFound) {
  struct Case {
    const char* name;
    bool stored;
    std::string bytes;
    NTSTATUS getFailure;
  };
  const Case cases[] = {
      {"absent", false, "", STATUS_SUCCESS},
      {"empty", true, "", STATUS_SUCCESS},
      {"damaged store", true, Entry(0, 1, 0), STATUS_DATA_ERROR},
      {"read failure", true, Entry(0, 1, 0), STATUS_UNSUCCESSFUL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    vt_test::ResetFakes();
    if (c.stored) StoreHistory(c.bytes);
    if (c.getFailure != STATUS_SUCCESS) Fakes().getFailures["RFMHistory"] = c.getFailure;
    RfmHistoryEntry* entries = nullptr;
    std::uint32_t count = 77;
    EXPECT_EQ(ReadRfmHistory(&entries, &count), STATUS_NOT_FOUND);
    EXPECT_EQ(entries, nullptr);
    EXPECT_EQ(count, 77u);

    for (auto [handler, text] : {std::pair{&HandleRfmState, "rfm-state is not set."},
                                 std::pair{&HandleRfmReason, "rfm-reason is not set."},
                                 std::pair{&HandleRfmHistory, "rfm-history is not set."}}) {
      const vt_test::HandlerRun run = RunHandler(handler, Mode('g'), nullptr);
      EXPECT_EQ(run.status, STATUS_SUCCESS);
      EXPECT_EQ(run.out, text);
      EXPECT_EQ(run.err, "");
    }
  }
}

// Fewer than 12 bytes hold no entry: state and reason report not set, the
// history prints only its separator.
TEST_F(RfmTest, PartialEntryIsNeverReadPast) {
  for (std::size_t size = 1; size < 12; ++size) {
    SCOPED_TRACE(size);
    StoreHistory(std::string(size, '\x01'));
    std::uint32_t inRfm = 5, reason = 5, backend = 5;
    EXPECT_EQ(ReadRfmNewestEntry(&inRfm, &reason, &backend), STATUS_NOT_FOUND);
    EXPECT_EQ(inRfm, 5u);
    EXPECT_EQ(RunHandler(HandleRfmState, Mode('g'), nullptr).out, "rfm-state is not set.");
    EXPECT_EQ(RunHandler(HandleRfmReason, Mode('g', false, false, 2), nullptr).out, "rfm-reason is not set, ");
    const vt_test::HandlerRun history = RunHandler(HandleRfmHistory, Mode('g'), nullptr);
    EXPECT_EQ(history.status, STATUS_SUCCESS);
    EXPECT_EQ(history.out, ".");
  }
}

}  // namespace
