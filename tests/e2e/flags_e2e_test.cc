// vantorctl --feature and --metadata-query end to end: output bytes, exit status
// and the AFLAGS / IMQF records after every run.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

StoreImage With(const char* name, std::uint32_t value) { return StoreImage().Add(name, U32Bytes(value)); }

std::string Repeat(const std::string& piece, int times) {
  std::string text;
  for (int i = 0; i < times; ++i) text += piece;
  return text;
}

TEST(FlagsE2e, FeatureSetAndGet) {
  const OptionCase cases[] = {
      {"two words", {}, {"-s", "-v", "--feature=enableLog,disableLogBuffer"},
       "feature=enableLog,disableLogBuffer (hex bitmask: 3).\n", "", 0, {{"AFLAGS", U32Bytes(3)}}},
      {"none replaces the stored mask", With("AFLAGS", 0x10003), {"-s", "--feature=none"}, "\n", "", 0,
       {{"AFLAGS", U32Bytes(0)}}},
      {"none clears what came before", {}, {"-s", "--feature=enableLog,none"}, "\n", "", 0,
       {{"AFLAGS", U32Bytes(0)}}},
      {"words after none count", {}, {"-s", "--feature=none,enableLog"}, "\n", "", 0, {{"AFLAGS", U32Bytes(1)}}},
      {"255 bytes are parsed", {},
       {"-s", "--feature=enableLog" + Repeat(",disableLogBuffer", 8) + Repeat(",enableLog", 11)}, "\n", "", 0,
       {{"AFLAGS", U32Bytes(3)}}},
      {"get of 0", With("AFLAGS", 0), {"-g", "--feature"}, "feature= (hex bitmask: 0).\n", "", 0, {}, true},
      {"get shows display-only words", With("AFLAGS", 0x10001), {"-g", "--feature"},
       "feature=enableLog,disableOsfm (hex bitmask: 10001).\n", "", 0, {}, true},
      {"get of every named bit and one unnamed", With("AFLAGS", 0x30007), {"-g", "--feature"},
       "feature=enableLog,disableLogBuffer,disableOsfm,emulateUpdate (hex bitmask: 30007).\n", "", 0, {}, true},
      {"get with nothing stored", {}, {"-g", "--feature"}, "feature is not set.\n", "", 0, {{"AFLAGS", {}}}},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

TEST(FlagsE2e, MetadataQuerySetAndGet) {
  const OptionCase cases[] = {
      {"two providers", {}, {"-s", "-v", "--metadata-query=disableAWS,disableOCI"},
       "metadata-query=disableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 9).\n", "", 0,
       {{"IMQF", U32Bytes(9)}}},
      {"get of two providers", With("IMQF", 9), {"-g", "--metadata-query"},
       "metadata-query=disableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 9).\n", "", 0, {}, true},
      {"disable", {}, {"-s", "-v", "--metadata-query=disable"}, "metadata-query=disable (hex bitmask: f).\n", "", 0,
       {{"IMQF", U32Bytes(15)}}},
      {"enable", With("IMQF", 15), {"-s", "-v", "--metadata-query=enable"},
       "metadata-query=enable (hex bitmask: 0).\n", "", 0, {{"IMQF", U32Bytes(0)}}},
      {"enable words clear", {}, {"-s", "--metadata-query=disable,enableGCP"}, "\n", "", 0,
       {{"IMQF", U32Bytes(0xB)}}},
      {"enableAWS alone", With("IMQF", 1), {"-s", "--metadata-query=enableAWS"}, "\n", "", 0,
       {{"IMQF", U32Bytes(0)}}},
      {"high bits keep four words", With("IMQF", 0x1F), {"-g", "--metadata-query"},
       "metadata-query=disableAWS,disableAzure,disableGCP,disableOCI (hex bitmask: 1f).\n", "", 0, {}, true},
      {"unset default", {}, {"-g", "--metadata-query"}, "metadata-query=enable (unset default).\n", "", 0,
       {{"IMQF", {}}}},
      {"both in one line", {}, {"-s", "-v", "--metadata-query=disableGCP", "--feature=enableLog"},
       "feature=enableLog (hex bitmask: 1), metadata-query=enableAWS,enableAzure,disableGCP,enableOCI "
       "(hex bitmask: 4).\n",
       "", 0, {{"AFLAGS", U32Bytes(1)}, {"IMQF", U32Bytes(4)}}},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

TEST(FlagsE2e, RefusedListsLeaveTheStoreByteIdentical) {
  const std::string tooLong = "enableLog" + Repeat(",disableLogBuffer", 11) + Repeat(",enableLog", 6);  // 256
  const StoreImage seed = StoreImage().Add("AFLAGS", U32Bytes(1)).Add("IMQF", U32Bytes(2));
  const OptionCase cases[] = {
      {"display-only word", seed, {"-s", "--feature=disableOsfm"}, "\n",
       HandlerFailure("not a valid feature switch: disableOsfm\n", "feature"), 1, {}, true},
      {"empty word", seed, {"-s", "--feature=enableLog,,none"}, "\n",
       HandlerFailure("not a valid feature switch: \n", "feature"), 1, {}, true},
      {"256 bytes", seed, {"-s", "--feature=" + tooLong}, "\n",
       HandlerFailure("\"" + tooLong + "\" is not a valid value for --feature\n", "feature"), 1, {}, true},
      {"metadata-query word in the wrong case", seed, {"-s", "-v", "--metadata-query=disableaws"}, "\n",
       HandlerFailure("not a valid metadata-query switch: disableaws\n", "metadata-query"), 1, {}, true},
      {"metadata-query trailing comma", seed, {"-s", "--metadata-query=enable,"}, "\n",
       HandlerFailure("not a valid metadata-query switch: \n", "metadata-query"), 1, {}, true},
      {"metadata-query 256 bytes", seed, {"-s", "--metadata-query=" + tooLong}, "\n",
       HandlerFailure("\"" + tooLong + "\" is not a valid value for --metadata-query\n", "metadata-query"), 1, {},
       true},
  };
  ASSERT_EQ(tooLong.size(), 256u);
  for (const OptionCase& c : cases) ExpectCase(c);
}

// With no sensor PID file the reload attempt reports itself on stderr, which
// shows which handler tries to signal; neither result depends on it.
TEST(FlagsE2e, UpdateSignalsOnlyForFeature) {
  const OptionCase cases[] = {
      {"feature signals", {}, {"-s", "--feature=enableLog", "--update"}, "\n",
       "Failed to get vantor PID from PID file /var/run/vantor-sensor.pid: No such file or directory\n", 0,
       {{"AFLAGS", U32Bytes(1)}}},
      {"metadata-query does not", {}, {"-s", "--metadata-query=disable", "--update"}, "\n", "", 0,
       {{"IMQF", U32Bytes(15)}}},
  };
  for (const OptionCase& c : cases) ExpectCase(c);
}

}  // namespace
}  // namespace vt_test
