// CheckLogSetting's decision order, and the telemetry handlers' store failures
// and reload signal, against the in-memory store. Messages for refused values
// are covered end to end.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "options/handlers.h"
#include "options/telemetry.h"
#include "options/testing/handler_fakes.h"

namespace {

using vt_test::Fakes;
using vt_test::Mode;
using vt_test::RunHandler;
using vt_test::U32;

class TelemetryTest : public ::testing::Test {
 protected:
  void SetUp() override { vt_test::ResetFakes(); }
};

constexpr auto kInterval = LogSettingKind::Interval;
constexpr auto kDuration = LogSettingKind::Duration;

TEST_F(TelemetryTest, CheckOrderDecidesTheReason) {
  using R = LogSettingReason;
  const struct {
    LogSettingKind kind;
    std::uint32_t value;
    std::optional<std::uint32_t> interval, duration;  // stored, or not
    R reason;
  } cases[] = {
      {kInterval, 4, {}, {}, R::BelowMinimum},
      {kInterval, 5, {}, {}, R::None},
      {kInterval, 3600, {}, {}, R::None},
      {kInterval, 3601, {}, {}, R::DurationShorterThanInterval},
      {kInterval, 4294968, {}, {}, R::IntervalOverflow},
      {kInterval, 4294967, {}, {}, R::DurationShorterThanInterval},
      {kInterval, 4294967, {}, 4294967, R::None},
      {kInterval, 4, {}, 3, R::BelowMinimum},
      {kInterval, 60, {}, 4294968, R::DurationOverflow},
      {kDuration, 30, {}, {}, R::DurationShorterThanInterval},
      {kDuration, 60, {}, {}, R::None},
      {kDuration, 4, {}, {}, R::BelowMinimum},
      {kDuration, 100, 120, {}, R::DurationShorterThanInterval},
      {kDuration, 120, 120, {}, R::None},
      {kDuration, 4294968, {}, {}, R::DurationOverflow},
      {kDuration, 10, 4294968, {}, R::IntervalOverflow},
      {kDuration, 10, 3, {}, R::BelowMinimum},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.kind) << " " << c.value);
    vt_test::ResetFakes();
    if (c.interval) Fakes().values["LogInterval"] = U32(*c.interval);
    if (c.duration) Fakes().values["LogDuration"] = U32(*c.duration);
    LogSettingReason reason = R::ReadFailure;
    const NTSTATUS status = CheckLogSetting(c.kind, c.value, &reason);
    EXPECT_EQ(reason, c.reason);
    EXPECT_EQ(status, c.reason == R::None ? STATUS_SUCCESS : STATUS_INVALID_PARAMETER);
    EXPECT_TRUE(Fakes().events.empty()) << "the check never writes";
  }
}

TEST_F(TelemetryTest, ReadFailureOfTheOtherValueIsPassedOn) {
  Fakes().getFailures["LogInterval"] = STATUS_DATA_ERROR;
  LogSettingReason reason = LogSettingReason::None;
  EXPECT_EQ(CheckLogSetting(kDuration, 3600, &reason), STATUS_DATA_ERROR);
  EXPECT_EQ(reason, LogSettingReason::ReadFailure);
  EXPECT_EQ(CheckLogSetting(kInterval, 60, &reason), STATUS_SUCCESS) << "interval reads only the duration";

  const auto run = RunHandler(HandleLogDuration, Mode('s'), "3600");
  EXPECT_EQ(run.status, STATUS_DATA_ERROR);
  EXPECT_EQ(run.err, "Unexpected error occurred. Status:0xC000003E\n");
  EXPECT_TRUE(Fakes().events.empty());
}

TEST_F(TelemetryTest, StoreFailuresCarryTheStoreStatus) {
  Fakes().setFailures["LogInterval"] = STATUS_INSUFFICIENT_RESOURCES;
  auto run = RunHandler(HandleLogInterval, Mode('s', true), "90s");
  EXPECT_EQ(run.status, STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(run.err, "Could not write log interval value \"90s\" to config. Status:0xC000009A\n");
  EXPECT_EQ(run.out, "");

  Fakes().getFailures["LogDuration"] = STATUS_DATA_ERROR;
  run = RunHandler(HandleLogDuration, Mode('g'), nullptr);
  EXPECT_EQ(run.status, STATUS_DATA_ERROR);
  EXPECT_EQ(run.err, "Could not read log duration from config file. Status:0xC000003E\n");

  Fakes().deleteFailures["LogDuration"] = STATUS_UNSUCCESSFUL;
  run = RunHandler(HandleLogDuration, Mode('d', true), nullptr);
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Could not delete log duration value from config file. Status:0xC0000001\n");
  EXPECT_EQ(run.out, "");

  Fakes().setFailures["LogCounters"] = STATUS_UNSUCCESSFUL;
  Fakes().update = true;
  run = RunHandler(HandleLogCounters, Mode('s'), "TRUE");
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Could not write log counters \"TRUE\" to config file\n");
  EXPECT_EQ(run.out, "") << "no reminder after a failed write";

  Fakes().deleteFailures["LogCounters"] = STATUS_DATA_ERROR;
  run = RunHandler(HandleLogCounters, Mode('d'), nullptr);
  EXPECT_EQ(run.status, STATUS_DATA_ERROR);
  EXPECT_EQ(run.err, "Could not delete log counters from config file\n");
  EXPECT_EQ((std::vector<std::string>(Fakes().events.end() - 2, Fakes().events.end())),
            (std::vector<std::string>{"set LogCounters", "delete LogCounters"}))
      << "no signal after the failed write";
}

TEST_F(TelemetryTest, LogCountersSignalsAfterTheWriteAndPrintsTheReminderFirst) {
  Fakes().update = true;
  const auto run = RunHandler(HandleLogCounters, Mode('s', true, false, 2), "1");
  EXPECT_EQ(run.status, STATUS_SUCCESS);
  EXPECT_EQ(run.out,
            "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging, \n"
            "          when you are done collecting telemetry data.\nlogcounters=true, ");
  EXPECT_EQ(Fakes().events, (std::vector<std::string>{"set LogCounters", "signal"}));
}

TEST_F(TelemetryTest, LogCountersGetRefusesUnknownValues) {
  Fakes().values["LogCounters"] = U32(2);
  const auto run = RunHandler(HandleLogCounters, Mode('g'), nullptr);
  EXPECT_EQ(run.status, STATUS_UNSUCCESSFUL);
  EXPECT_EQ(run.err, "Unknown log counters value!\n");
  EXPECT_EQ(run.out, "");
}

}  // namespace
