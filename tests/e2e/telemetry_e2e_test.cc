// vantorctl --logcounters, --loginterval and --logduration end to end: output
// bytes, exit status and the LogCounters / LogInterval / LogDuration records.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

constexpr char kReminder[] =
    "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging, \n"
    "          when you are done collecting telemetry data.\n";

StoreImage With(const char* name, std::uint32_t value) { return StoreImage().Add(name, U32Bytes(value)); }

std::string Refused(const std::string& message, const char* option) { return HandlerFailure(message, option); }

TEST(TelemetryE2e, IntervalAndDurationChecks) {
  const OptionCase cases[] = {
      {"interval 4", {}, {"-s", "--loginterval=4"}, "\n",
       Refused("\"4\": Invalid log interval value, minimum supported value is 5 seconds\n", "loginterval"), 1, {}, true},
      {"interval 5", {}, {"-s", "-v", "--loginterval=5"}, "log interval=5 seconds.\n", "", 0,
       {{"LogInterval", U32Bytes(5)}}},
      {"duration 30 under the default interval", {}, {"-s", "--logduration=30"}, "\n",
       Refused("\"30\": Invalid log duration value, log duration should be greater then log interval\n",
               "logduration"), 1, {}, true},
      {"duration 60", {}, {"-s", "--logduration=60"}, "\n", "", 0, {{"LogDuration", U32Bytes(60)}}},
      {"interval overflow", {}, {"-s", "--loginterval=4294968"}, "\n",
       Refused("\"4294968\": Invalid log interval value, int overflow detected\n", "loginterval"), 1, {}, true},
      {"largest interval over the default duration", {}, {"-s", "--loginterval=4294967"}, "\n",
       Refused("\"4294967\": Invalid log interval value, log duration should be greater then log interval\n",
               "loginterval"), 1, {}, true},
      {"largest interval with an equal duration", With("LogDuration", 4294967), {"-s", "--loginterval=4294967"}, "\n",
       "", 0, {{"LogInterval", U32Bytes(4294967)}}},
      {"duration under a stored interval", With("LogInterval", 120), {"-s", "--logduration=100"}, "\n",
       Refused("\"100\": Invalid log duration value, log duration should be greater then log interval\n",
               "logduration"), 1, {}, true},
      {"duration equal to a stored interval", With("LogInterval", 120), {"-s", "-v", "--logduration=120"},
       "log duration=120 seconds.\n", "", 0, {{"LogDuration", U32Bytes(120)}}},
      {"interval 4 over a stored duration of 3", With("LogDuration", 3), {"-s", "--loginterval=4"}, "\n",
       Refused("\"4\": Invalid log interval value, minimum supported value is 5 seconds\n", "loginterval"), 1, {}, true},
      {"duration overflow", {}, {"-s", "--logduration=4294968"}, "\n",
       Refused("\"4294968\": Invalid log duration value, int overflow detected\n", "logduration"), 1, {}, true},
      {"stored duration overflow", With("LogDuration", 5000000), {"-s", "--loginterval=60"}, "\n",
       Refused("\"60\": Invalid stored log duration value, int overflow detected\n", "loginterval"), 1, {}, true},
      {"stored interval overflow", With("LogInterval", 4294968), {"-s", "--logduration=10"}, "\n",
       Refused("\"10\": Invalid stored log interval value, int overflow detected\n", "logduration"), 1, {}, true},
      {"text after the digits", {}, {"-s", "--loginterval=90s"}, "\n", "", 0, {{"LogInterval", U32Bytes(90)}}},
  };
  for (const OptionCase& c : cases) ExpectCase(c);

  for (const char* bad : {"0", "abc", "4294967295", "-1", "99999999999999999999"}) {
    ExpectCase({bad, With("LogInterval", 70), {"-s", std::string("--loginterval=") + bad}, "\n",
                Refused(std::string("\"") + bad + "\" is not a valid value for --loginterval\n", "loginterval"), 1, {},
                true});
  }
}

TEST(TelemetryE2e, IntervalAndDurationGetAndDelete) {
  const OptionCase cases[] = {
      {"defaults", {}, {"-g", "--loginterval", "--logduration"},
       "log interval is not set. Default value is 60 seconds, log duration is not set. Default value is 3600 "
       "seconds.\n",
       "", 0, {}, true},
      {"stored", StoreImage().Add("LogInterval", U32Bytes(90)).Add("LogDuration", U32Bytes(900)),
       {"-g", "--logduration", "--loginterval"}, "log interval=90 seconds, log duration=900 seconds.\n", "", 0, {},
       true},
      {"delete of nothing", {}, {"-d", "--logduration"}, "\n", "", 0, {}, true},
      {"delete", With("LogInterval", 90), {"-d", "-v", "--loginterval"},
       "log interval is not set. Default value is 60 seconds.\n", "", 0, {{"LogInterval", {}}}},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

TEST(TelemetryE2e, LogCounters) {
  for (const char* on : {"true", "True", "1"}) {
    ExpectCase({on, With("LogCounters", 0), {"-s", std::string("--logcounters=") + on},
                std::string(kReminder) + "\n", "", 0, {{"LogCounters", U32Bytes(1)}}});
  }
  for (const char* off : {"false", "FALSE", "0"}) {
    ExpectCase({off, With("LogCounters", 1), {"-s", std::string("--logcounters=") + off}, "\n", "", 0,
                {{"LogCounters", U32Bytes(0)}}});
  }
  const OptionCase cases[] = {
      {"verbose on", {}, {"-s", "-v", "--logcounters=TRUE"}, std::string(kReminder) + "logcounters=true.\n", "", 0,
       {{"LogCounters", U32Bytes(1)}}},
      {"verbose off", {}, {"-s", "-v", "--logcounters=0"}, "logcounters=false.\n", "", 0,
       {{"LogCounters", U32Bytes(0)}}},
      {"1x", With("LogCounters", 1), {"-s", "--logcounters=1x"}, "\n",
       Refused("\"1x\" is not a valid value for --logcounters\n", "logcounters"), 1, {}, true},
      {"yes", With("LogCounters", 0), {"-s", "--logcounters=yes"}, "\n",
       Refused("\"yes\" is not a valid value for --logcounters\n", "logcounters"), 1, {}, true},
      {"get of nothing", {}, {"-g", "--logcounters"}, "\n",
       Refused("Failed to read log settings from config. Status: 0xC0000225\n", "logcounters"), 1, {}, true},
      {"get on", With("LogCounters", 1), {"-g", "--logcounters"}, "logcounters=true.\n", "", 0, {}, true},
      {"get of an unknown value", With("LogCounters", 7), {"-g", "--logcounters"}, "\n",
       Refused("Unknown log counters value!\n", "logcounters"), 1, {}, true},
      {"delete", With("LogCounters", 1), {"-d", "-v", "--logcounters"}, "logcounters is not set.\n", "", 0,
       {{"LogCounters", {}}}},
      {"delete of nothing", {}, {"-d", "--logcounters"}, "\n", "", 0, {}, true},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

}  // namespace
}  // namespace vt_test
