// vantorctl --logcounters, --loginterval and --logduration end to end: output
// bytes, exit status and the LogCounters / LogInterval / LogDuration records.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

StoreImage With(const char* name, std::uint32_t value) { return StoreImage().Add(name, U32Bytes(value)); }

// `args` is "-s --log<word>=<value>"; the refusal names the value and the option.
OptionCase Bad(StoreImage seed, const std::string& word, const std::string& value, const std::string& why) {
  const std::string option = "log" + word;
  return Refused(option + "=" + value, std::move(seed), {"-s", "--" + option + "=" + value},
                 HandlerFailure("\"" + value + "\": " + why + "\n", option));
}

using TelemetryE2e = ::vt_test::SandboxTest;

TEST_F(TelemetryE2e, IntervalAndDuration) {
  const std::string minimum = "value, minimum supported value is 5 seconds";
  const std::string shorter = "value, log duration should be greater then log interval";
  const std::string overflow = "value, int overflow detected";
  std::vector<OptionCase> cases = {
      Bad({}, "interval", "4", "Invalid log interval " + minimum),
      Bad(With("LogDuration", 3), "interval", "4", "Invalid log interval " + minimum),
      Bad({}, "duration", "4", "Invalid log duration " + minimum),
      Bad(With("LogInterval", 3), "duration", "10", "Invalid log duration " + minimum),
      Bad({}, "duration", "30", "Invalid log duration " + shorter),
      Bad(With("LogInterval", 120), "duration", "100", "Invalid log duration " + shorter),
      Bad({}, "interval", "4294967", "Invalid log interval " + shorter),
      Bad({}, "interval", "4294968", "Invalid log interval " + overflow),
      Bad({}, "duration", "4294968", "Invalid log duration " + overflow),
      // A stored duration beyond the bound does not refuse an interval the checks accept.
      {"interval under an oversized stored duration", With("LogDuration", 5000000), {"-s", "--loginterval=100"},
       "\n", "", 0, {{"LogInterval", U32Bytes(100)}, {"LogDuration", U32Bytes(5000000)}}},
      Bad(With("LogInterval", 4294968), "duration", "10", "Invalid stored log interval " + overflow),
      {"interval 5", {}, {"-s", "-v", "--loginterval=5"}, "log interval=5 seconds.\n", "", 0,
       {{"LogInterval", U32Bytes(5)}}},
      {"duration 60", {}, {"-s", "--logduration=60"}, "\n", "", 0, {{"LogDuration", U32Bytes(60)}}},
      {"largest interval with an equal duration", With("LogDuration", 4294967), {"-s", "--loginterval=4294967"}, "\n",
       "", 0, {{"LogInterval", U32Bytes(4294967)}}},
      {"duration equal to a stored interval", With("LogInterval", 120), {"-s", "-v", "--logduration=120"},
       "log duration=120 seconds.\n", "", 0, {{"LogDuration", U32Bytes(120)}}},
      {"text after the digits", {}, {"-s", "--loginterval=90s"}, "\n", "", 0, {{"LogInterval", U32Bytes(90)}}},
      Shows("defaults", {}, {"-g", "--loginterval", "--logduration"},
            "log interval is not set. Default value is 60 seconds, log duration is not set. Default value is 3600 "
            "seconds.\n"),
      Shows("stored", StoreImage().Add("LogInterval", U32Bytes(90)).Add("LogDuration", U32Bytes(900)),
            {"-g", "--logduration", "--loginterval"}, "log interval=90 seconds, log duration=900 seconds.\n"),
      Shows("delete of nothing", {}, {"-d", "--logduration"}, "\n"),
      {"delete", With("LogInterval", 90), {"-d", "-v", "--loginterval"},
       "log interval is not set. Default value is 60 seconds.\n", "", 0, {{"LogInterval", {}}}},
  };
  for (const char* bad : {"0", "abc", "4294967295", "-1", "99999999999999999999"}) {
    cases.push_back(Refused(bad, With("LogInterval", 70), {"-s", std::string("--loginterval=") + bad},
                            Invalid(bad, "loginterval")));
  }
  ExpectCases(cases);
}

TEST_F(TelemetryE2e, LogCounters) {
  const auto get = [](const std::string& d) { return HandlerFailure(d + "\n", "logcounters"); };
  std::vector<OptionCase> cases = {
      {"verbose on", {}, {"-s", "-v", "--logcounters=TRUE"}, std::string(kReminder) + "logcounters=true.\n", "", 0,
       {{"LogCounters", U32Bytes(1)}}},
      {"verbose off", {}, {"-s", "-v", "--logcounters=0"}, "logcounters=false.\n", "", 0,
       {{"LogCounters", U32Bytes(0)}}},
      Refused("1x", With("LogCounters", 1), {"-s", "--logcounters=1x"}, Invalid("1x", "logcounters")),
      Refused("yes", With("LogCounters", 0), {"-s", "--logcounters=yes"}, Invalid("yes", "logcounters")),
      Refused("get of nothing", {}, {"-g", "--logcounters"},
              get("Failed to read log settings from config. Status: 0xC0000225")),
      Shows("get on", With("LogCounters", 1), {"-g", "--logcounters"}, "logcounters=true.\n"),
      Refused("get of an unknown value", With("LogCounters", 7), {"-g", "--logcounters"},
              get("Unknown log counters value!")),
      {"delete", With("LogCounters", 1), {"-d", "-v", "--logcounters"}, "logcounters is not set.\n", "", 0,
       {{"LogCounters", {}}}},
      Shows("delete of nothing", {}, {"-d", "--logcounters"}, "\n"),
  };
  for (const char* on : {"true", "True", "1"}) {
    cases.push_back({on, With("LogCounters", 0), {"-s", std::string("--logcounters=") + on},
                     std::string(kReminder) + "\n", "", 0, {{"LogCounters", U32Bytes(1)}}});
  }
  for (const char* off : {"false", "FALSE", "0"}) {
    cases.push_back({off, With("LogCounters", 1), {"-s", std::string("--logcounters=") + off}, "\n", "", 0,
                     {{"LogCounters", U32Bytes(0)}}});
  }
  ExpectCases(cases);
}

}  // namespace
}  // namespace vt_test
