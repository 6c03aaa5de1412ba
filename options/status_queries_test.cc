// RFM history reads and the three RFM handlers over the in-memory store fake.
#include "options/status_queries.h"

#include <gtest/gtest.h>

#include <string>

#include "options/handlers.h"
#include "options/rfm_reasons.h"
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

TEST_F(RfmTest, StateAndReasonFromNewestEntry) {
  struct Case {
    std::string history;
    NTSTATUS stateStatus;
    std::string stateOut;
    std::string stateErr;
    std::string reasonOut;
  };
  const Case cases[] = {
      {Entry(0, 0, 0) + Entry(1, 1, 0xC0000001), STATUS_SUCCESS, "rfm-state=false.", "",
       "rfm-reason=None, code=0x0."},
      {Entry(1, 1, 0xE00400AD), STATUS_SUCCESS, "rfm-state=true.", "",
       "rfm-reason=BPF program-load error, code=0xE00400AD."},
      {Entry(0, 2, 0xC0000106), STATUS_UNSUCCESSFUL, "", "Unknown RFM rfm-state!\n",
       "rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106."},
      {Entry(0, 1, 0xC0000206), STATUS_SUCCESS, "rfm-state=true.", "",
       "rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000206."},
      {Entry(0, 1, 0x12345678), STATUS_SUCCESS, "rfm-state=true.", "", "rfm-reason=Unspecified, code=0x12345678."},
      {Entry(0, 0xFFFFFFFF, 0x40000000), STATUS_UNSUCCESSFUL, "", "Unknown RFM rfm-state!\n",
       "rfm-reason=Indicates previous unsuccesful module unload, code=0x40000000."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reasonOut);
    StoreHistory(c.history);
    const vt_test::HandlerRun state = RunHandler(HandleRfmState, Mode('g'), nullptr);
    EXPECT_EQ(state.status, c.stateStatus);
    EXPECT_EQ(state.out, c.stateOut);
    EXPECT_EQ(state.err, c.stateErr);
    const vt_test::HandlerRun reason = RunHandler(HandleRfmReason, Mode('g'), nullptr);
    EXPECT_EQ(reason.status, STATUS_SUCCESS);
    EXPECT_EQ(reason.out, c.reasonOut);
    EXPECT_EQ(reason.err, "");
  }
}

TEST_F(RfmTest, HistoryListsEntriesNewestFirst) {
  struct Case {
    std::string history;
    std::uint32_t remaining;
    std::string out;
  };
  const Case cases[] = {
      {Entry(0, 1, 0xC000036C), 1,
       "rfm-history={[0 (newest)] kernel backend, in RFM, rfm-reason=Kernel modules blocked by user, "
       "code=0xC000036C}."},
      {Entry(1, 1, 0xE00400AC) + Entry(0, 0, 0), 1,
       "rfm-history={[0 (newest)] bpf backend, in RFM, rfm-reason=BPF is blocked on this system, code=0xE00400AC; "
       "[1] kernel backend, not in RFM, rfm-reason=None, code=0x0}."},
      {Entry(7, 2, 0xDEADBEEF) + Entry(0, 0, 0xC0000225) + Entry(2, 1, 0xC000009A), 2,
       "rfm-history={[0 (newest)] bpf backend, not in RFM, rfm-reason=Unspecified, code=0xDEADBEEF; "
       "[1] kernel backend, not in RFM, rfm-reason=The kernel backend does not support the running kernel, "
       "code=0xC0000225; [2] bpf backend, in RFM, rfm-reason=Kernel module load failed due to lack of memory, "
       "code=0xC000009A}, "},
  };
  for (const Case& c : cases) {
    StoreHistory(c.history);
    const vt_test::HandlerRun run = RunHandler(HandleRfmHistory, Mode('g', false, false, c.remaining), nullptr);
    EXPECT_EQ(run.status, STATUS_SUCCESS);
    EXPECT_EQ(run.out, c.out);
    EXPECT_EQ(run.err, "");
  }
}

TEST(RfmReasonTest, FirstMatchingRowAndSharedTexts) {
  const auto table = RfmReasonTable();
  ASSERT_EQ(table.size(), 20u);
  for (const RfmReason& row : table) {
    EXPECT_STREQ(RfmReasonText(row.code), row.text) << std::hex << row.code;
  }
  EXPECT_STREQ(RfmReasonText(0xC0000106), RfmReasonText(0xC0000206));
  EXPECT_STREQ(RfmReasonText(0x40000000), RfmReasonText(0xC000038E));
  EXPECT_STREQ(RfmReasonText(0xE00400C2),
               "Not loading modules because of user opt-out (e.g., backend set to BPF)");
  for (std::uint32_t unknown : {0x1u, 0xC0000002u, 0xE00400AEu, 0xFFFFFFFFu}) {
    EXPECT_STREQ(RfmReasonText(unknown), "Unspecified") << std::hex << unknown;
  }
}

}  // namespace
