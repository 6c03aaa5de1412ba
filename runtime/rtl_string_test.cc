// Allocator and counted-string operations, at their boundaries.
#include "runtime/rtl_string.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "runtime/pool.h"
#include "runtime/trace.h"

namespace {

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

// Sends the trace log to a temp file for the life of the object and reads it back.
class CapturedLog {
 public:
  CapturedLog() {
    char dir[] = "/tmp/rtl_string_test.XXXXXX";
    EXPECT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    path_ = dir_ + "/trace.log";
    TraceOpenLogFile(path_.c_str(), nullptr);
  }
  ~CapturedLog() {
    TraceCloseLogFile();
    unlink(path_.c_str());
    rmdir(dir_.c_str());
  }
  std::string Read() const {
    std::string text;
    if (FILE* f = std::fopen(path_.c_str(), "r")) {
      char buf[4096];
      std::size_t n;
      while ((n = std::fread(buf, 1, sizeof(buf), f)) > 0) text.append(buf, n);
      std::fclose(f);
    }
    return text;
  }

 private:
  std::string dir_;
  std::string path_;
};

// A descriptor over a caller-owned buffer of `capacityUnits` units, pre-filled
// with a marker so writes past the text are visible.
struct Backed {
  explicit Backed(std::size_t capacityUnits, std::u16string_view initial = u"")
      : storage(capacityUnits + 4, u'#') {
    std::copy(initial.begin(), initial.end(), storage.begin());
    s = UNICODE_STRING{static_cast<std::uint16_t>(initial.size() * 2), static_cast<std::uint16_t>(capacityUnits * 2),
                       storage.data()};
  }
  std::vector<WCHAR> storage;
  UNICODE_STRING s;
};

UNICODE_STRING Over(std::u16string& text) {
  return UNICODE_STRING{static_cast<std::uint16_t>(text.size() * 2), static_cast<std::uint16_t>(text.size() * 2),
                        text.data()};
}

// ---- Allocator ----

TEST(PoolTest, HeaderRecordsSizeTagAndLabelAndBlockIsAligned) {
  struct Case {
    std::size_t size;
    std::uint32_t tag;
    std::uint64_t recordedSize;
    const char* label;
  };
  const Case cases[] = {
      {0, TAG_STRING_BUFFER, 1, "Strg"},
      {1, TAG_STRING_BUFFER, 1, "Strg"},
      {17, TAG_UTF8_BUFFER, 17, nullptr},
      {4096, kPoolTagCount - 1, 4096, nullptr},
      {33, kPoolTagCount, 33, "????"},
      {5, 0xFFFFFFFFu, 5, "????"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    void* block = TvAllocatePoolWithTag(c.size, c.tag);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    const HeaderView h = HeaderBefore(block);
    EXPECT_EQ(h.size, c.recordedSize);
    EXPECT_EQ(h.tagIndex, c.tag);
    EXPECT_EQ(std::memcmp(h.tag, TvPoolTagText(c.tag), 4), 0);
    if (c.label) {
      EXPECT_EQ(std::memcmp(h.tag, c.label, 4), 0);
    }
    // The whole requested block is usable (ASan/valgrind would flag otherwise).
    std::memset(block, 0xA5, c.recordedSize);
    TvFreePoolWithTag(block, 9999);  // the argument tag is not consulted
  }
}

TEST(PoolTest, TagTableHasDistinctPrintableFourCharacterLabels) {
  std::set<std::string> labels;
  for (std::uint32_t i = 0; i < kPoolTagCount; ++i) {
    const std::string label(TvPoolTagText(i), 4);
    for (char ch : label) EXPECT_TRUE(ch > ' ' && ch < 0x7F) << i;
    EXPECT_NE(label, "????") << i;
    labels.insert(label);
  }
  EXPECT_EQ(labels.size(), kPoolTagCount);
  EXPECT_EQ(std::string(TvPoolTagText(2), 4), "Strg");
  EXPECT_EQ(std::string(TvPoolTagText(kPoolTagCount), 4), "????");
}

TEST(PoolTest, ImpossibleSizeFailsWithLogLineAndNullIsIgnoredOnFree) {
  CapturedLog log;
  EXPECT_EQ(TvAllocatePoolWithTag(std::numeric_limits<std::size_t>::max(), TAG_TOOL), nullptr);
  EXPECT_EQ(TvAllocatePoolWithTag(std::numeric_limits<std::size_t>::max() - 20, TAG_TOOL), nullptr);
  TvFreePoolWithTag(nullptr, TAG_TOOL);
  EXPECT_NE(log.Read().find("Allocation failure."), std::string::npos) << log.Read();
}

// ---- Checked arithmetic ----

TEST(CheckedAddTest, SixteenAndThirtyTwoBitLimits) {
  CapturedLog log;
  std::uint16_t r16 = 7;
  EXPECT_EQ(TvCheckedAdd16(0xFFFD, 2, &r16, "a16"), STATUS_SUCCESS);
  EXPECT_EQ(r16, 0xFFFF);
  EXPECT_EQ(TvCheckedAdd16(0xFFFE, 2, &r16, "Adding a terminator"), STATUS_INTEGER_OVERFLOW);
  EXPECT_EQ(r16, 0xFFFF);  // untouched on failure
  std::uint32_t r32 = 7;
  EXPECT_EQ(TvCheckedAdd32(0xFFFFFFFEu, 1, &r32, "a32"), STATUS_SUCCESS);
  EXPECT_EQ(r32, 0xFFFFFFFFu);
  EXPECT_EQ(TvCheckedAdd32(0xFFFFFFFFu, 1, &r32, "Adding one to a count"), STATUS_INTEGER_OVERFLOW);
  const std::string text = log.Read();
  EXPECT_NE(text.find("Adding a terminator"), std::string::npos) << text;
  EXPECT_NE(text.find("Adding one to a count"), std::string::npos) << text;
  EXPECT_EQ(text.find("a16"), std::string::npos) << "success must not log";
}

// ---- RtlInitAnsiString / free ----

TEST(AnsiStringTest, InitCapsLengthAndHandlesNull) {
  std::string big(70000, 'x');
  ANSI_STRING s{1, 1, nullptr};
  RtlInitAnsiString(&s, big.c_str());
  EXPECT_EQ(s.Length, 65534);
  EXPECT_EQ(s.MaximumLength, 65535);
  EXPECT_EQ(s.Buffer, big.c_str());

  RtlInitAnsiString(&s, "");
  EXPECT_EQ(s.Length, 0);
  EXPECT_EQ(s.MaximumLength, 1);

  RtlInitAnsiString(&s, nullptr);
  EXPECT_EQ(s.Length, 0);
  EXPECT_EQ(s.MaximumLength, 0);
  EXPECT_EQ(s.Buffer, nullptr);
}

TEST(AnsiStringTest, FreeClearsOwnedAndIgnoresEmpty) {
  ANSI_STRING a{3, 4, static_cast<char*>(TvAllocatePoolWithTag(4, TAG_STRING_BUFFER))};
  ASSERT_NE(a.Buffer, nullptr);
  RtlFreeAnsiString(&a);
  EXPECT_EQ(a.Buffer, nullptr);
  EXPECT_EQ(a.Length, 0);
  EXPECT_EQ(a.MaximumLength, 0);
  ANSI_STRING none{5, 6, nullptr};
  RtlFreeAnsiString(&none);  // null buffer: nothing changes
  EXPECT_EQ(none.Length, 5);
  EXPECT_EQ(none.MaximumLength, 6);

  UNICODE_STRING u{2, 4, static_cast<WCHAR*>(TvAllocatePoolWithTag(4, TAG_STRING_BUFFER))};
  RtlFreeUnicodeString(&u);
  EXPECT_EQ(u.Buffer, nullptr);
  EXPECT_EQ(u.Length, 0);
  EXPECT_EQ(u.MaximumLength, 0);
}

// ---- Copy ----

TEST(CopyUnicodeStringTest, CutsAndTerminatesOnlyWithRoom) {
  struct Case {
    std::size_t destUnits;
    std::u16string_view source;
    std::u16string_view expect;
    bool terminated;
  };
  const Case cases[] = {
      {3, u"abc", u"abc", false},   // capacity equals source: no terminator
      {4, u"abc", u"abc", true},    // one unit more: terminator
      {2, u"abc", u"ab", false},    // cut silently
      {0, u"abc", u"", false},      // no room at all
      {5, u"", u"", true},          // empty source still terminates
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.source.begin(), c.source.end()) + " into " + std::to_string(c.destUnits));
    Backed dest(c.destUnits);
    std::u16string src(c.source);
    UNICODE_STRING source = Over(src);
    RtlCopyUnicodeString(&dest.s, &source);
    EXPECT_EQ(View(dest.s), c.expect);
    EXPECT_EQ(dest.s.MaximumLength, c.destUnits * 2);
    EXPECT_EQ(dest.storage[c.expect.size()], c.terminated ? u'\0' : u'#');
    // Nothing is written past MaximumLength.
    for (std::size_t i = c.destUnits; i < dest.storage.size(); ++i) EXPECT_EQ(dest.storage[i], u'#') << i;
  }
}

TEST(CopyUnicodeStringTest, NullSourceEmptiesDest) {
  Backed dest(4, u"ab");
  RtlCopyUnicodeString(&dest.s, nullptr);
  EXPECT_EQ(dest.s.Length, 0);
  EXPECT_EQ(dest.s.MaximumLength, 8);
}

// ---- Append ----

TEST(AppendTest, DescriptorAppendBoundaries) {
  struct Case {
    std::size_t destUnits;
    std::u16string_view initial;
    std::u16string_view source;
    NTSTATUS status;
    std::u16string_view expect;
    bool terminated;
  };
  const Case cases[] = {
      {5, u"ab", u"cde", STATUS_SUCCESS, u"abcde", false},          // ends exactly at MaximumLength
      {6, u"ab", u"cde", STATUS_SUCCESS, u"abcde", true},           // room for a terminator
      {4, u"ab", u"cde", STATUS_BUFFER_TOO_SMALL, u"ab", false},    // one unit short
      {2, u"ab", u"", STATUS_SUCCESS, u"ab", false},                // empty source: no change
      {3, u"", u"abc", STATUS_SUCCESS, u"abc", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.source.begin(), c.source.end()) + " into " + std::to_string(c.destUnits));
    Backed dest(c.destUnits, c.initial);
    std::u16string src(c.source);
    UNICODE_STRING source = Over(src);
    EXPECT_EQ(RtlAppendUnicodeStringToString(&dest.s, &source), c.status);
    EXPECT_EQ(View(dest.s), c.expect);
    EXPECT_EQ(dest.storage[c.expect.size()], c.terminated ? u'\0' : u'#');
  }
}

TEST(AppendTest, OddByteOverflowIsRefusedAndDestUnchanged) {
  // A destination whose capacity is one byte short of the result.
  Backed dest(4, u"ab");
  dest.s.MaximumLength = 9;  // 4.5 units; "abc" + "de" needs 10 bytes
  std::u16string src = u"cde";
  UNICODE_STRING source = Over(src);
  EXPECT_EQ(RtlAppendUnicodeStringToString(&dest.s, &source), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(View(dest.s), u"ab");
  EXPECT_EQ(dest.storage[2], u'#');
}

TEST(AppendTest, SourceOverMaximumTextIsRefusedEvenWhenDestIsLarge) {
  std::u16string limit(32766, u'x');  // 65532 bytes: allowed
  std::u16string over(32767, u'y');   // 65534 bytes: refused
  Backed dest(32767);
  EXPECT_EQ(RtlAppendUnicodeToString(&dest.s, over.c_str()), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(dest.s.Length, 0);
  EXPECT_EQ(RtlAppendUnicodeToString(&dest.s, limit.c_str()), STATUS_SUCCESS);
  EXPECT_EQ(dest.s.Length, 65532);
  EXPECT_EQ(dest.storage[32766], u'\0');
}

// ---- Duplicate ----

TEST(DuplicateTest, FlagsAndEmptySources) {
  WCHAR sentinel = u'!';
  UNICODE_STRING emptySource{0, 0, nullptr};
  struct Case {
    std::uint32_t flags;
    const UNICODE_STRING* source;
    NTSTATUS status;
    bool buffer;
    std::uint16_t maximum;
  };
  const Case cases[] = {
      {0, &emptySource, STATUS_SUCCESS, false, 0},
      {1, &emptySource, STATUS_SUCCESS, false, 0},
      {3, &emptySource, STATUS_SUCCESS, true, 2},
      {3, nullptr, STATUS_SUCCESS, true, 2},
      {1, nullptr, STATUS_SUCCESS, false, 0},
      {2, &emptySource, STATUS_INVALID_PARAMETER, false, 0},
      {4, &emptySource, STATUS_INVALID_PARAMETER, false, 0},
      {0xFFFFFFFFu, &emptySource, STATUS_INVALID_PARAMETER, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.flags);
    UNICODE_STRING dest{2, 2, &sentinel};
    EXPECT_EQ(RtlDuplicateUnicodeString(c.flags, c.source, &dest), c.status);
    EXPECT_EQ(dest.Length, 0);
    EXPECT_EQ(dest.MaximumLength, c.maximum);
    if (c.buffer) {
      ASSERT_NE(dest.Buffer, nullptr);
      EXPECT_EQ(dest.Buffer[0], u'\0');
      EXPECT_EQ(HeaderBefore(dest.Buffer).tagIndex, TAG_STRING_BUFFER);
    } else {
      EXPECT_EQ(dest.Buffer, nullptr);
    }
    RtlFreeUnicodeString(&dest);
  }
  EXPECT_EQ(RtlDuplicateUnicodeString(1, &emptySource, nullptr), STATUS_INVALID_PARAMETER);
}

TEST(DuplicateTest, CopiesWithAndWithoutTerminator) {
  std::u16string text = u"Registry";
  UNICODE_STRING source = Over(text);
  source.MaximumLength = static_cast<std::uint16_t>(source.MaximumLength + 6);  // spare room is not copied

  OwnedUnicodeString plain;
  ASSERT_EQ(RtlDuplicateUnicodeString(0, &source, plain.ptr()), STATUS_SUCCESS);
  EXPECT_EQ(View(plain.get()), u"Registry");
  EXPECT_EQ(plain.get().MaximumLength, 16);
  EXPECT_NE(plain.get().Buffer, text.data());
  EXPECT_EQ(HeaderBefore(plain.get().Buffer).size, 16u);

  OwnedUnicodeString terminated;
  ASSERT_EQ(RtlDuplicateUnicodeString(RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE, &source, terminated.ptr()),
            STATUS_SUCCESS);
  EXPECT_EQ(View(terminated.get()), u"Registry");
  EXPECT_EQ(terminated.get().MaximumLength, 18);
  EXPECT_EQ(terminated.get().Buffer[8], u'\0');
}

TEST(DuplicateTest, MalformedAndTooLongSources) {
  std::u16string text(32767, u'q');
  WCHAR unit = u'a';
  const UNICODE_STRING malformed[] = {
      {3, 4, &unit},     // odd Length
      {2, 3, &unit},     // odd MaximumLength
      {4, 2, &unit},     // MaximumLength below Length
      {2, 2, nullptr},   // lengths without a buffer
      {0, 2, nullptr},
  };
  for (const UNICODE_STRING& m : malformed) {
    SCOPED_TRACE(m.Length * 100 + m.MaximumLength);
    UNICODE_STRING dest{2, 2, &unit};
    EXPECT_EQ(RtlDuplicateUnicodeString(1, &m, &dest), STATUS_INVALID_PARAMETER);
    EXPECT_EQ(dest.Buffer, nullptr);
  }

  UNICODE_STRING longest = Over(text);  // 65534 bytes
  ASSERT_EQ(longest.Length, 65534);
  UNICODE_STRING dest{0, 0, nullptr};
  EXPECT_EQ(RtlDuplicateUnicodeString(3, &longest, &dest), STATUS_NAME_TOO_LONG);
  EXPECT_EQ(dest.Buffer, nullptr);
  // Without the terminator the same text fits.
  ASSERT_EQ(RtlDuplicateUnicodeString(0, &longest, &dest), STATUS_SUCCESS);
  EXPECT_EQ(dest.Length, 65534);
  EXPECT_EQ(dest.MaximumLength, 65534);
  RtlFreeUnicodeString(&dest);
}

// ---- Compare ----

TEST(CompareTest, OrderingAndFolding) {
  struct Case {
    std::u16string_view a;
    std::u16string_view b;
    bool fold;
    std::int32_t expect;
  };
  const Case cases[] = {
      {u"abc", u"ABD", true, u'C' - u'D'},
      {u"abc", u"ABC", true, 0},
      {u"abc", u"ABC", false, u'a' - u'A'},
      {u"ab", u"abc", false, -1},
      {u"abcd", u"ab", true, 2},
      {u"", u"", true, 0},
      {u"\u00e9", u"\u00c9", true, 0xE9 - 0xC9},  // only a-z fold
      {u"[", u"{", true, u'[' - u'{'},            // neighbours of the letter ranges stay apart
      {u"`", u"@", true, u'`' - u'@'},
      {u"Z", u"z", true, 0},
      {u"\uffff", u"a", false, 0xFFFF - u'a'},     // units compare unsigned
  };
  for (const Case& c : cases) {
    std::u16string a(c.a), b(c.b);
    UNICODE_STRING x = Over(a), y = Over(b);
    EXPECT_EQ(RtlCompareUnicodeString(&x, &y, c.fold), c.expect)
        << std::string(a.begin(), a.end()) << " vs " << std::string(b.begin(), b.end());
  }
}

// ---- String objects ----

TEST(StringObjectTest, InlineStorageAndLimits) {
  StringObject s(TvAllocateUnicodeString(32767));
  ASSERT_TRUE(s);
  EXPECT_EQ(s.get()->Length, 0);
  EXPECT_EQ(s.get()->MaximumLength, 65534);
  EXPECT_EQ(reinterpret_cast<char*>(s.get()->Buffer), reinterpret_cast<char*>(s.get()) + sizeof(UNICODE_STRING));
  EXPECT_EQ(HeaderBefore(s.get()).tagIndex, TAG_STRING_OBJECT);
  EXPECT_EQ(HeaderBefore(s.get()).size, sizeof(UNICODE_STRING) + 65534u);
  s.get()->Buffer[32766] = u'z';  // last unit is inside the block

  StringObject small(TvAllocateUnicodeString(4));
  ASSERT_TRUE(small);
  EXPECT_EQ(RtlAppendUnicodeToString(small.get(), u"/opt"), STATUS_SUCCESS);
  EXPECT_EQ(View(*small.get()), u"/opt");

  CapturedLog log;
  EXPECT_EQ(TvAllocateUnicodeString(32768), nullptr);
  EXPECT_NE(log.Read().find("String too large 32768"), std::string::npos) << log.Read();
  TvFreeUnicodeString(nullptr);
}

}  // namespace
