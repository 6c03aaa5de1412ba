// The store against files in a temp directory; every expectation on disk is
// checked with the byte-level helper in tests/support, not with the store's code.
#include "store/simple_store.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/store_image.h"

namespace {

using vt_test::StoreImage;
using vt_test::U32Bytes;

// A UTF-16 name built from ASCII, usable as a UNICODE_STRING.
struct Name {
  explicit Name(std::string_view ascii) : units(ascii.begin(), ascii.end()) {
    const auto bytes = static_cast<std::uint16_t>(units.size() * 2);
    s = UNICODE_STRING{bytes, bytes, units.data()};
  }
  Name(const Name&) = delete;
  Name& operator=(const Name&) = delete;
  const UNICODE_STRING* ptr() const { return &s; }
  std::u16string units;
  UNICODE_STRING s;
};

class SimpleStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char templ[] = "/tmp/simple_store_test.XXXXXX";
    ASSERT_NE(mkdtemp(templ), nullptr);
    dir_ = templ;
    path_ = dir_ + "/vantorstore";
  }
  void TearDown() override {
    CloseSimpleStore();
    std::filesystem::remove_all(dir_);
  }

  std::string ReadBytes() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  void WriteBytes(const std::string& bytes) const {
    std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes;
  }
  void Open() { ASSERT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS); }
  void Seed(const StoreImage& image) {
    WriteBytes(image.bytes());
    Open();
  }
  NTSTATUS Set(std::string_view name, const std::string& data) {
    return SetSimpleStoreValue(Name(name).ptr(), data.data(), static_cast<std::uint32_t>(data.size()));
  }
  // The value as the store returns it, or the failure status as text.
  std::string Get(std::string_view name) {
    char buffer[300];
    std::uint32_t size = sizeof buffer;
    const NTSTATUS status = GetSimpleStoreValue(Name(name).ptr(), buffer, &size);
    if (!NT_SUCCESS(status)) {
      char text[32];
      std::snprintf(text, sizeof text, "status %08x", static_cast<unsigned>(status));
      return text;
    }
    return std::string(buffer, size);
  }
  std::string Slot(const std::string& bytes, int slot) const {
    return bytes.substr(StoreImage::SlotOffset(slot), vt_test::kSlotSize);
  }

  std::string dir_;
  std::string path_;
};

TEST_F(SimpleStoreTest, MissingFileIsCreatedEmpty) {
  Open();
  EXPECT_EQ(ReadBytes(), StoreImage().bytes());
  EXPECT_EQ(Get("TRACE"), "status c0000225");
}

TEST_F(SimpleStoreTest, DamagedFilesAreRewrittenEmptyAtOpen) {
  const std::string good = StoreImage().Add("TRACE", "info").Add("CU", std::string(16, 'x')).bytes();
  struct Case {
    const char* what;
    std::string bytes;
  };
  std::vector<Case> cases = {
      {"empty file", ""},
      {"8191 bytes", good.substr(0, 8191)},
      {"8193 bytes", good + "x"},
      {"version 1", good},
      {"name length 24", good},
      {"odd name length in the last slot", good},
      {"data length 257", good},
      {"bad data length in an empty slot", good},
  };
  cases[3].bytes[0] = 1;  // version is little-endian u16 at offset 0
  StoreImage bad24(good);
  bad24.PutU16(StoreImage::SlotOffset(5), 24);
  cases[4].bytes = bad24.bytes();
  StoreImage odd(good);
  odd.PutU16(StoreImage::SlotOffset(28), 3);
  cases[5].bytes = odd.bytes();
  StoreImage data257(good);
  data257.PutU16(StoreImage::SlotOffset(1) + 24, 257);
  cases[6].bytes = data257.bytes();
  StoreImage emptyBad(good);
  emptyBad.PutU16(StoreImage::SlotOffset(20) + 24, 300);
  cases[7].bytes = emptyBad.bytes();

  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteBytes(c.bytes);
    ASSERT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS);
    EXPECT_EQ(ReadBytes(), StoreImage().bytes());
    EXPECT_EQ(Get("TRACE"), "status c0000225");
    CloseSimpleStore();
  }
}

TEST_F(SimpleStoreTest, ValidStoreSurvivesOpenByteForByte) {
  StoreImage image;
  image.Put(3, "TRACE", "info").Put(28, "LogCounters", U32Bytes(7));
  image.bytes()[100] = 'r';   // reserved header bytes are never read
  image.bytes()[8190] = 't';  // nor the tail
  image.bytes()[StoreImage::SlotOffset(3) + 26 + 10] = 'z';  // stale data past the length
  Seed(image);
  EXPECT_EQ(ReadBytes(), image.bytes());
  EXPECT_EQ(Get("TRACE"), "info");
  EXPECT_EQ(Get("LogCounters"), U32Bytes(7));
  CloseSimpleStore();
  Open();  // reopen: still untouched
  EXPECT_EQ(ReadBytes(), image.bytes());
}

TEST_F(SimpleStoreTest, FullStoreRefusesNewNameButOverwrites) {
  StoreImage image;
  for (int i = 1; i <= 28; ++i) {
    image.Put(i, "n" + std::to_string(i), "v");
  }
  Seed(image);
  EXPECT_EQ(Set("new", "x"), STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(ReadBytes(), image.bytes());
  ASSERT_EQ(Set("n17", "longer"), STATUS_SUCCESS);
  image.Put(17, "n17", "longer");
  EXPECT_EQ(ReadBytes(), image.bytes());
}

TEST_F(SimpleStoreTest, SlotChoice) {
  // An existing name is found past an earlier empty slot.
  Seed(StoreImage().Put(1, "a", "1").Put(3, "b", "2"));
  ASSERT_EQ(Set("b", "new"), STATUS_SUCCESS);
  StoreImage after(ReadBytes());
  EXPECT_EQ(after.U16(StoreImage::SlotOffset(2)), 0);
  EXPECT_EQ(after.NameAt(3), "b");
  EXPECT_EQ(after.Get("b"), "new");
  // A new name takes the first empty slot.
  ASSERT_EQ(Set("c", "3"), STATUS_SUCCESS);
  EXPECT_EQ(StoreImage(ReadBytes()).NameAt(2), "c");
  // Names are compared as raw bytes: case matters.
  ASSERT_EQ(Set("B", "4"), STATUS_SUCCESS);
  EXPECT_EQ(StoreImage(ReadBytes()).NameAt(4), "B");
  EXPECT_EQ(Get("b"), "new");
}

TEST_F(SimpleStoreTest, DuplicatesReadAndWriteFirstDeleteAll) {
  Seed(StoreImage().Put(2, "dup", "first").Put(5, "dup", "second").Put(9, "keep", "k"));
  EXPECT_EQ(Get("dup"), "first");
  ASSERT_EQ(Set("dup", "FIRST"), STATUS_SUCCESS);
  std::string bytes = ReadBytes();
  EXPECT_EQ(StoreImage(bytes).Get("dup"), "FIRST");
  EXPECT_EQ(Slot(bytes, 5).substr(26, 6), "second");

  ASSERT_EQ(DeleteSimpleStoreValue(Name("dup").ptr()), STATUS_SUCCESS);
  bytes = ReadBytes();
  EXPECT_EQ(Slot(bytes, 2), std::string(vt_test::kSlotSize, '\0'));
  EXPECT_EQ(Slot(bytes, 5), std::string(vt_test::kSlotSize, '\0'));
  EXPECT_EQ(StoreImage(bytes).Get("keep"), "k");
  EXPECT_EQ(DeleteSimpleStoreValue(Name("dup").ptr()), STATUS_NOT_FOUND);
}

TEST_F(SimpleStoreTest, DataAndNameLimits) {
  Open();
  EXPECT_EQ(Set("big", std::string(256, 'd')), STATUS_SUCCESS);
  EXPECT_EQ(Get("big"), std::string(256, 'd'));
  const std::string before = ReadBytes();
  EXPECT_EQ(Set("big", std::string(257, 'e')), STATUS_INVALID_PARAMETER_2);
  EXPECT_EQ(Set("zero", ""), STATUS_SUCCESS);
  EXPECT_EQ(Get("zero"), "");
  EXPECT_EQ(StoreImage(ReadBytes()).Get("zero"), "");

  EXPECT_EQ(Set("LogCounters", "11"), STATUS_SUCCESS);  // 22 bytes
  EXPECT_EQ(Get("LogCounters"), "11");
  EXPECT_EQ(Set("LogCounters1", "12"), STATUS_INVALID_PARAMETER_1);  // 24 bytes
  EXPECT_EQ(Get("LogCounters1"), "status c00000ef");
  const Name ab("ab");
  UNICODE_STRING odd = ab.s;
  odd.Length = 3;
  std::uint32_t size = 0;
  EXPECT_EQ(GetSimpleStoreValue(&odd, nullptr, &size), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(SetSimpleStoreValue(&odd, "x", 1), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(StoreImage(ReadBytes()).Get("big"), std::string(256, 'd'));
  EXPECT_NE(before, ReadBytes());  // the legal sets above did land
}

TEST_F(SimpleStoreTest, InvalidNameDeleteSucceedsWithoutLocking) {
  Seed(StoreImage().Add("TRACE", "info"));
  const std::string before = ReadBytes();
  // Another open file description holding LOCK_EX: any flock by the store blocks.
  const int other = open(path_.c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(other, 0);
  ASSERT_EQ(flock(other, LOCK_EX), 0);
  auto done = std::async(std::launch::async, [] {
    return DeleteSimpleStoreValue(Name("LogCounters1").ptr());
  });
  const bool finished = done.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
  flock(other, LOCK_UN);
  close(other);
  ASSERT_TRUE(finished) << "delete of an invalid name waited for the file lock";
  EXPECT_EQ(done.get(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), before);
}

TEST_F(SimpleStoreTest, GetCopiesWhatFitsAndReportsTheLength) {
  Seed(StoreImage().Add("rec", "0123456789AB"));
  struct Case {
    std::uint32_t capacity;
    NTSTATUS status;
    std::string copied;
  };
  for (const Case& c : {Case{4, STATUS_BUFFER_TOO_SMALL, "0123"}, Case{0, STATUS_BUFFER_TOO_SMALL, ""},
                        Case{12, STATUS_SUCCESS, "0123456789AB"}, Case{20, STATUS_SUCCESS, "0123456789AB"}}) {
    SCOPED_TRACE(c.capacity);
    std::string buffer(20, '#');
    std::uint32_t size = c.capacity;
    EXPECT_EQ(GetSimpleStoreValue(Name("rec").ptr(), buffer.data(), &size), c.status);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(buffer, c.copied + std::string(20 - c.copied.size(), '#'));  // nothing past the capacity
  }
  std::uint32_t size = 7;
  EXPECT_EQ(GetSimpleStoreValue(Name("none").ptr(), nullptr, &size), STATUS_INVALID_PARAMETER);
  char buffer[8];
  EXPECT_EQ(GetSimpleStoreValue(Name("none").ptr(), buffer, &size), STATUS_NOT_FOUND);
  EXPECT_EQ(size, 7u);
}

TEST_F(SimpleStoreTest, ShorterOverwriteKeepsOldTrailingBytes) {
  Open();
  ASSERT_EQ(Set("s", "ABCDEFGHIJ"), STATUS_SUCCESS);
  ASSERT_EQ(Set("s", "xyz"), STATUS_SUCCESS);
  const std::string slot = Slot(ReadBytes(), 1);
  EXPECT_EQ(slot.substr(24, 2), std::string("\x03\x00", 2));
  EXPECT_EQ(slot.substr(26, 10), "xyzDEFGHIJ");
  EXPECT_EQ(Get("s"), "xyz");
}

TEST_F(SimpleStoreTest, FileChangedBehindTheStoresBack) {
  Seed(StoreImage().Add("TRACE", "info"));
  const std::string good = ReadBytes();
  // Shrunk: every operation fails on the short read, nothing is rewritten.
  ASSERT_EQ(truncate(path_.c_str(), 100), 0);
  const std::string shrunk = ReadBytes();
  EXPECT_EQ(Get("TRACE"), "status c0000011");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_END_OF_FILE);
  EXPECT_EQ(DeleteSimpleStoreValue(Name("TRACE").ptr()), STATUS_END_OF_FILE);
  EXPECT_EQ(ReadBytes(), shrunk);
  // Restored: the store reads from offset 0 again.
  WriteBytes(good);
  EXPECT_EQ(Get("TRACE"), "info");
  // Invalid image: STATUS_DATA_ERROR, no repair while open.
  StoreImage bad(good);
  bad.PutU16(0, 1);
  WriteBytes(bad.bytes());
  EXPECT_EQ(Get("TRACE"), "status c000003e");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_DATA_ERROR);
  EXPECT_EQ(DeleteSimpleStoreValue(Name("TRACE").ptr()), STATUS_DATA_ERROR);
  EXPECT_EQ(ReadBytes(), bad.bytes());
}

TEST_F(SimpleStoreTest, LifecycleAndOpenFailure) {
  EXPECT_EQ(Set("a", "1"), STATUS_INVALID_HANDLE);  // never opened
  Open();
  ASSERT_EQ(Set("a", "1"), STATUS_SUCCESS);
  CloseSimpleStore();
  CloseSimpleStore();
  EXPECT_EQ(Get("a"), "status c0000008");
  Open();
  EXPECT_EQ(Get("a"), "1");
  const std::string missingDir = dir_ + "/no/such/store";
  EXPECT_EQ(OpenSimpleStoreAt(missingDir.c_str()), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(Get("a"), "status c0000008");  // the failed open left the store closed
}

TEST_F(SimpleStoreTest, WriteBackRestoresTheSignalMask) {
  Open();
  sigset_t mine, before, after;
  sigemptyset(&mine);
  sigaddset(&mine, SIGUSR1);
  sigaddset(&mine, SIGHUP);  // a termination signal the caller blocked stays blocked
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &mine, &before), 0);
  EXPECT_EQ(Set("a", "1"), STATUS_SUCCESS);
  ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &before, &after), 0);
  for (const int sig : {SIGTERM, SIGINT, SIGQUIT, SIGUSR1, SIGHUP}) {
    EXPECT_EQ(sigismember(&after, sig), sigismember(&mine, sig)) << sig;
  }
}

TEST_F(SimpleStoreTest, ThreadsShareOneStore) {
  Open();
  constexpr int kThreads = 6;
  constexpr int kNames = 3;
  constexpr std::uint32_t kRounds = 60;
  std::vector<std::string> failures(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &failures] {
      for (std::uint32_t round = 1; round <= kRounds && failures[t].empty(); ++round) {
        for (int n = 0; n < kNames; ++n) {
          const std::string name = "t" + std::to_string(t) + "n" + std::to_string(n);
          if (round % 10 == 0) {
            if (DeleteSimpleStoreValue(Name(name).ptr()) != STATUS_SUCCESS || Get(name) != "status c0000225") {
              failures[t] = "delete " + name;
            }
          }
          if (Set(name, U32Bytes(round)) != STATUS_SUCCESS || Get(name) != U32Bytes(round)) {
            failures[t] = "set/get " + name + " round " + std::to_string(round);
          }
        }
      }
    });
  }
  for (std::thread& t : threads) t.join();
  const StoreImage image(ReadBytes());
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(failures[t], "") << "thread " << t;
    for (int n = 0; n < kNames; ++n) {
      const std::string name = "t" + std::to_string(t) + "n" + std::to_string(n);
      EXPECT_EQ(image.Get(name), U32Bytes(kRounds)) << name;
    }
  }
}

struct PathCase {
  const char* what;
  std::u16string subdirectory;  // "-" for none
  std::u16string fileName;      // "-" for none
  std::u16string expected;      // "-" for no result
};

UNICODE_STRING Wrap(std::u16string& text) {
  const auto bytes = static_cast<std::uint16_t>(text.size() * 2);
  return UNICODE_STRING{bytes, bytes, text.data()};
}

TEST(BuildVendorPath, JoinsPartsAndRefusesOverflow) {
  // "/opt/Marrowlight/" is 34 bytes; a subdirectory with its "/" must keep the
  // total below 65534, the file name must not wrap 16 bits, and the whole must
  // fit an allocation of fewer than 32768 units.
  const std::u16string sub32748(32748, u's');              // 34 + 65496 + 2 = 65532
  const std::u16string sub32749(32749, u's');              // 65534: refused
  const std::u16string sub32749slash = sub32748 + u"/";    // 34 + 65498 = 65532, no separator
  const std::vector<PathCase> cases = {
      {"store file", u"-", u"vantorstore", u"/opt/Marrowlight/vantorstore"},
      {"subdirectory gets a slash", u"sub", u"f", u"/opt/Marrowlight/sub/f"},
      {"slash not doubled", u"sub/", u"f", u"/opt/Marrowlight/sub/f"},
      {"empty subdirectory is none", u"", u"f", u"/opt/Marrowlight/f"},
      {"directory only", u"-", u"-", u"/opt/Marrowlight/"},
      {"subdirectory only", u"sub", u"-", u"/opt/Marrowlight/sub/"},
      {"longest subdirectory", sub32748, u"-", u"/opt/Marrowlight/" + sub32748 + u"/"},
      {"longest subdirectory ending in a slash", sub32749slash, u"-", u"/opt/Marrowlight/" + sub32749slash},
      {"subdirectory reaching 65534", sub32749, u"-", u"-"},
      {"file name reaching 65534", sub32748, u"f", u"-"},
      {"file name wrapping", sub32748, u"ff", u"-"},
  };
  for (PathCase c : cases) {
    SCOPED_TRACE(c.what);
    UNICODE_STRING sub = Wrap(c.subdirectory);
    UNICODE_STRING file = Wrap(c.fileName);
    const StringObject path(BuildVendorPath(c.subdirectory == u"-" ? nullptr : &sub,
                                            c.fileName == u"-" ? nullptr : &file));
    if (c.expected == u"-") {
      EXPECT_FALSE(path);
      continue;
    }
    ASSERT_TRUE(path);
    EXPECT_TRUE(View(*path.get()) == c.expected);
    EXPECT_EQ(path.get()->Length, c.expected.size() * 2);
    EXPECT_EQ(path.get()->Buffer[c.expected.size()], u'\0');
  }
}

}  // namespace
