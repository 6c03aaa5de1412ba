// UTF-16 to UTF-8 conversion and GUID text, at their boundaries.
#include "runtime/utf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// a, e-acute, euro sign, U+1F600 as a surrogate pair: 1 + 2 + 3 + 4 bytes.
constexpr WCHAR kMixed[] = {u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00};
constexpr char kMixedUtf8[] = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
constexpr std::size_t kMixedUtf8Len = sizeof(kMixedUtf8) - 1;

UNICODE_STRING Over(const WCHAR* text, std::size_t units) {
  return UNICODE_STRING{static_cast<std::uint16_t>(units * 2), static_cast<std::uint16_t>(units * 2),
                        const_cast<WCHAR*>(text)};
}

// Each range's encoded form, and invalid surrogates stopping the walk with
// the count of what came before them. The encoder writes no terminator.
TEST(EncodeTest, RangesAndInvalidSurrogates) {
  const struct {
    std::vector<WCHAR> units;
    std::size_t bytes;  // 0: all units
    NTSTATUS status;
    std::string expect;
  } cases[] = {
      {{0x0000}, 0, STATUS_SUCCESS, std::string(1, '\0')},
      {{0x007F}, 0, STATUS_SUCCESS, "\x7F"},
      {{0x0080}, 0, STATUS_SUCCESS, "\xC2\x80"},
      {{0x07FF}, 0, STATUS_SUCCESS, "\xDF\xBF"},
      {{0x0800}, 0, STATUS_SUCCESS, "\xE0\xA0\x80"},
      {{0xFFFF}, 0, STATUS_SUCCESS, "\xEF\xBF\xBF"},
      {{0xD800, 0xDC00}, 0, STATUS_SUCCESS, "\xF0\x90\x80\x80"},  // U+10000
      {{0xDBFF, 0xDFFF}, 0, STATUS_SUCCESS, "\xF4\x8F\xBF\xBF"},  // U+10FFFF
      {{u'a', u'b', 0xD83D}, 0, STATUS_UNSUCCESSFUL, "ab"},           // high surrogate at the end
      {{u'a', 0xD83D, 0xDE00}, 4, STATUS_UNSUCCESSFUL, "a"},          // ... low half beyond the length
      {{u'a', 0xD83D, u'b'}, 0, STATUS_UNSUCCESSFUL, "a"},            // high, then a non-surrogate
      {{0xD83D, 0xD83D, 0xDE00}, 0, STATUS_UNSUCCESSFUL, ""},         // high, then high
      {{0x00E9, 0xDE00, u'a'}, 0, STATUS_UNSUCCESSFUL, "\xC3\xA9"},   // low surrogate alone
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << &c - cases);
    const std::size_t bytes = c.bytes != 0 ? c.bytes : c.units.size() * 2;
    char out[16];
    std::memset(out, '#', sizeof(out));
    std::size_t produced = 99;
    EXPECT_EQ(TvEncodeUtf8(c.units.data(), bytes, out, sizeof(out), &produced), c.status);
    EXPECT_EQ(std::string(out, produced + 1), c.expect + '#');
    produced = 99;
    EXPECT_EQ(TvEncodeUtf8(c.units.data(), bytes, nullptr, 0, &produced), c.status);
    EXPECT_EQ(produced, c.expect.size());
    std::uint32_t counted = 99;
    EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 0, &counted, c.units.data(), static_cast<std::uint32_t>(bytes)), c.status);
    EXPECT_EQ(counted, c.expect.size());
  }
}

TEST(EncodeTest, OddByteIgnoredAndTooSmallStopsBeforeCharacter) {
  std::size_t produced = 0;
  EXPECT_EQ(TvEncodeUtf8(kMixed, 3, nullptr, 0, &produced), STATUS_SUCCESS);  // "a" and a stray byte
  EXPECT_EQ(produced, 1u);
  for (std::size_t room = 0; room < kMixedUtf8Len; ++room) {
    SCOPED_TRACE(room);
    char out[16];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(TvEncodeUtf8(kMixed, sizeof(kMixed), out, room, &produced), STATUS_BUFFER_TOO_SMALL);
    const std::size_t whole = room >= 6 ? 6 : room >= 3 ? 3 : room >= 1 ? 1 : 0;
    EXPECT_EQ(std::string(out, sizeof(out)), std::string(kMixedUtf8, whole) + std::string(16 - whole, '#'));
    EXPECT_EQ(produced, whole);
  }
}

TEST(UnicodeToUtf8NTest, ArgumentChecksInOrder) {
  char out[4];
  std::uint32_t produced = 77;
  EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 4, nullptr, kMixed, 2), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, nullptr, 2), STATUS_INVALID_PARAMETER_4);
  // Odd length is refused before anything is read.
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, kMixed, 1), STATUS_INVALID_PARAMETER_5);
  EXPECT_EQ(produced, 77u);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, kMixed, 0), STATUS_SUCCESS);
  EXPECT_EQ(produced, 0u);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, nullptr, kMixed, 2), STATUS_SUCCESS);  // the count is optional
}

TEST(UnicodeToUtf8NTest, TerminatesOnlyWithRoom) {
  std::uint32_t produced = 0;
  const struct {
    std::uint32_t size;
    NTSTATUS status;
    std::uint32_t produced;
    std::string expect;  // the destination's bytes afterwards
  } cases[] = {
      {kMixedUtf8Len, STATUS_SUCCESS, kMixedUtf8Len, std::string(kMixedUtf8) + "##"},  // exact: no terminator
      {kMixedUtf8Len + 1, STATUS_SUCCESS, kMixedUtf8Len, std::string(kMixedUtf8, kMixedUtf8Len + 1) + "#"},
      {7, STATUS_BUFFER_TOO_SMALL, 6, std::string(kMixedUtf8, 6) + "######"},  // no terminator on failure
  };
  for (const auto& c : cases) {
    char out[kMixedUtf8Len + 2];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(RtlUnicodeToUTF8N(out, c.size, &produced, kMixed, sizeof(kMixed)), c.status) << c.size;
    EXPECT_EQ(std::string(out, sizeof(out)), c.expect) << c.size;
    EXPECT_EQ(produced, c.produced) << c.size;
  }
}

TEST(AnsiConversionTest, AsciiOnlyAllocatedAndTerminated) {
  const struct {
    std::vector<WCHAR> units;
    NTSTATUS status;
    const char* expect;  // null: no buffer
  } cases[] = {
      {{u'/', u'o', u'p', u't'}, STATUS_SUCCESS, "/opt"},
      {{}, STATUS_SUCCESS, ""},
      {{u'c', 0x00E9}, STATUS_BUFFER_TOO_SMALL, nullptr},
      {{0xD83D, 0xDE00}, STATUS_BUFFER_TOO_SMALL, nullptr},  // 4 bytes for 2 units
      {{u'a', 0xDC00}, STATUS_UNSUCCESSFUL, nullptr},
  };
  for (const auto& c : cases) {
    UNICODE_STRING source = Over(c.units.empty() ? nullptr : c.units.data(), c.units.size());
    ANSI_STRING dest{3, 4, const_cast<char*>("abc")};
    EXPECT_EQ(RtlUnicodeStringToAnsiString(&dest, &source, true), c.status);
    if (c.expect == nullptr) {
      EXPECT_EQ(dest.Buffer, nullptr);
      continue;
    }
    ASSERT_NE(dest.Buffer, nullptr);
    EXPECT_EQ(dest.Length, std::strlen(c.expect));
    EXPECT_EQ(dest.MaximumLength, std::strlen(c.expect) + 1);
    EXPECT_STREQ(dest.Buffer, c.expect);
    RtlFreeAnsiString(&dest);
  }
}

TEST(Utf8StringTest, NewTerminatedCopies) {
  const WCHAR opt[] = u"/opt/Marrowlight";
  const struct {
    UNICODE_STRING source;
    std::string expect;
  } cases[] = {
      {Over(kMixed, 5), std::string(kMixedUtf8)},
      {UNICODE_STRING{0, 0, nullptr}, ""},
      {UNICODE_STRING{0, 8, const_cast<WCHAR*>(opt)}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expect);
    char* out = nullptr;
    std::size_t length = 99;
    ASSERT_EQ(TvUnicodeStringToUtf8(&out, &length, &c.source), STATUS_SUCCESS);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(std::string(out, length + 1), c.expect + '\0');
    // The block is exactly the text plus terminator, with the UTF-8 tag.
    struct { std::uint64_t size; std::uint32_t tag; } header;
    std::memcpy(&header, out - 16, 12);
    EXPECT_EQ(header.size, c.expect.size() + 1);
    EXPECT_EQ(header.tag, TAG_UTF8_BUFFER);
    TvFreePoolWithTag(out, TAG_UTF8_BUFFER);
  }
  // The owner: a failed conversion leaves it empty.
  Utf8String s;
  UNICODE_STRING good = Over(opt, 4);
  ASSERT_EQ(s.Convert(&good), STATUS_SUCCESS);
  EXPECT_STREQ(s.c_str(), "/opt");
  UNICODE_STRING bad = Over(kMixed, 4);  // ends in a high surrogate
  EXPECT_EQ(s.Convert(&bad), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(s.c_str(), nullptr);
  EXPECT_EQ(s.size(), 0u);
}

TEST(GuidTest, LowerCaseZeroPaddedText) {
  const GUID guid{0x0123ABCD, 0x00EF, 0x0A0B, {0xC2, 0x03, 0x04, 0xE5, 0xF6, 0x07, 0x18, 0x29}};
  char out[kGuidTextLength + 1];
  std::memset(out, '#', sizeof(out));
  TvFormatGuid(guid, out);
  EXPECT_EQ(std::string(out, sizeof(out)), std::string("{0123abcd-00ef-0a0b-c203-04e5f6071829}") + '\0');
}

}  // namespace
