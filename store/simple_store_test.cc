// The store against files in a temp directory; every expectation on disk is
// checked with the byte-level helper in tests/support, not with the store's code.
#include "store/simple_store.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <tuple>

#include "runtime/crc32c.h"
#include "store/journal_format.h"
#include "tests/support/files.h"
#include "tests/support/store_image.h"
#include "tests/support/trace_capture.h"
#include "tests/support/wide.h"

namespace {

using vt_test::StoreImage;

using Name = vt_test::Wide;

class SimpleStoreTest : public ::testing::Test {
 protected:
  // An open that fails (no such directory) closes the store open before it and leaves none open.
  void TearDown() override { EXPECT_NE(OpenSimpleStoreAt((dir_ / "-/s").c_str()), 0); EXPECT_EQ(Get("n1"), "status c0000008"); }
  std::string ReadBytes() const { return vt_test::ReadWholeFile(path_); }
  void Seed(const std::string& bytes) {  // closes the store, writes the file, opens it again
    CloseSimpleStore();
    ASSERT_TRUE(vt_test::WriteFileBytes(path_, bytes, 0600));
    ASSERT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS);
  }
  NTSTATUS Set(std::string_view name, const std::string& data) {
    return SetSimpleStoreValue(Name(name).get(), data.data(), static_cast<std::uint32_t>(data.size()));
  }
  NTSTATUS Delete(std::string_view name) { return DeleteSimpleStoreValue(Name(name).get()); }
  std::string Get(std::string_view name) {  // the value, or the failure status as text
    char buffer[300], text[32];
    std::uint32_t size = sizeof buffer;
    const NTSTATUS status = GetSimpleStoreValue(Name(name).get(), buffer, &size);
    std::snprintf(text, sizeof text, "status %08x", static_cast<unsigned>(status));
    return NT_SUCCESS(status) ? std::string(buffer, size) : text;
  }
  vt_test::TempDir dir_;
  std::string path_ = dir_ / "vantorstore";
};

TEST_F(SimpleStoreTest, SlotsFullOrDuplicated) {
  StoreImage image;
  for (int i = 1; i <= 28; ++i) image.Put(i, "n" + std::to_string(i), "v");
  Seed(image.bytes());
  EXPECT_EQ(Set("new", "x"), STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(ReadBytes(), image.bytes());
  ASSERT_EQ(Set("n17", "longer"), STATUS_SUCCESS);
  ASSERT_EQ(Set("n28", "last"), STATUS_SUCCESS);  // the last slot is searched like the others
  EXPECT_EQ(ReadBytes(), image.Put(17, "n17", "longer").Put(28, "n28", "last").bytes());

  // The first of two equal names is read and written, both are deleted.
  Seed(StoreImage().Put(2, "dup", "first").Put(5, "dup", "second").Put(9, "keep", "k").bytes());
  EXPECT_EQ(Get("dup"), "first");
  ASSERT_EQ(Set("dup", "FIRST"), STATUS_SUCCESS);
  const StoreImage kept = StoreImage().Put(9, "keep", "k");
  EXPECT_EQ(ReadBytes(), StoreImage(kept).Put(2, "dup", "FIRST").Put(5, "dup", "second").bytes());
  ASSERT_EQ(Delete("dup"), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), kept.bytes());  // both slots zeroed
}

TEST_F(SimpleStoreTest, DataAndNameLimits) {
  Seed(StoreImage().bytes());
  const auto mark = vt_test::LogMark();
  EXPECT_EQ(Set("big", std::string(257, 'e')), STATUS_INVALID_PARAMETER_2);
  EXPECT_EQ(SetSimpleStoreValue(Name("big").get(), nullptr, 1), STATUS_INVALID_PARAMETER_2);  // no data to copy
  EXPECT_EQ(Set("LogCounters1", "12"), STATUS_INVALID_PARAMETER_1);  // 24 bytes
  const UNICODE_STRING noBuffer{1, 1, nullptr};                       // no length logged for it
  EXPECT_EQ(SetSimpleStoreValue(&noBuffer, "x", 1), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(vt_test::LogMessagesSince(mark),
            "Data is invalid\nData is invalid\nInvalid name length:24\nName is invalid\nName is invalid\n");
  EXPECT_EQ(ReadBytes(), StoreImage().bytes());
  EXPECT_EQ(Set("big", std::string(256, 'd')), STATUS_SUCCESS);
  EXPECT_EQ(Set("LogCounters", "11"), STATUS_SUCCESS);  // 22 bytes
  EXPECT_EQ(ReadBytes(), StoreImage().Put(1, "big", std::string(256, 'd')).Put(2, "LogCounters", "11").bytes());
  for (const auto& [capacity, status] : {std::pair{4u, STATUS_BUFFER_TOO_SMALL}, {256u, STATUS_SUCCESS}}) {
    std::string buffer(260, '#');
    std::uint32_t size = capacity;
    EXPECT_EQ(GetSimpleStoreValue(Name("big").get(), nullptr, &size), STATUS_INVALID_PARAMETER);  // room but no buffer
    EXPECT_EQ(GetSimpleStoreValue(Name("big").get(), buffer.data(), &size), status);
    EXPECT_EQ(size, 256u);
    EXPECT_EQ(buffer, std::string(capacity, 'd') + std::string(260 - capacity, '#'));  // nothing past the capacity
  }
}

TEST_F(SimpleStoreTest, ShortOrInvalidFileWhileOpenIsNeitherUsedNorRepaired) {
  Seed(StoreImage().Add("TRACE", "info").bytes());
  ASSERT_EQ(truncate(path_.c_str(), 100), 0);
  EXPECT_EQ(Get("TRACE"), "status c0000011");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_END_OF_FILE);
  EXPECT_EQ(ReadBytes(), StoreImage().Add("TRACE", "info").bytes().substr(0, 100));
  const std::string otherVersion = "\x03" + StoreImage().Add("TRACE", "info").bytes().substr(1);
  ASSERT_TRUE(vt_test::WriteFileBytes(path_, otherVersion));
  EXPECT_EQ(Get("TRACE"), "status c000003e");
  EXPECT_EQ(Delete("TRACE"), NTSTATUS(0xC000003Eu));  // STATUS_DATA_ERROR
  EXPECT_EQ(ReadBytes(), otherVersion);
}

// A journal record as journal_format.h lays it out: the store held `replaced`
// (its first 8192 bytes, zero past its `length`) and is to hold `intended`.
std::string Journal(const std::string& replaced, std::uint64_t length, const std::string& intended) {
  std::string record = std::string(store_journal::kMagic, 8) + std::string(8, '\0') +
                       (replaced.substr(0, 8192) + std::string(8192, '\0')).substr(0, 8192) + intended;
  for (std::size_t i = 0; i < 8; ++i) record[8 + i] = static_cast<char>(length >> (8 * i));
  const std::uint32_t crc = Crc32c({reinterpret_cast<const std::uint8_t*>(record.data()), record.size()});
  for (int i = 0; i < 4; ++i) record += static_cast<char>(crc >> (8 * i));
  return record;
}

TEST_F(SimpleStoreTest, OpenFinishesACutWriteBackOrDiscardsItsJournal) {
  const std::string_view check = "123456789";  // the checksum's standard check value, as computed at run time
  ASSERT_EQ(Crc32c({reinterpret_cast<const std::uint8_t*>(check.data()), check.size()}), 0xE3069283u);
  const StoreImage old = StoreImage().Put(14, "GroupTags", std::string(256, 'o')).Add("APH", "old");
  const StoreImage updated = StoreImage(old).Put(14, "GroupTags", std::string(256, 'n'));
  const std::string before = old.bytes(), after = updated.bytes();
  const std::string cut = after.substr(0, 4096) + before.substr(4096);  // slot 14 spans sectors 7 and 8
  std::string foreign = cut;
  foreign[4600] = 'x';  // a sector that is neither image's: the store was written since
  const std::string journal = Journal(before, 8192, after);
  std::string damaged = journal;
  damaged[9000] ^= 1;
  const std::string longer = before + std::string(808, '-');  // a repair cuts this to 8192 bytes
  const std::string repaired = StoreImage().bytes();
  const std::string journalPath = path_ + "-journal", finished = "Finished an interrupted write-back of the "
                                  "store from its journal " + journalPath + "\n",
                    since = "Discarded the store journal " + journalPath + ": the store was written since\n";
  const auto incomplete = [&](int bytes) {
    return "Discarded the store journal " + journalPath + ": incomplete (" + std::to_string(bytes) +
           " bytes), the store was not yet written\n";
  };
  struct Case {
    const char* what;
    std::string store, journal, expected, log;
  } cases[] = {
      {"cut at any sector: finished", cut, journal, after, finished},
      {"not begun: finished", before, journal, after, finished},
      {"written since: discarded", foreign, journal, foreign, since},
      {"journal damaged: discarded", before, damaged, before, incomplete(16404)},
      {"journal short: discarded", before, journal.substr(0, journal.size() - 1), before, incomplete(16403)},
      {"journal long: discarded", before, journal + "x", before, incomplete(16405)},
      {"a longer file cut part way: finished and cut", repaired.substr(0, 512) + longer.substr(512),
       Journal(longer, longer.size(), repaired), repaired, finished},
      {"a file lengthened since: discarded, then repaired", before + "y", journal, repaired,
       since + "Invalid file " + path_ + " length: 8193\n"},
  };
  for (const Case& c : cases) {
    CloseSimpleStore();
    ASSERT_TRUE(vt_test::WriteFileBytes(path_, c.store) && vt_test::WriteFileBytes(path_ + "-journal", c.journal));
    const auto mark = vt_test::LogMark();
    EXPECT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS) << c.what;
    EXPECT_EQ(ReadBytes(), c.expected) << c.what;
    EXPECT_NE(access((path_ + "-journal").c_str(), F_OK), 0) << c.what;
    EXPECT_EQ(vt_test::LogMessagesSince(mark), c.log) << c.what;
  }

  // A run that died meanwhile left a journal: the next change finishes it first.
  ASSERT_TRUE(vt_test::WriteFileBytes(path_, cut) && vt_test::WriteFileBytes(path_ + "-journal", journal));
  ASSERT_EQ(Set("TRACE", "info"), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), StoreImage(updated).Add("TRACE", "info").bytes());
}

// Each change leaves the process-wide lock behind it: a change from another
// thread afterwards goes through (a lock left held blocks it until the test's
// time-out).
TEST_F(SimpleStoreTest, ChangesFromTwoThreadsInTurn) {
  Seed(StoreImage().bytes());
  ASSERT_EQ(Set("APH", "a"), STATUS_SUCCESS);
  std::thread([&] { EXPECT_EQ(Set("TRACE", "info"), STATUS_SUCCESS); }).join();
  EXPECT_EQ(Get("APH") + Get("TRACE"), "ainfo");
}

TEST_F(SimpleStoreTest, AChangeGoesToTheFileThePathNames) {
  Seed(StoreImage().Add("APH", "a").bytes());
  const std::string moved = dir_ / "moved", other = dir_ / "other";
  ASSERT_EQ(link(path_.c_str(), moved.c_str()), 0);  // the open file, kept by another name
  ASSERT_TRUE(vt_test::WriteFileBytes(other, StoreImage().Add("APH", "b").bytes()));
  ASSERT_EQ(rename(other.c_str(), path_.c_str()), 0);
  ASSERT_EQ(Set("TRACE", "info"), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), StoreImage().Add("APH", "b").Add("TRACE", "info").bytes());
  EXPECT_EQ(vt_test::ReadWholeFile(moved), StoreImage().Add("APH", "a").bytes());
  ASSERT_EQ(unlink(path_.c_str()), 0);  // gone: nothing is written, nor made anew
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(ReadBytes(), "<missing>");
}

TEST(BuildVendorPath, JoinsPartsAndRefusesOverflow) {
  // "/opt/Marrowlight/" is 34 bytes; a subdirectory with its "/" must keep the
  // total below 65534 (one that ends in "/" gets no second one), the file name
  // must not wrap 16 bits.
  const std::u16string big(32748, u's'), none = u"-";  // 34 + 65496 + 2 = 65532 bytes
  for (auto [sub, file, expected] :  // "-": no part / no result
       {std::tuple{none, std::u16string(u"vantorstore"), std::u16string(u"/opt/Marrowlight/vantorstore")},
        {u"sub/", u"f", u"/opt/Marrowlight/sub/f"}, {u"sub", none, u"/opt/Marrowlight/sub/"},
        {u"", u"f", u"/opt/Marrowlight/f"}, {big, u"f", none}, {big + u"/", none, u"/opt/Marrowlight/" + big + u"/"},
        {big, none, u"/opt/Marrowlight/" + big + u"/"}, {big + u"s", none, none}, {big, u"ff", none}}) {
    const Name subName(sub), fileName(file);
    const StringObject path(
        BuildVendorPath(sub == none ? nullptr : subName.get(), file == none ? nullptr : fileName.get()));
    EXPECT_TRUE(path ? View(*path.get()) == expected && path.get()->Buffer[expected.size()] == u'\0' : expected == none)
        << sub.size() << " " << file.size();
  }
}

}  // namespace
