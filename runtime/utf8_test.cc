// UTF-16 to UTF-8 conversion and GUID text, at their boundaries.
#include "runtime/utf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// a, e-acute, euro sign, U+1F600 as a surrogate pair.
constexpr WCHAR kMixed[] = {u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00};
constexpr char kMixedUtf8[] = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
constexpr std::uint32_t kMixedBytes = sizeof(kMixed);
constexpr std::size_t kMixedUtf8Len = sizeof(kMixedUtf8) - 1;  // 10

UNICODE_STRING Over(const WCHAR* text, std::size_t units) {
  return UNICODE_STRING{static_cast<std::uint16_t>(units * 2), static_cast<std::uint16_t>(units * 2),
                        const_cast<WCHAR*>(text)};
}

TEST(EncodeTest, EncodedFormsOfEachRange) {
  struct Case {
    std::vector<WCHAR> units;
    std::string expect;
  };
  const Case cases[] = {
      {{0x0000}, std::string(1, '\0')},
      {{0x007F}, "\x7F"},
      {{0x0080}, "\xC2\x80"},
      {{0x07FF}, "\xDF\xBF"},
      {{0x0800}, "\xE0\xA0\x80"},
      {{0xD7FF}, "\xED\x9F\xBF"},
      {{0xE000}, "\xEE\x80\x80"},
      {{0xFFFF}, "\xEF\xBF\xBF"},
      {{0xD800, 0xDC00}, "\xF0\x90\x80\x80"},  // U+10000
      {{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},  // U+10FFFF
      {{u'x', 0xD83D, 0xDE00, u'y'}, "x\xF0\x9F\x98\x80y"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.units[0]));
    char out[16];
    std::memset(out, '#', sizeof(out));
    std::size_t produced = 99;
    ASSERT_EQ(TvEncodeUtf8(c.units.data(), c.units.size() * 2, out, sizeof(out), &produced), STATUS_SUCCESS);
    EXPECT_EQ(std::string(out, produced), c.expect);
    EXPECT_EQ(out[produced], '#') << "the encoder writes no terminator";
    std::size_t counted = 99;
    ASSERT_EQ(TvEncodeUtf8(c.units.data(), c.units.size() * 2, nullptr, 0, &counted), STATUS_SUCCESS);
    EXPECT_EQ(counted, c.expect.size());
  }
}

TEST(EncodeTest, InvalidSurrogatesStopWithCountBeforeThem) {
  struct Case {
    std::vector<WCHAR> units;
    std::size_t before;
  };
  const Case cases[] = {
      {{u'a', u'b', 0xD83D}, 2},          // high surrogate at the end
      {{u'a', 0xD83D, u'b'}, 1},          // high surrogate followed by a non-surrogate
      {{0xD83D, 0xD83D, 0xDE00}, 0},      // high followed by high
      {{0x00E9, 0xDE00, u'a'}, 2},        // low surrogate alone
      {{0xDC00}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.before);
    char out[16];
    std::size_t produced = 99;
    EXPECT_EQ(TvEncodeUtf8(c.units.data(), c.units.size() * 2, out, sizeof(out), &produced), STATUS_UNSUCCESSFUL);
    EXPECT_EQ(produced, c.before);
    produced = 99;
    EXPECT_EQ(TvEncodeUtf8(c.units.data(), c.units.size() * 2, nullptr, 0, &produced), STATUS_UNSUCCESSFUL);
    EXPECT_EQ(produced, c.before);
  }
}

TEST(EncodeTest, OddByteIgnoredAndTooSmallStopsBeforeCharacter) {
  // An odd trailing byte: only the whole unit counts. A high surrogate cut in
  // half by an odd length is simply absent.
  const WCHAR pair[] = {u'a', 0xD83D};
  std::size_t produced = 0;
  EXPECT_EQ(TvEncodeUtf8(pair, 3, nullptr, 0, &produced), STATUS_SUCCESS);
  EXPECT_EQ(produced, 1u);

  // Room for "a" + e-acute (3 bytes) but not the euro sign: stops before it.
  for (std::size_t room = 0; room < kMixedUtf8Len; ++room) {
    SCOPED_TRACE(room);
    char out[16];
    std::memset(out, '#', sizeof(out));
    EXPECT_EQ(TvEncodeUtf8(kMixed, kMixedBytes, out, room, &produced), STATUS_BUFFER_TOO_SMALL);
    const std::size_t whole = room >= 6 ? 6 : room >= 3 ? 3 : room >= 1 ? 1 : 0;
    EXPECT_EQ(produced, whole);
    EXPECT_EQ(std::string(out, produced), std::string(kMixedUtf8, whole));
    for (std::size_t i = produced; i < sizeof(out); ++i) EXPECT_EQ(out[i], '#') << i;
  }
  EXPECT_EQ(TvEncodeUtf8(kMixed, kMixedBytes, nullptr, 0, nullptr), STATUS_INVALID_PARAMETER);
}

TEST(EncodeTest, HighSurrogateEndingTheInputIgnoresUnitsBeyondLength) {
  // The low surrogate after the counted length must not be paired with it.
  const WCHAR units[] = {u'a', 0xD83D, 0xDE00};
  for (std::size_t bytes : {std::size_t{4}, std::size_t{5}}) {
    std::size_t produced = 99;
    char out[8];
    EXPECT_EQ(TvEncodeUtf8(units, bytes, out, sizeof(out), &produced), STATUS_UNSUCCESSFUL) << bytes;
    EXPECT_EQ(produced, 1u);
  }
  std::uint32_t produced = 0;
  EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 0, &produced, units, 4), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(produced, 1u);
}

TEST(UnicodeToUtf8NTest, ArgumentChecksInOrder) {
  char out[4];
  std::uint32_t produced = 77;
  EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 4, nullptr, kMixed, 2), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, nullptr, 2), STATUS_INVALID_PARAMETER_4);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, nullptr, 3), STATUS_INVALID_PARAMETER_4);
  // Odd length is refused before anything is read: the source is never touched.
  const WCHAR lone[] = {0xDC00};
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, lone, 1), STATUS_INVALID_PARAMETER_5);
  EXPECT_EQ(produced, 77u);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, lone, 0), STATUS_SUCCESS);
  EXPECT_EQ(produced, 0u);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, nullptr, lone, 0), STATUS_SUCCESS);
}

TEST(UnicodeToUtf8NTest, CountsAndTerminatesOnlyWithRoom) {
  std::uint32_t produced = 0;
  ASSERT_EQ(RtlUnicodeToUTF8N(nullptr, 0, &produced, kMixed, kMixedBytes), STATUS_SUCCESS);
  EXPECT_EQ(produced, 10u);

  char exact[kMixedUtf8Len + 2];
  std::memset(exact, '#', sizeof(exact));
  ASSERT_EQ(RtlUnicodeToUTF8N(exact, kMixedUtf8Len, &produced, kMixed, kMixedBytes), STATUS_SUCCESS);
  EXPECT_EQ(produced, kMixedUtf8Len);
  EXPECT_EQ(std::memcmp(exact, kMixedUtf8, kMixedUtf8Len), 0);
  EXPECT_EQ(exact[kMixedUtf8Len], '#') << "no terminator without room";

  char roomy[kMixedUtf8Len + 2];
  std::memset(roomy, '#', sizeof(roomy));
  ASSERT_EQ(RtlUnicodeToUTF8N(roomy, kMixedUtf8Len + 1, &produced, kMixed, kMixedBytes), STATUS_SUCCESS);
  EXPECT_EQ(produced, kMixedUtf8Len);
  EXPECT_STREQ(roomy, kMixedUtf8);
  EXPECT_EQ(roomy[kMixedUtf8Len + 1], '#');

  // Too small: the count is still written, no terminator after a failure.
  char small[8];
  std::memset(small, '#', sizeof(small));
  EXPECT_EQ(RtlUnicodeToUTF8N(small, 7, &produced, kMixed, kMixedBytes), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(produced, 6u);
  EXPECT_EQ(small[6], '#');

  // A destination without an out-parameter is allowed.
  char plain[16];
  EXPECT_EQ(RtlUnicodeToUTF8N(plain, sizeof(plain), nullptr, kMixed, kMixedBytes), STATUS_SUCCESS);
  EXPECT_STREQ(plain, kMixedUtf8);

  const WCHAR highAtEnd[] = {u'a', 0xD800};
  EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 0, &produced, highAtEnd, sizeof(highAtEnd)), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(produced, 1u);
}

TEST(AnsiConversionTest, AsciiTextAllocatedAndTerminated) {
  const WCHAR opt[] = u"/opt";
  UNICODE_STRING source = Over(opt, 4);
  OwnedAnsiString dest;
  ASSERT_EQ(RtlUnicodeStringToAnsiString(dest.ptr(), &source, true), STATUS_SUCCESS);
  EXPECT_EQ(dest.get().Length, 4);
  EXPECT_EQ(dest.get().MaximumLength, 5);
  ASSERT_NE(dest.get().Buffer, nullptr);
  EXPECT_STREQ(dest.get().Buffer, "/opt");

  UNICODE_STRING none{0, 0, nullptr};
  OwnedAnsiString empty;
  ASSERT_EQ(RtlUnicodeStringToAnsiString(empty.ptr(), &none, true), STATUS_SUCCESS);
  EXPECT_EQ(empty.get().Length, 0);
  EXPECT_EQ(empty.get().MaximumLength, 1);
  ASSERT_NE(empty.get().Buffer, nullptr);
  EXPECT_EQ(empty.get().Buffer[0], '\0');
}

TEST(AnsiConversionTest, NonAsciiOrInvalidFailsWithNullBuffer) {
  struct Case {
    std::vector<WCHAR> units;
    NTSTATUS status;
  };
  const Case cases[] = {
      {{u'c', 0x00E9}, STATUS_BUFFER_TOO_SMALL},
      {{0xD83D, 0xDE00}, STATUS_BUFFER_TOO_SMALL},  // 4 bytes for 2 units
      {{u'a', 0xDC00}, STATUS_UNSUCCESSFUL},
  };
  for (const Case& c : cases) {
    UNICODE_STRING source = Over(c.units.data(), c.units.size());
    ANSI_STRING dest{3, 4, const_cast<char*>("abc")};
    EXPECT_EQ(RtlUnicodeStringToAnsiString(&dest, &source, true), c.status);
    EXPECT_EQ(dest.Buffer, nullptr);
  }
}

TEST(Utf8StringTest, NewTerminatedCopies) {
  struct Case {
    UNICODE_STRING source;
    std::string expect;
  };
  const WCHAR opt[] = u"/opt/Marrowlight";
  const Case cases[] = {
      {Over(kMixed, 5), std::string(kMixedUtf8)},
      {Over(opt, 16), "/opt/Marrowlight"},
      {UNICODE_STRING{0, 0, nullptr}, ""},
      {UNICODE_STRING{0, 8, const_cast<WCHAR*>(opt)}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expect);
    char* out = nullptr;
    std::size_t length = 99;
    ASSERT_EQ(TvUnicodeStringToUtf8(&out, &length, &c.source), STATUS_SUCCESS);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(length, c.expect.size());
    EXPECT_EQ(std::string(out, length + 1), c.expect + '\0');
    // The block is exactly the text plus terminator, tagged 290.
    std::uint64_t size;
    std::uint32_t tag;
    std::memcpy(&size, out - 16, 8);
    std::memcpy(&tag, out - 8, 4);
    EXPECT_EQ(size, c.expect.size() + 1);
    EXPECT_EQ(tag, TAG_UTF8_BUFFER);
    TvFreePoolWithTag(out, TAG_UTF8_BUFFER);
  }

  // The RAII form, with a failure leaving it empty.
  Utf8String s;
  UNICODE_STRING good = Over(opt, 4);
  ASSERT_EQ(s.Convert(&good), STATUS_SUCCESS);
  EXPECT_STREQ(s.c_str(), "/opt");
  const WCHAR bad[] = {u'x', 0xD800};
  UNICODE_STRING badSource = Over(bad, 2);
  EXPECT_EQ(s.Convert(&badSource), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(s.c_str(), nullptr);
  EXPECT_EQ(s.size(), 0u);
}

TEST(GuidTest, LowerCaseFixedWidthText) {
  struct Case {
    GUID guid;
    const char* text;
  };
  const Case cases[] = {
      {{0x0123ABCD, 0x00EF, 0xA0B1, {0xC2, 0x03, 0xD4, 0xE5, 0xF6, 0x07, 0x18, 0x29}},
       "{0123abcd-00ef-a0b1-c203-d4e5f6071829}"},
      {{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}}, "{00000000-0000-0000-0000-000000000000}"},
  };
  for (const Case& c : cases) {
    char out[kGuidTextLength + 1];
    std::memset(out, '#', sizeof(out));
    TvFormatGuid(c.guid, out);
    EXPECT_STREQ(out, c.text);
    EXPECT_EQ(std::strlen(out), kGuidTextLength);
  }
}

}  // namespace
