// Handlers meeting store read, write and delete failures, which the real store
// cannot be made to produce on demand. The handlers get an in-memory store
// through their context's store table (options/store_access.h), and every case
// runs as with --update, so a signal after a failed write would show.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "cli/option_table.h"
#include "options/handlers.h"
#include "options/settings.h"

namespace {

std::map<std::string, std::string> gValues;  // value name (ASCII) -> bytes
std::string gFailingCall;                    // "get NAME", "set NAME" or "delete NAME"
NTSTATUS gFailure = STATUS_SUCCESS;          // what that call returns
std::vector<std::string> gEvents;            // "set NAME", "delete NAME", "signal"

std::string Ascii(const UNICODE_STRING* name) {
  std::string text;
  for (std::size_t i = 0; i < name->Length / 2u; ++i) text.push_back(static_cast<char>(name->Buffer[i]));
  return text;
}

NTSTATUS Get(const UNICODE_STRING* name, void* buffer, std::uint32_t* size) {
  const std::string key = Ascii(name);
  if (gFailingCall == "get " + key) return gFailure;
  const auto found = gValues.find(key);
  if (found == gValues.end()) return STATUS_NOT_FOUND;
  const auto length = static_cast<std::uint32_t>(found->second.size());
  std::memcpy(buffer, found->second.data(), length < *size ? length : *size);
  const bool tooSmall = length > *size;
  *size = length;
  return tooSmall ? STATUS_BUFFER_TOO_SMALL : STATUS_SUCCESS;
}

NTSTATUS Set(const UNICODE_STRING* name, const void* data, std::uint32_t length) {
  gEvents.push_back("set " + Ascii(name));
  if (gFailingCall == gEvents.back()) return gFailure;
  gValues[Ascii(name)].assign(static_cast<const char*>(data), length);
  return STATUS_SUCCESS;
}

NTSTATUS Delete(const UNICODE_STRING* name) {
  gEvents.push_back("delete " + Ascii(name));
  if (gFailingCall == gEvents.back()) return gFailure;
  return gValues.erase(Ascii(name)) != 0 ? STATUS_SUCCESS : STATUS_NOT_FOUND;
}

constexpr StoreAccess kMemoryStore{Get, Set, Delete};

using Events = std::vector<std::string>;

TEST(StoreFailuresTest, AreReportedAndNothingFollowsThem) {
  const struct {
    const char* name;
    OptionHandler handler;
    const char* flags;  // mode letter, then any of f and v
    const char* value;
    std::map<std::string, std::string> stored;
    std::string failingCall;
    NTSTATUS failure;
    NTSTATUS status;
    std::string out, err;
    Events events;
  } cases[] = {
      {"feature get", HandleFeature, "g", nullptr, {}, "get AFLAGS", STATUS_DATA_ERROR, STATUS_DATA_ERROR, "",
       "Could not get feature from config file c000003e\n", {}},
      {"metadata-query wider than 4 bytes", HandleMetadataQuery, "g", nullptr, {{"IMQF", "12345"}}, "", 0,
       STATUS_BUFFER_TOO_SMALL, "", "Could not get metadata-query from config file c0000023\n", {}},
      {"feature set", HandleFeature, "sv", "enableLog", {}, "set AFLAGS", STATUS_INSUFFICIENT_RESOURCES,
       STATUS_INSUFFICIENT_RESOURCES, "", "Could not write feature \"enableLog\" to config\n", {"set AFLAGS"}},
      {"metadata-query set", HandleMetadataQuery, "s", "enable", {}, "set IMQF", STATUS_UNSUCCESSFUL,
       STATUS_UNSUCCESSFUL, "", "Could not write metadata-query \"enable\" to config\n", {"set IMQF"}},
      {"tags read before set", HandleTags, "sfv", "a", {}, "get GroupTags", STATUS_DATA_ERROR, STATUS_DATA_ERROR, "",
       "Could not read the sensor grouping tags from config file\n", {}},
      {"tags read before delete", HandleTags, "dfv", nullptr, {}, "get GroupTags", STATUS_DATA_ERROR,
       STATUS_DATA_ERROR, "", "Could not read the sensor grouping tags from config file\n", {}},
      {"tags set", HandleTags, "sv", "a,b", {}, "set GroupTags", STATUS_INSUFFICIENT_RESOURCES,
       STATUS_INSUFFICIENT_RESOURCES, "", "Could not write the sensor grouping tags 'a,b' to config file\n",
       {"set GroupTags"}},
      {"tags delete", HandleTags, "dfv", nullptr, {{"GroupTags", "a"}}, "delete GroupTags", STATUS_UNSUCCESSFUL,
       STATUS_UNSUCCESSFUL, "", "Could not delete the sensor grouping tags from config file\n", {"delete GroupTags"}},
      // Gone between the read and the delete: this run did not delete it.
      {"tags gone before the delete", HandleTags, "dfv", nullptr, {{"GroupTags", "a"}}, "delete GroupTags",
       STATUS_NOT_FOUND, STATUS_NOT_FOUND, "", "Could not delete the sensor grouping tags from config file\n",
       {"delete GroupTags"}},
      {"stored interval unreadable", HandleLogDuration, "s", "3600", {}, "get LogInterval", STATUS_DATA_ERROR,
       STATUS_DATA_ERROR, "", "Unexpected error occurred. Status:0xC000003E\n", {}},
      {"interval reads only the duration", HandleLogInterval, "s", "60", {}, "get LogInterval", STATUS_DATA_ERROR,
       STATUS_SUCCESS, "", "", {"set LogInterval"}},
      {"interval set", HandleLogInterval, "sv", "90s", {}, "set LogInterval", STATUS_INSUFFICIENT_RESOURCES,
       STATUS_INSUFFICIENT_RESOURCES, "",
       "Could not write log interval value \"90s\" to config. Status:0xC000009A\n", {"set LogInterval"}},
      {"duration get", HandleLogDuration, "g", nullptr, {}, "get LogDuration", STATUS_DATA_ERROR, STATUS_DATA_ERROR,
       "", "Could not read log duration from config file. Status:0xC000003E\n", {}},
      {"duration delete", HandleLogDuration, "dv", nullptr, {}, "delete LogDuration", STATUS_UNSUCCESSFUL,
       STATUS_UNSUCCESSFUL, "", "Could not delete log duration value from config file. Status:0xC0000001\n",
       {"delete LogDuration"}},
      {"logcounters set: no reminder, no signal", HandleStoredSetting, "s", "TRUE", {}, "set LogCounters",
       STATUS_UNSUCCESSFUL, STATUS_UNSUCCESSFUL, "", "Could not write log counters \"TRUE\" to config file\n",
       {"set LogCounters"}},
      {"logcounters delete", HandleStoredSetting, "d", nullptr, {}, "delete LogCounters", STATUS_DATA_ERROR,
       STATUS_DATA_ERROR, "", "Could not delete log counters from config file\n", {"delete LogCounters"}},
      // An unreadable history reads as no history.
      {"rfm-state", HandleRfmState, "g", nullptr, {}, "get RFMHistory", STATUS_DATA_ERROR, STATUS_SUCCESS,
       "rfm-state is not set.", "", {}},
      {"rfm-reason", HandleRfmReason, "g", nullptr, {}, "get RFMHistory", STATUS_UNSUCCESSFUL, STATUS_SUCCESS,
       "rfm-reason is not set.", "", {}},
      {"rfm-history", HandleRfmHistory, "g", nullptr, {}, "get RFMHistory", STATUS_DATA_ERROR, STATUS_SUCCESS,
       "rfm-history is not set.", "", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    gValues = c.stored;
    gFailingCall = c.failingCall;
    gFailure = c.failure;
    gEvents.clear();
    OptionContext context{};
    context.get = c.flags[0] == 'g';
    context.set = c.flags[0] == 's';
    context.del = c.flags[0] == 'd';
    context.force = std::strchr(c.flags, 'f') != nullptr;
    context.verbose = std::strchr(c.flags, 'v') != nullptr;
    context.remaining = 1;
    context.reload = [] { gEvents.emplace_back("signal"); };  // as with --update
    context.store = &kMemoryStore;
    const std::string option(c.name, std::strcspn(c.name, " "));  // each name starts with its option
    for (const OptionEntry& row : OptionTable()) {
      if (option == row.longOption.name) {
        context.id = row.id;
        context.option = row.longOption.name;
      }
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const NTSTATUS status = c.handler(&context, c.value);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.err);
    EXPECT_EQ(out, c.out);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(gEvents, c.events);
  }
}

}  // namespace
