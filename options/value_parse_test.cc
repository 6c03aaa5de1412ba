// The value parsers' quirks that the end-to-end tables do not reach: what the
// C library conversions underneath accept, where conversion stops, and that a
// refused value leaves the output untouched.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

#include "options/identity.h"
#include "options/switch_value.h"

namespace {

TEST(ParseTest, HexPairFollowsStrtolOverTwoCharacters) {
  // A refused pair leaves the byte as it was (0x5A here).
  for (const auto& [text, ok, expected] :
       {std::tuple{"ff", true, 0xFF}, {"A5", true, 0xA5}, {" f", true, 0x0F}, {"+f", true, 0x0F}, {"-1", true, 0xFF},
        {"12345", true, 0x12}, {"0g", false, 0x5A}, {"g0", false, 0x5A}, {"{0", false, 0x5A}, {"f ", false, 0x5A}}) {
    std::uint8_t byte = 0x5A;
    EXPECT_EQ(ParseHexPair(text, &byte), ok ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL) << text;
    EXPECT_EQ(byte, expected) << text;
  }

  Identifier partial{};
  EXPECT_EQ(HexTextToIdentifier("0102zz0405060708090a0b0c0d0e0f10", &partial), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(partial, (Identifier{0x01, 0x02})) << "conversion stops at the failing pair";
}

TEST(ParseTest, ChecksumCid) {
  Identifier id{};
  IdentifierText digits{};
  for (const auto& [text, result] : {std::pair{"-0-0112233445566778899AABBCCDDEEFF0-8-", CidParseResult::kValid},
                                     {"0000000000000000000000000000000000", CidParseResult::kValid},
                                     {"00112233445566778899AABBCCDDEEFF88", CidParseResult::kChecksumFailed},
                                     {"0011223344556677889GAABBCCDDEEFF08", CidParseResult::kChecksumFailed},
                                     {"00112233445566778899AABBCCDDEEFF0x", CidParseResult::kChecksumFailed},
                                     {"", CidParseResult::kMalformed}}) {
    EXPECT_EQ(ParseChecksumCid(text, &id, &digits), result) << text;
  }

  ASSERT_EQ(ParseChecksumCid("00112233-4455-6677-8899-AAbbCCDDEEFF-08", &id, &digits), CidParseResult::kValid);
  EXPECT_EQ(id, (Identifier{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD,
                            0xEE, 0xFF}));
  EXPECT_STREQ(digits.data(), "00112233445566778899AAbbCCDDEEFF") << "digits keep their case, lose the dashes";
  // The checksum is the byte sum modulo 256: 15 x 0xFF + 0x00 = 0xEF1, + 0x0F wraps to 0x00.
  const std::string wraps = std::string(30, 'f') + "00" + "0f";
  EXPECT_EQ(ParseChecksumCid(wraps.c_str(), &id, &digits), CidParseResult::kValid);
}

TEST(ParseTest, ProvisioningTokenFollowsStrtoull) {
  // A refused text leaves the token as it was (77 here).
  for (const auto& [text, ok, expected] :
       {std::tuple{"0x00abcd", true, 0xABCDull}, {"  0000ab", true, 0xABull}, {"ABCDEF01", true, 0xABCDEF01ull},
        {"10000000000000000000", false, 77ull}, {"zzzzzzzz", false, 77ull}, {"", false, 77ull}}) {
    std::uint64_t token = 77;
    EXPECT_EQ(ParseProvisioningToken(text, &token), ok) << text;
    EXPECT_EQ(token, expected) << text;
  }
}

TEST(ParseTest, SwitchValueTakesOnlyTheFourSpellingsInAnyCase) {
  for (const char* text : {"tRuE", "FaLsE"}) {
    std::uint32_t value = 9;
    EXPECT_TRUE(ParseSwitchValue(text, &value)) << text;
    EXPECT_EQ(value, text[0] == 't' ? 1u : 0u) << text;
  }
  for (const char* text : {"01", "", " true", "true ", "t", "truex", static_cast<const char*>(nullptr)}) {
    std::uint32_t value = 9;
    EXPECT_FALSE(ParseSwitchValue(text, &value)) << (text != nullptr ? text : "(null)");
    EXPECT_EQ(value, 9u);
  }
}

}  // namespace
