// UTF-16 to UTF-8 conversion and GUID text, at their boundaries.
#include "runtime/utf8.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// a, e-acute, euro sign, U+1F600 as a surrogate pair: 1 + 2 + 3 + 4 bytes.
constexpr WCHAR kMixed[] = {u'a', 0x00E9, 0x20AC, 0xD83D, 0xDE00};
const std::string kMixedUtf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

UNICODE_STRING Over(const WCHAR* text, std::size_t units) {
  return UNICODE_STRING{static_cast<std::uint16_t>(units * 2), static_cast<std::uint16_t>(units * 2),
                        const_cast<WCHAR*>(text)};
}

// Exact room: no terminator; one more: terminated; too little: stops before
// the first character that does not fit, never terminated.
TEST(UnicodeToUtf8NTest, RoomAndArguments) {
  const std::size_t len = kMixedUtf8.size();
  for (std::size_t room = 0; room <= len + 1; ++room) {
    SCOPED_TRACE(room);
    char out[16];
    std::memset(out, '#', sizeof(out));
    std::uint32_t produced = 99;
    const NTSTATUS status = RtlUnicodeToUTF8N(out, static_cast<std::uint32_t>(room), &produced, kMixed, sizeof(kMixed));
    const std::size_t whole = room >= len ? len : room >= 6 ? 6 : room >= 3 ? 3 : room >= 1 ? 1 : 0;
    EXPECT_EQ(status, room >= len ? STATUS_SUCCESS : STATUS_BUFFER_TOO_SMALL);
    EXPECT_EQ(produced, whole);
    const std::string terminator = room > len ? std::string(1, '\0') : "";
    EXPECT_EQ(std::string(out, sizeof(out)), kMixedUtf8.substr(0, whole) + terminator +
                                                 std::string(16 - whole - terminator.size(), '#'));
  }
  std::uint32_t produced = 77;
  char out[4];
  EXPECT_EQ(RtlUnicodeToUTF8N(nullptr, 4, nullptr, kMixed, 2), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, nullptr, 2), STATUS_INVALID_PARAMETER_4);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, &produced, kMixed, 1), STATUS_INVALID_PARAMETER_5);
  EXPECT_EQ(produced, 77u);
  EXPECT_EQ(RtlUnicodeToUTF8N(out, 4, nullptr, kMixed, 2), STATUS_SUCCESS);  // the count is optional
}

// Each sequence length at its smallest and largest code point, decoded and
// encoded back to the same bytes; and one past each bound: a stray
// continuation byte, an overlong form, a surrogate, a code point beyond
// U+10FFFF, a cut sequence.
TEST(ConversionTest, Utf8AtTheBoundsBothWaysAndRefusedPastThem) {
  const std::pair<std::string_view, std::u16string_view> cases[] = {
      {"\x7F", u"\x7F"}, {"\xC2\x80", u"\x80"}, {"\xDF\xBF", u"\x7FF"}, {"\xE0\xA0\x80", u"\x800"},
      {"\xEF\xBF\xBF", u"\xFFFF"}, {"\xF0\x90\x80\x80", u"\xD800\xDC00"}, {"\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
      {"\x80", u""}, {"\xC1\xBF", u""}, {"\xE0\x9F\xBF", u""}, {"\xED\xA0\x80", u""}, {"\xF4\x90\x80\x80", u""},
      {"\xE2\x82", u""}, {"\xF8\x88\x80\x80\x80", u""}};
  for (const auto& [utf8, utf16] : cases) {
    SCOPED_TRACE(testing::PrintToString(utf8));
    UNICODE_STRING out{};
    EXPECT_EQ(TvUtf8ToUnicodeString(utf8, &out), utf16.empty() ? STATUS_UNSUCCESSFUL : STATUS_SUCCESS);
    EXPECT_EQ(std::u16string_view(out.Buffer, out.Length / 2), utf16);
    Utf8String back;
    EXPECT_TRUE(utf16.empty() || (NT_SUCCESS(back.Convert(&out)) && back.c_str() == utf8));
    RtlFreeUnicodeString(&out);
  }
}

TEST(ConversionTest, AnsiIsAsciiOnlyAndUtf8CopiesAreTerminated) {
  const struct { std::vector<WCHAR> units; NTSTATUS status; const char* expect; } ansiCases[] = {
      {{u'/', u'o', u'p', u't'}, STATUS_SUCCESS, "/opt"},
      {{u'c', 0x00E9}, STATUS_BUFFER_TOO_SMALL, nullptr},
      {{0xD83D, 0xDE00}, STATUS_BUFFER_TOO_SMALL, nullptr},  // 4 bytes for 2 units
  };
  for (const auto& c : ansiCases) {
    const UNICODE_STRING source = Over(c.units.data(), c.units.size());
    ANSI_STRING dest{3, 4, const_cast<char*>("abc")};
    EXPECT_EQ(RtlUnicodeStringToAnsiString(&dest, &source, true), c.status);
    EXPECT_STREQ(dest.Buffer, c.expect);
    EXPECT_EQ(dest.MaximumLength, c.expect ? std::strlen(c.expect) + 1 : 0);
    RtlFreeAnsiString(&dest);
  }
  const WCHAR opt[] = u"/opt";
  for (const auto& [source, expect] :
       {std::pair{Over(kMixed, 5), kMixedUtf8}, {Over(opt, 0), ""}, {UNICODE_STRING{}, ""}}) {
    char* out = nullptr;
    std::size_t length = 99;
    ASSERT_EQ(TvUnicodeStringToUtf8(&out, &length, &source), STATUS_SUCCESS);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(std::string(out, length + 1), expect + '\0');
    std::uint64_t blockSize = 0;  // exactly the text plus terminator
    std::memcpy(&blockSize, out - 16, sizeof blockSize);
    EXPECT_EQ(blockSize, expect.size() + 1);
    TvFreePoolWithTag(out, kTagUtf8Buffer);
  }
  Utf8String s;  // a failed conversion leaves the owner empty
  const UNICODE_STRING good = Over(opt, 4), bad = Over(kMixed, 4);  // `bad` ends in a high surrogate
  ASSERT_EQ(s.Convert(&good), STATUS_SUCCESS);
  EXPECT_STREQ(s.c_str(), "/opt");
  EXPECT_EQ(s.Convert(&bad), STATUS_UNSUCCESSFUL);
  EXPECT_EQ(s.c_str(), nullptr);
}

}  // namespace
