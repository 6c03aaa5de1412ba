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

using FlagsE2e = ::vt_test::SandboxTest;

TEST_F(FlagsE2e, FeatureAndMetadataQuery) {
  const std::string len255 = "enableLog" + Repeat(",disableLogBuffer", 8) + Repeat(",enableLog", 11);
  const std::string len256 = "enableLog" + Repeat(",disableLogBuffer", 11) + Repeat(",enableLog", 6);
  ASSERT_EQ(len255.size(), 255u);
  ASSERT_EQ(len256.size(), 256u);
  const StoreImage seed = StoreImage().Add("AFLAGS", U32Bytes(1)).Add("IMQF", U32Bytes(2));
  const auto feature = [](const std::string& d) { return HandlerFailure(d + "\n", "feature"); };
  const auto query = [](const std::string& d) { return HandlerFailure(d + "\n", "metadata-query"); };
  const std::string nine = "metadata-query=disableAWS,enableAzure,enableGCP,disableOCI (hex bitmask: 9).\n";
  ExpectCases({
      {"two words", {}, {"-s", "-v", "--feature=enableLog,disableLogBuffer"},
       "feature=enableLog,disableLogBuffer (hex bitmask: 3).\n", "", 0, {{"AFLAGS", U32Bytes(3)}}},
      {"none replaces the stored mask", With("AFLAGS", 0x10003), {"-s", "--feature=none"}, "\n", "", 0,
       {{"AFLAGS", U32Bytes(0)}}},
      {"none clears what came before", {}, {"-s", "--feature=enableLog,none"}, "\n", "", 0, {{"AFLAGS", U32Bytes(0)}}},
      {"words after none count", {}, {"-s", "--feature=none,enableLog"}, "\n", "", 0, {{"AFLAGS", U32Bytes(1)}}},
      {"255 bytes are parsed", {}, {"-s", "--feature=" + len255}, "\n", "", 0, {{"AFLAGS", U32Bytes(3)}}},
      Shows("get of 0", With("AFLAGS", 0), {"-g", "--feature"}, "feature= (hex bitmask: 0).\n"),
      Shows("display-only words", With("AFLAGS", 0x10001), {"-g", "--feature"},
            "feature=enableLog,disableOsfm (hex bitmask: 10001).\n"),
      Shows("every named bit and one unnamed", With("AFLAGS", 0x30007), {"-g", "--feature"},
            "feature=enableLog,disableLogBuffer,disableOsfm,emulateUpdate (hex bitmask: 30007).\n"),
      Shows("feature not stored", {}, {"-g", "--feature"}, "feature is not set.\n"),
      Refused("display-only word", seed, {"-s", "--feature=disableOsfm"},
              feature("not a valid feature switch: disableOsfm")),
      Refused("empty word", seed, {"-s", "--feature=enableLog,,none"}, feature("not a valid feature switch: ")),
      Refused("256 bytes", seed, {"-s", "--feature=" + len256}, Invalid(len256, "feature")),
      {"two providers", {}, {"-s", "-v", "--metadata-query=disableAWS,disableOCI"}, nine, "", 0,
       {{"IMQF", U32Bytes(9)}}},
      Shows("get of two providers", With("IMQF", 9), {"-g", "--metadata-query"}, nine),
      {"disable", {}, {"-s", "-v", "--metadata-query=disable"}, "metadata-query=disable (hex bitmask: f).\n", "", 0,
       {{"IMQF", U32Bytes(15)}}},
      {"enable", With("IMQF", 15), {"-s", "-v", "--metadata-query=enable"},
       "metadata-query=enable (hex bitmask: 0).\n", "", 0, {{"IMQF", U32Bytes(0)}}},
      {"enable words clear", {}, {"-s", "--metadata-query=disable,enableGCP"}, "\n", "", 0, {{"IMQF", U32Bytes(0xB)}}},
      {"enableAWS alone", With("IMQF", 1), {"-s", "--metadata-query=enableAWS"}, "\n", "", 0, {{"IMQF", U32Bytes(0)}}},
      Shows("high bits keep four words", With("IMQF", 0x1F), {"-g", "--metadata-query"},
            "metadata-query=disableAWS,disableAzure,disableGCP,disableOCI (hex bitmask: 1f).\n"),
      Shows("unset default", {}, {"-g", "--metadata-query"}, "metadata-query=enable (unset default).\n"),
      Refused("word in the wrong case", seed, {"-s", "-v", "--metadata-query=disableaws"},
              query("not a valid metadata-query switch: disableaws")),
      Refused("trailing comma", seed, {"-s", "--metadata-query=enable,"}, query("not a valid metadata-query switch: ")),
      Refused("metadata-query 256 bytes", seed, {"-s", "--metadata-query=" + len256},
              Invalid(len256, "metadata-query")),
      {"both in one line", {}, {"-s", "-v", "--metadata-query=disableGCP", "--feature=enableLog"},
       "feature=enableLog (hex bitmask: 1), metadata-query=enableAWS,enableAzure,disableGCP,enableOCI "
       "(hex bitmask: 4).\n",
       "", 0, {{"AFLAGS", U32Bytes(1)}, {"IMQF", U32Bytes(4)}}},
  });
}

}  // namespace
}  // namespace vt_test
