// Allocator and counted-string operations, at their boundaries.
#include "runtime/rtl_string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "runtime/pool.h"
#include "tests/support/trace_capture.h"

namespace {

struct HeaderView { std::uint64_t size; std::uint32_t tagIndex; char tag[4]; };

HeaderView HeaderBefore(const void* block) {
  HeaderView h;
  std::memcpy(&h, static_cast<const char*>(block) - 16, sizeof(h));
  return h;
}

// A descriptor of `maxBytes` over a caller-owned buffer pre-filled with '#' so
// that writes past the text show.
struct Backed {
  explicit Backed(std::size_t maxBytes, std::u16string_view initial = u"") : storage(maxBytes / 2 + 4, u'#') {
    std::copy(initial.begin(), initial.end(), storage.begin());
    s = UNICODE_STRING{static_cast<std::uint16_t>(initial.size() * 2), static_cast<std::uint16_t>(maxBytes),
                       storage.data()};
  }
  std::vector<WCHAR> storage;
  UNICODE_STRING s;
};

// A read-only descriptor over `text` (the operations given it never write).
UNICODE_STRING Over(std::u16string_view text) {
  const auto bytes = static_cast<std::uint16_t>(text.size() * 2);
  return UNICODE_STRING{bytes, bytes, const_cast<WCHAR*>(text.data())};
}

TEST(PoolTest, HeaderAlignmentFailuresAndCheckedAdds) {
  for (const auto& [size, tag, label] : {std::tuple{0ul, kTagStringBuffer, "Strg"}, {33ul, kPoolTagCount, "????"}}) {
    void* block = TvAllocatePoolWithTag(size, tag);  // a 0-byte request still gets a 1-byte block
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    const HeaderView h = HeaderBefore(block);
    EXPECT_EQ(h.size, std::max<std::size_t>(size, 1));
    EXPECT_EQ(h.tagIndex, tag);
    EXPECT_EQ(std::string(h.tag, 4), label);
    TvFreePoolWithTag(block, 9999);  // the argument tag is not consulted
  }
  StringObject s(TvAllocateUnicodeString(32767));  // one block: the units follow the descriptor
  ASSERT_TRUE(s);
  EXPECT_EQ(reinterpret_cast<char*>(s.get()->Buffer), reinterpret_cast<char*>(s.get()) + sizeof(UNICODE_STRING));
  EXPECT_EQ(HeaderBefore(s.get()).size, sizeof(UNICODE_STRING) + 65534u);
  EXPECT_EQ(TvAllocateUnicodeString(32768), nullptr);

  const auto mark = vt_test::LogMark();
  EXPECT_EQ(TvAllocatePoolWithTag(SIZE_MAX - 20, kTagTool), nullptr);
  std::uint16_t r16 = 7;
  EXPECT_EQ(TvCheckedAdd16(0xFFFD, 2, &r16, "a16"), STATUS_SUCCESS);
  EXPECT_EQ(TvCheckedAdd16(r16, 1, &r16, "Adding a terminator"), STATUS_INTEGER_OVERFLOW);
  EXPECT_EQ(r16, 0xFFFF);  // untouched on failure
  const std::string log = vt_test::LogSince(mark);
  EXPECT_NE(log.find("Allocation failure."), std::string::npos) << log;
  EXPECT_NE(log.find("Adding a terminator"), std::string::npos) << log;
  EXPECT_EQ(log.find("a16"), std::string::npos) << "success must not log";
}

TEST(DuplicateTest, FlagsAndSources) {
  WCHAR sentinel = u'!';
  UNICODE_STRING emptySource{0, 0, nullptr};
  const struct { std::uint32_t flags; const UNICODE_STRING* source; NTSTATUS status; bool buffer; } cases[] = {
      {1, &emptySource, STATUS_SUCCESS, false},           {3, &emptySource, STATUS_SUCCESS, true},
      {3, nullptr, STATUS_SUCCESS, true},                 {2, &emptySource, STATUS_INVALID_PARAMETER, false},
      {4, &emptySource, STATUS_INVALID_PARAMETER, false},
  };
  for (const auto& c : cases) {
    UNICODE_STRING dest{2, 2, &sentinel};
    EXPECT_EQ(RtlDuplicateUnicodeString(c.flags, c.source, &dest), c.status) << c.flags;
    EXPECT_EQ(dest.Length, 0);
    EXPECT_EQ(dest.MaximumLength, c.buffer ? 2 : 0);
    ASSERT_EQ(dest.Buffer != nullptr, c.buffer);
    EXPECT_TRUE(!c.buffer || dest.Buffer[0] == u'\0');
    RtlFreeUnicodeString(&dest);
  }
  UNICODE_STRING source = Over(u"Registry");
  source.MaximumLength = static_cast<std::uint16_t>(source.MaximumLength + 6);  // spare room is not copied
  OwnedUnicodeString terminated;
  ASSERT_EQ(RtlDuplicateUnicodeString(1, &source, terminated.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(terminated.get()), u"Registry");
  EXPECT_EQ(terminated.get().MaximumLength, 18);
  EXPECT_EQ(terminated.get().Buffer[8], u'\0');
  // Odd Length, odd MaximumLength, MaximumLength below Length, lengths without a buffer.
  for (const UNICODE_STRING& m : {UNICODE_STRING{3, 4, &sentinel}, UNICODE_STRING{2, 3, &sentinel},
                                  UNICODE_STRING{4, 2, &sentinel}, UNICODE_STRING{0, 2, nullptr}}) {
    UNICODE_STRING dest{2, 2, &sentinel};
    EXPECT_EQ(RtlDuplicateUnicodeString(1, &m, &dest), STATUS_INVALID_PARAMETER) << m.Length << "/" << m.MaximumLength;
    EXPECT_EQ(dest.Buffer, nullptr);
  }
  const std::u16string longText(32767, u'q');
  const UNICODE_STRING longest = Over(longText);  // 65534 bytes: no room for a terminator
  OwnedUnicodeString tooLong;
  EXPECT_EQ(RtlDuplicateUnicodeString(3, &longest, tooLong.ptr()), STATUS_NAME_TOO_LONG);
  EXPECT_EQ(tooLong.get().Buffer, nullptr);
}

// A terminator only where two bytes of room remain, and never past MaximumLength.
TEST(AppendTest, TerminatesOnlyWithinRoom) {
  for (const auto& [maxBytes, end] : {std::pair{std::size_t{6}, u'\0'}, {std::size_t{4}, u'#'}}) {
    Backed d(maxBytes, u"a");
    ASSERT_EQ(RtlAppendUnicodeToString(&d.s, u"b"), STATUS_SUCCESS) << maxBytes;
    EXPECT_EQ(d.s.Length, 4);
    EXPECT_EQ(d.storage[2], end) << maxBytes;
  }
  Backed full(4, u"ab");
  EXPECT_EQ(RtlAppendUnicodeToString(&full.s, u"c"), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(std::u16string_view(full.storage.data(), 3), u"ab#");
}

TEST(CompareTest, OrderingAndFolding) {
  const struct { std::u16string_view a, b; bool fold; std::int32_t expect; } cases[] = {
      {u"abc", u"ABD", true, u'C' - u'D'},   {u"abc", u"ABC", true, 0},
      {u"abc", u"ABC", false, u'a' - u'A'},  {u"ab", u"abc", false, -1},
      {u"\u00e9", u"\u00c9", true, 0xE9 - 0xC9},  {u"\uffff", u"a", false, 0xFFFF - u'a'},  // only a-z fold; unsigned
      {u"[", u"{", true, u'[' - u'{'},       {u"`", u"@", true, u'`' - u'@'},  // neighbours of the letter ranges
  };
  for (const auto& c : cases) {
    const UNICODE_STRING x = Over(c.a), y = Over(c.b);
    EXPECT_EQ(RtlCompareUnicodeString(&x, &y, c.fold), c.expect) << &c - cases;
  }
}

}  // namespace
