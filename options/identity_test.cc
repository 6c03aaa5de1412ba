#include "options/identity.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

struct HexPairCase {
  const char* text;
  bool ok;
  std::uint8_t byte;
};

TEST(ParseHexPairTest, FollowsStrtolInBase16OverExactlyTwoCharacters) {
  const HexPairCase cases[] = {
      {"00", true, 0x00}, {"ff", true, 0xFF}, {"FF", true, 0xFF}, {"a5", true, 0xA5},
      {" f", true, 0x0F},  // strtol skips the leading blank
      {"+f", true, 0x0F},
      {"-1", true, 0xFF},  // -1: the low 8 bits
      {"0g", false, 0},   {"g0", false, 0}, {"x1", false, 0}, {"{0", false, 0},
      {"f ", false, 0},  // only one character consumed
      {"12345", true, 0x12},  // only the first two characters are looked at
  };
  for (const HexPairCase& c : cases) {
    std::uint8_t byte = 0x5A;
    const NTSTATUS status = ParseHexPair(c.text, &byte);
    if (c.ok) {
      EXPECT_EQ(status, STATUS_SUCCESS) << c.text;
      EXPECT_EQ(byte, c.byte) << c.text;
    } else {
      EXPECT_EQ(status, STATUS_UNSUCCESSFUL) << c.text;
      EXPECT_EQ(byte, 0x5A) << c.text << ": byte must stay untouched";
    }
  }
}

TEST(HexTextToIdentifierTest, StoresPairKAsByteKAndStopsAtFirstBadPair) {
  Identifier id{};
  ASSERT_EQ(HexTextToIdentifier("00112233445566778899aabbccddeeff", &id), STATUS_SUCCESS);
  for (std::size_t k = 0; k < id.size(); ++k) {
    EXPECT_EQ(id[k], static_cast<std::uint8_t>(0x11 * k)) << k;
  }

  Identifier partial{};
  EXPECT_EQ(HexTextToIdentifier("0102zz0405060708090a0b0c0d0e0f10", &partial), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(partial[0], 0x01);
  EXPECT_EQ(partial[1], 0x02);
  EXPECT_EQ(partial[2], 0x00) << "conversion must stop at the failing pair";
  EXPECT_EQ(partial[3], 0x00);
}

struct CidCase {
  const char* name;
  std::string text;
  CidParseResult result;
};

const Identifier kSampleId{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                           0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};

TEST(ParseChecksumCidTest, ClassifiesValues) {
  const CidCase cases[] = {
      {"plain", "00112233445566778899AABBCCDDEEFF08", CidParseResult::kValid},
      {"lowercase", "00112233445566778899aabbccddeeff08", CidParseResult::kValid},
      {"dashes", "00112233-4455-6677-8899-AABBCCDDEEFF-08", CidParseResult::kValid},
      {"dashes everywhere", "-0-0112233445566778899AABBCCDDEEFF0-8-", CidParseResult::kValid},
      {"extra after 34 digits", "00112233445566778899AABBCCDDEEFF08zz-more", CidParseResult::kValid},
      {"wrong checksum", "00112233445566778899AABBCCDDEEFF09", CidParseResult::kChecksumFailed},
      {"checksum off by 0x80", "00112233445566778899AABBCCDDEEFF88", CidParseResult::kChecksumFailed},
      {"33 characters", "00112233445566778899AABBCCDDEEFF0", CidParseResult::kMalformed},
      {"empty", "", CidParseResult::kMalformed},
      {"40 characters, 33 digits", "0011223344556677889-9AABBCCDDEEFF0------", CidParseResult::kMalformed},
      {"braces", "{00112233-4455-6677-8899-AABBCCDDEEFF-08}", CidParseResult::kChecksumFailed},
      {"non-hex identifier", "0011223344556677889GAABBCCDDEEFF08", CidParseResult::kChecksumFailed},
      {"non-hex checksum", "00112233445566778899AABBCCDDEEFF0x", CidParseResult::kChecksumFailed},
      {"all zero", "0000000000000000000000000000000000", CidParseResult::kValid},
  };
  for (const CidCase& c : cases) {
    Identifier id{};
    IdentifierText digits{};
    EXPECT_EQ(ParseChecksumCid(c.text.c_str(), &id, &digits), c.result) << c.name;
  }
}

TEST(ParseChecksumCidTest, DeliversBytesAndTheTypedIdentifierDigits) {
  Identifier id{};
  IdentifierText digits{};
  ASSERT_EQ(ParseChecksumCid("00112233-4455-6677-8899-AAbbCCDDEEFF-08", &id, &digits), CidParseResult::kValid);
  EXPECT_EQ(id, kSampleId);
  EXPECT_STREQ(digits.data(), "00112233445566778899AAbbCCDDEEFF") << "digits keep their case, lose the dashes";

  // A checksum that wraps: identifier bytes sum to 0x0F00 -> checksum 00.
  Identifier wrap{};
  std::string text(32, 'f');
  text.replace(30, 2, "00");  // 15 bytes of 0xFF = 0xEF1, + 0x00
  text += "0f";               // 0xEF1 + 0x0F = 0xF00, 0 mod 256
  ASSERT_EQ(ParseChecksumCid(text.c_str(), &wrap, &digits), CidParseResult::kValid);
  EXPECT_EQ(wrap[15], 0x00);
  EXPECT_EQ(wrap[0], 0xFF);
}

struct TokenCase {
  const char* text;
  bool ok;
  std::uint64_t token;
};

TEST(ParseProvisioningTokenTest, AcceptsAndRejects) {
  const TokenCase cases[] = {
      {"0000abcd", true, 0xABCD},
      {"0123456789abcdef", true, 0x123456789ABCDEFull},
      {"1234567z", true, 0x1234567},  // conversion stops at the first non-hex character
      {"0x00abcd", true, 0xABCD},     // strtoull takes the prefix
      {"  0000ab", true, 0xAB},       // and leading blanks
      {"ABCDEF01", true, 0xABCDEF01},
      {"abcdef0", false, 0},           // 7 characters
      {"abcdef012", false, 0},         // odd length
      {"00000000", false, 0},          // zero
      {"ffffffffffffffff", false, 0},  // all ones
      {"10000000000000000000", false, 0},  // overflow
      {"zzzzzzzz", false, 0},              // nothing converted
      {"", false, 0},
  };
  for (const TokenCase& c : cases) {
    std::uint64_t token = 77;
    EXPECT_EQ(ParseProvisioningToken(c.text, &token), c.ok) << c.text;
    EXPECT_EQ(token, c.ok ? c.token : 77u) << c.text;
  }
}

}  // namespace
