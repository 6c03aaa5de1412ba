// Allocator and counted-string operations, at their boundaries.
#include "runtime/rtl_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "runtime/pool.h"
#include "runtime/trace_capture.h"

namespace {

using vt_test::LogMark;
using vt_test::LogSince;

struct HeaderView {
  std::uint64_t size;
  std::uint32_t tagIndex;
  char tag[4];
};

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

UNICODE_STRING Over(std::u16string& text) {
  return UNICODE_STRING{static_cast<std::uint16_t>(text.size() * 2), static_cast<std::uint16_t>(text.size() * 2),
                        text.data()};
}

TEST(PoolTest, HeaderAlignmentAndFailures) {
  const struct {
    std::size_t size;
    std::uint32_t tag;
    std::uint64_t recordedSize;
    const char* label;  // null: the tag table's text
  } cases[] = {
      {0, TAG_STRING_BUFFER, 1, "Strg"},  // a 0-byte request still gets a block
      {17, TAG_UTF8_BUFFER, 17, nullptr},
      {33, kPoolTagCount, 33, "????"},    // out-of-range tag
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    void* block = TvAllocatePoolWithTag(c.size, c.tag);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    const HeaderView h = HeaderBefore(block);
    EXPECT_EQ(h.size, c.recordedSize);
    EXPECT_EQ(h.tagIndex, c.tag);
    EXPECT_EQ(std::memcmp(h.tag, c.label ? c.label : TvPoolTagText(c.tag), 4), 0);
    std::memset(block, 0xA5, c.recordedSize);  // the whole block is usable
    TvFreePoolWithTag(block, 9999);             // the argument tag is not consulted
  }
  const auto mark = LogMark();
  EXPECT_EQ(TvAllocatePoolWithTag(std::numeric_limits<std::size_t>::max(), TAG_TOOL), nullptr);
  EXPECT_EQ(TvAllocatePoolWithTag(std::numeric_limits<std::size_t>::max() - 20, TAG_TOOL), nullptr);
  TvFreePoolWithTag(nullptr, TAG_TOOL);
  EXPECT_NE(LogSince(mark).find("Allocation failure."), std::string::npos);
}

TEST(CheckedAddTest, LimitsAndLogging) {
  const auto mark = LogMark();
  std::uint16_t r16 = 7;
  EXPECT_EQ(TvCheckedAdd16(0xFFFD, 2, &r16, "a16"), STATUS_SUCCESS);
  EXPECT_EQ(r16, 0xFFFF);
  EXPECT_EQ(TvCheckedAdd16(0xFFFE, 2, &r16, "Adding a terminator"), STATUS_INTEGER_OVERFLOW);
  EXPECT_EQ(r16, 0xFFFF);  // untouched on failure
  std::uint32_t r32 = 7;
  EXPECT_EQ(TvCheckedAdd32(0xFFFFFFFEu, 1, &r32, "a32"), STATUS_SUCCESS);
  EXPECT_EQ(TvCheckedAdd32(r32, 1, &r32, "Adding one to a count"), STATUS_INTEGER_OVERFLOW);
  EXPECT_EQ(r32, 0xFFFFFFFFu);
  const std::string log = LogSince(mark);
  EXPECT_NE(log.find("Adding a terminator"), std::string::npos) << log;
  EXPECT_NE(log.find("Adding one to a count"), std::string::npos) << log;
  EXPECT_EQ(log.find("a16"), std::string::npos) << "success must not log";
}

TEST(AnsiStringTest, InitCapsLength) {
  const std::string big(70000, 'x');
  ANSI_STRING s{1, 1, nullptr};
  RtlInitAnsiString(&s, big.c_str());
  EXPECT_EQ(s.Length, 65534);
  EXPECT_EQ(s.MaximumLength, 65535);
  EXPECT_EQ(s.Buffer, big.c_str());
  RtlInitAnsiString(&s, nullptr);
  EXPECT_EQ(s.Length + s.MaximumLength, 0);
  EXPECT_EQ(s.Buffer, nullptr);

}

// Copy and append: cut or refused at MaximumLength, terminated only with room,
// nothing written past MaximumLength.
TEST(CopyAndAppendTest, Boundaries) {
  const struct {
    bool append;
    std::size_t destBytes;
    std::u16string_view initial, source;
    NTSTATUS status;
    std::u16string_view expect;
    bool terminated;
  } cases[] = {
      {false, 6, u"", u"abc", STATUS_SUCCESS, u"abc", false},  // capacity equals source: no terminator
      {false, 8, u"", u"abc", STATUS_SUCCESS, u"abc", true},   // one unit more: terminator
      {false, 4, u"z", u"abc", STATUS_SUCCESS, u"ab", false},  // cut silently
      {false, 0, u"", u"abc", STATUS_SUCCESS, u"", false},
      {false, 10, u"z", u"", STATUS_SUCCESS, u"", true},
      {true, 10, u"ab", u"cde", STATUS_SUCCESS, u"abcde", false},          // ends exactly at MaximumLength
      {true, 12, u"ab", u"cde", STATUS_SUCCESS, u"abcde", true},           // room for a terminator
      {true, 9, u"ab", u"cde", STATUS_BUFFER_TOO_SMALL, u"ab", false},     // one byte short
      {true, 4, u"ab", u"", STATUS_SUCCESS, u"ab", false},                 // empty source: no change
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << (c.append ? "append " : "copy ") << c.destBytes);
    Backed dest(c.destBytes, c.initial);
    std::u16string src(c.source);
    UNICODE_STRING source = Over(src);
    NTSTATUS status = STATUS_SUCCESS;
    if (c.append) {
      status = RtlAppendUnicodeStringToString(&dest.s, &source);
    } else {
      RtlCopyUnicodeString(&dest.s, &source);
    }
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(View(dest.s), c.expect);
    EXPECT_EQ(dest.s.MaximumLength, c.destBytes);
    EXPECT_EQ(dest.storage[c.expect.size()], c.terminated ? u'\0' : u'#');
    for (std::size_t i = (c.destBytes + 1) / 2; i < dest.storage.size(); ++i) EXPECT_EQ(dest.storage[i], u'#') << i;
  }
  Backed dest(8, u"ab");
  RtlCopyUnicodeString(&dest.s, nullptr);
  EXPECT_EQ(dest.s.Length, 0);
}

TEST(AppendTest, SourceOverMaximumTextIsRefusedEvenWhenDestIsLarge) {
  const std::u16string limit(32766, u'x');  // 65532 bytes: allowed
  const std::u16string over(32767, u'y');   // 65534 bytes: refused
  Backed dest(65534);
  EXPECT_EQ(RtlAppendUnicodeToString(&dest.s, over.c_str()), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(dest.s.Length, 0);
  EXPECT_EQ(RtlAppendUnicodeToString(&dest.s, limit.c_str()), STATUS_SUCCESS);
  EXPECT_EQ(dest.s.Length, 65532);
  EXPECT_EQ(dest.storage[32766], u'\0');
}

TEST(DuplicateTest, FlagsAndEmptySources) {
  WCHAR sentinel = u'!';
  UNICODE_STRING emptySource{0, 0, nullptr};
  const struct {
    std::uint32_t flags;
    const UNICODE_STRING* source;
    NTSTATUS status;
    bool buffer;
  } cases[] = {
      {1, &emptySource, STATUS_SUCCESS, false},
      {3, &emptySource, STATUS_SUCCESS, true},
      {3, nullptr, STATUS_SUCCESS, true},
      {1, nullptr, STATUS_SUCCESS, false},
      {2, &emptySource, STATUS_INVALID_PARAMETER, false},
      {4, &emptySource, STATUS_INVALID_PARAMETER, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.flags);
    UNICODE_STRING dest{2, 2, &sentinel};
    EXPECT_EQ(RtlDuplicateUnicodeString(c.flags, c.source, &dest), c.status);
    EXPECT_EQ(dest.Length, 0);
    EXPECT_EQ(dest.MaximumLength, c.buffer ? 2 : 0);
    ASSERT_EQ(dest.Buffer != nullptr, c.buffer);
    if (c.buffer) {
      EXPECT_EQ(dest.Buffer[0], u'\0');
      EXPECT_EQ(HeaderBefore(dest.Buffer).tagIndex, TAG_STRING_BUFFER);
    }
    RtlFreeUnicodeString(&dest);
  }
  EXPECT_EQ(RtlDuplicateUnicodeString(1, &emptySource, nullptr), STATUS_INVALID_PARAMETER);
}

TEST(DuplicateTest, CopiesAndRefusesMalformedOrTooLongSources) {
  std::u16string text = u"Registry";
  UNICODE_STRING source = Over(text);
  source.MaximumLength = static_cast<std::uint16_t>(source.MaximumLength + 6);  // spare room is not copied
  OwnedUnicodeString plain, terminated;
  ASSERT_EQ(RtlDuplicateUnicodeString(0, &source, plain.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(plain.get()), u"Registry");
  EXPECT_EQ(plain.get().MaximumLength, 16);
  EXPECT_NE(plain.get().Buffer, text.data());
  ASSERT_EQ(RtlDuplicateUnicodeString(1, &source, terminated.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(terminated.get()), u"Registry");
  EXPECT_EQ(terminated.get().MaximumLength, 18);
  EXPECT_EQ(terminated.get().Buffer[8], u'\0');

  WCHAR unit = u'a';
  // Odd Length, odd MaximumLength, MaximumLength below Length, lengths without a buffer.
  for (const UNICODE_STRING& m : {UNICODE_STRING{3, 4, &unit}, UNICODE_STRING{2, 3, &unit},
                                  UNICODE_STRING{4, 2, &unit}, UNICODE_STRING{0, 2, nullptr}}) {
    UNICODE_STRING dest{2, 2, &unit};
    EXPECT_EQ(RtlDuplicateUnicodeString(1, &m, &dest), STATUS_INVALID_PARAMETER) << m.Length << "/" << m.MaximumLength;
    EXPECT_EQ(dest.Buffer, nullptr);
  }

  std::u16string longText(32767, u'q');
  UNICODE_STRING longest = Over(longText);  // 65534 bytes: no room for a terminator
  OwnedUnicodeString tooLong, fits;
  EXPECT_EQ(RtlDuplicateUnicodeString(3, &longest, tooLong.ptr()), STATUS_NAME_TOO_LONG);
  EXPECT_EQ(tooLong.get().Buffer, nullptr);
  ASSERT_EQ(RtlDuplicateUnicodeString(0, &longest, fits.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(fits.get().Length, 65534);
}

TEST(CompareTest, OrderingAndFolding) {
  const struct {
    std::u16string_view a, b;
    bool fold;
    std::int32_t expect;
  } cases[] = {
      {u"abc", u"ABD", true, u'C' - u'D'},
      {u"abc", u"ABC", true, 0},
      {u"abc", u"ABC", false, u'a' - u'A'},
      {u"ab", u"abc", false, -1},
      {u"\u00e9", u"\u00c9", true, 0xE9 - 0xC9},  // only a-z fold
      {u"[", u"{", true, u'[' - u'{'},            // neighbours of the letter ranges stay apart
      {u"`", u"@", true, u'`' - u'@'},
      {u"\uffff", u"a", false, 0xFFFF - u'a'},     // units compare unsigned
  };
  for (const auto& c : cases) {
    std::u16string a(c.a), b(c.b);
    UNICODE_STRING x = Over(a), y = Over(b);
    EXPECT_EQ(RtlCompareUnicodeString(&x, &y, c.fold), c.expect) << &c - cases;
  }
}

TEST(StringObjectTest, InlineStorageAndLimits) {
  StringObject s(TvAllocateUnicodeString(32767));
  ASSERT_TRUE(s);
  EXPECT_EQ(s.get()->MaximumLength, 65534);
  // One block: the units follow the descriptor.
  EXPECT_EQ(reinterpret_cast<char*>(s.get()->Buffer), reinterpret_cast<char*>(s.get()) + sizeof(UNICODE_STRING));
  EXPECT_EQ(HeaderBefore(s.get()).size, sizeof(UNICODE_STRING) + 65534u);

  const auto mark = LogMark();
  EXPECT_EQ(TvAllocateUnicodeString(32768), nullptr);
  EXPECT_NE(LogSince(mark).find("String too large 32768"), std::string::npos);
}

}  // namespace
