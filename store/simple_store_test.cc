// The store against files in a temp directory; every expectation on disk is
// checked with the byte-level helper in tests/support, not with the store's code.
#include "store/simple_store.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "runtime/trace_capture.h"
#include "tests/support/store_image.h"

namespace {

using vt_test::StoreImage;
using vt_test::U32Bytes;

// A UNICODE_STRING over `text`, without a terminator.
UNICODE_STRING Wrap(std::u16string& text) {
  const auto bytes = static_cast<std::uint16_t>(text.size() * 2);
  return UNICODE_STRING{bytes, bytes, text.data()};
}

// A UTF-16 name built from ASCII, usable as a UNICODE_STRING.
struct Name {
  explicit Name(std::string_view ascii) : units(ascii.begin(), ascii.end()), s(Wrap(units)) {}
  const UNICODE_STRING* ptr() const { return &s; }
  std::u16string units;
  UNICODE_STRING s;
};

class SimpleStoreTest : public ::testing::Test {
 protected:
  void TearDown() override { CloseSimpleStore(); }
  std::string ReadBytes() const { return vt_test::ReadWholeFile(path_); }
  void WriteBytes(const std::string& bytes) const {
    const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(fd);
  }
  void Open() { ASSERT_EQ(OpenSimpleStoreAt(path_.c_str()), STATUS_SUCCESS); }
  void Seed(const StoreImage& image) {
    WriteBytes(image.bytes());
    Open();
  }
  NTSTATUS Set(std::string_view name, const std::string& data) {
    return SetSimpleStoreValue(Name(name).ptr(), data.data(), static_cast<std::uint32_t>(data.size()));
  }
  NTSTATUS Delete(std::string_view name) { return DeleteSimpleStoreValue(Name(name).ptr()); }
  // The value as the store returns it, or the failure status as text.
  std::string Get(std::string_view name) {
    char buffer[300];
    std::uint32_t size = sizeof buffer;
    const NTSTATUS status = GetSimpleStoreValue(Name(name).ptr(), buffer, &size);
    char text[32];
    std::snprintf(text, sizeof text, "status %08x", static_cast<unsigned>(status));
    return NT_SUCCESS(status) ? std::string(buffer, size) : text;
  }

  vt_test::TempDir dir_;
  std::string path_ = dir_ / "vantorstore";
};

TEST_F(SimpleStoreTest, OpenCreatesOrRepairsAndKeepsAValidFile) {
  StoreImage valid = StoreImage().Put(3, "TRACE", "info").Put(28, "LogCounters", U32Bytes(7));
  valid.bytes()[100] = 'r';                                   // reserved header bytes are never read
  valid.bytes()[8190] = 't';                                  // nor the tail
  valid.bytes()[StoreImage::SlotOffset(3) + 26 + 10] = 'z';  // nor stale data past the length
  const std::string good = valid.bytes();
  const auto with = [&good](std::size_t offset, std::uint16_t value) {  // good with one u16 changed
    StoreImage bad(good);
    bad.PutU16(offset, value);
    return bad.bytes();
  };
  for (const auto& [what, bytes] :
       {std::pair{"empty file", std::string()}, {"8191 bytes", good.substr(0, 8191)}, {"8193 bytes", good + "x"},
        {"version 1", with(0, 1)}, {"name length 24", with(StoreImage::SlotOffset(5), 24)},
        {"odd name length", with(StoreImage::SlotOffset(28), 3)},
        {"data length 257", with(StoreImage::SlotOffset(3) + 24, 257)},
        {"data length in an empty slot", with(StoreImage::SlotOffset(20) + 24, 300)}}) {
    SCOPED_TRACE(what);
    WriteBytes(bytes);
    Open();
    EXPECT_EQ(ReadBytes(), StoreImage().bytes());
    CloseSimpleStore();
  }
  unlink(path_.c_str());
  Open();  // a missing file is created empty
  EXPECT_EQ(ReadBytes(), StoreImage().bytes());
  CloseSimpleStore();

  Seed(valid);
  EXPECT_EQ(Get("TRACE"), "info");
  EXPECT_EQ(Get("LogCounters"), U32Bytes(7));
  EXPECT_EQ(ReadBytes(), good);
}

TEST_F(SimpleStoreTest, SlotsFullOrDuplicated) {
  StoreImage image;
  for (int i = 1; i <= 28; ++i) {
    image.Put(i, "n" + std::to_string(i), "v");
  }
  Seed(image);
  EXPECT_EQ(Set("new", "x"), STATUS_INSUFFICIENT_RESOURCES);
  EXPECT_EQ(ReadBytes(), image.bytes());
  ASSERT_EQ(Set("n17", "longer"), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), image.Put(17, "n17", "longer").bytes());
  CloseSimpleStore();

  // The first of two equal names is read and written, both are deleted; a new
  // name takes the first empty slot; names compare as raw bytes.
  Seed(StoreImage().Put(2, "dup", "first").Put(5, "dup", "second").Put(9, "keep", "k"));
  EXPECT_EQ(Get("dup"), "first");
  ASSERT_EQ(Set("dup", "FIRST"), STATUS_SUCCESS);
  ASSERT_EQ(Set("DUP", "upper"), STATUS_SUCCESS);
  const StoreImage kept = StoreImage().Put(1, "DUP", "upper").Put(9, "keep", "k");
  EXPECT_EQ(ReadBytes(), StoreImage(kept).Put(2, "dup", "FIRST").Put(5, "dup", "second").bytes());
  ASSERT_EQ(Delete("dup"), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(), kept.bytes());  // both slots zeroed
  EXPECT_EQ(Delete("dup"), STATUS_NOT_FOUND);
}

TEST_F(SimpleStoreTest, DataAndNameLimits) {
  Open();
  const std::string before = ReadBytes();
  EXPECT_EQ(Set("big", std::string(257, 'e')), STATUS_INVALID_PARAMETER_2);
  EXPECT_EQ(Set("LogCounters1", "12"), STATUS_INVALID_PARAMETER_1);  // 24 bytes
  EXPECT_EQ(Get("LogCounters1"), "status c00000ef");
  Name odd("ab");
  odd.s.Length = 3;
  std::uint32_t size = 0;
  EXPECT_EQ(GetSimpleStoreValue(&odd.s, nullptr, &size), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(SetSimpleStoreValue(&odd.s, "x", 1), STATUS_INVALID_PARAMETER_1);
  EXPECT_EQ(Delete("LogCounters1"), STATUS_SUCCESS);  // an invalid name deletes nothing
  EXPECT_EQ(ReadBytes(), before);

  EXPECT_EQ(Set("big", std::string(256, 'd')), STATUS_SUCCESS);
  EXPECT_EQ(Set("LogCounters", "11"), STATUS_SUCCESS);  // 22 bytes
  EXPECT_EQ(Set("zero", ""), STATUS_SUCCESS);
  EXPECT_EQ(Get("big"), std::string(256, 'd'));
  EXPECT_EQ(Get("zero"), "");
  EXPECT_EQ(ReadBytes(),
            StoreImage().Put(1, "big", std::string(256, 'd')).Put(2, "LogCounters", "11").Put(3, "zero", "").bytes());
}

TEST_F(SimpleStoreTest, GetCopiesWhatFitsAndReportsTheLength) {
  Seed(StoreImage().Add("rec", "0123456789AB"));
  for (const auto& [capacity, status, copied] :
       {std::tuple{4u, STATUS_BUFFER_TOO_SMALL, std::string("0123")}, {0u, STATUS_BUFFER_TOO_SMALL, ""},
        {12u, STATUS_SUCCESS, "0123456789AB"}, {20u, STATUS_SUCCESS, "0123456789AB"}}) {
    SCOPED_TRACE(capacity);
    std::string buffer(20, '#');
    std::uint32_t size = capacity;
    EXPECT_EQ(GetSimpleStoreValue(Name("rec").ptr(), buffer.data(), &size), status);
    EXPECT_EQ(size, 12u);
    EXPECT_EQ(buffer, copied + std::string(20 - copied.size(), '#'));  // nothing past the capacity
  }
  std::uint32_t size = 7;
  EXPECT_EQ(GetSimpleStoreValue(Name("none").ptr(), nullptr, &size), STATUS_INVALID_PARAMETER);
  char buffer[8];
  EXPECT_EQ(GetSimpleStoreValue(Name("none").ptr(), buffer, &size), STATUS_NOT_FOUND);
  EXPECT_EQ(size, 7u);
}

TEST_F(SimpleStoreTest, FileChangedWhileOpenIsNeitherUsedNorRepaired) {
  EXPECT_EQ(Set("a", "1"), STATUS_INVALID_HANDLE);  // never opened
  Seed(StoreImage().Add("TRACE", "info"));
  const std::string good = ReadBytes();
  ASSERT_EQ(truncate(path_.c_str(), 100), 0);
  const std::string shrunk = ReadBytes();
  EXPECT_EQ(Get("TRACE"), "status c0000011");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_END_OF_FILE);
  EXPECT_EQ(Delete("TRACE"), STATUS_END_OF_FILE);
  EXPECT_EQ(ReadBytes(), shrunk);
  WriteBytes(good);  // restored: the store reads from offset 0 again
  EXPECT_EQ(Get("TRACE"), "info");
  StoreImage bad(good);
  bad.PutU16(0, 1);
  WriteBytes(bad.bytes());
  EXPECT_EQ(Get("TRACE"), "status c000003e");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_DATA_ERROR);
  EXPECT_EQ(ReadBytes(), bad.bytes());

  CloseSimpleStore();
  EXPECT_EQ(Get("TRACE"), "status c0000008");
  const std::string missingDir = dir_ / "no/such/store";
  EXPECT_EQ(OpenSimpleStoreAt(missingDir.c_str()), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(Get("TRACE"), "status c0000008");  // the failed open left the store closed
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
  constexpr int kThreads = 8;
  constexpr std::uint32_t kRounds = 60;
  std::vector<std::string> failures(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([this, t, &failures] {
      const std::string name = "t" + std::to_string(t);
      for (std::uint32_t round = 1; round <= kRounds && failures[t].empty(); ++round) {
        if (round % 10 == 0 && (Delete(name) != STATUS_SUCCESS || Get(name) != "status c0000225")) {
          failures[t] = "delete, round " + std::to_string(round);
        }
        if (Set(name, U32Bytes(round)) != STATUS_SUCCESS || Get(name) != U32Bytes(round)) {
          failures[t] = "set/get, round " + std::to_string(round);
        }
      }
    });
  }
  for (std::thread& t : threads) t.join();
  const StoreImage image(ReadBytes());
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(failures[t], "") << "thread " << t;
    EXPECT_EQ(image.Get("t" + std::to_string(t)), U32Bytes(kRounds)) << t;
  }
}

TEST(BuildVendorPath, JoinsPartsAndRefusesOverflow) {
  // "/opt/Marrowlight/" is 34 bytes; a subdirectory with its "/" must keep the
  // total below 65534, the file name must not wrap 16 bits.
  const std::u16string sub32748(32748, u's');  // 34 + 65496 + 2 = 65532
  const std::u16string none = u"-";
  for (auto [sub, file, expected] :  // "-": no part / no result
       {std::tuple{none, std::u16string(u"vantorstore"), std::u16string(u"/opt/Marrowlight/vantorstore")},
        {u"sub", u"f", u"/opt/Marrowlight/sub/f"},
        {u"sub/", u"f", u"/opt/Marrowlight/sub/f"},
        {u"", u"f", u"/opt/Marrowlight/f"},
        {u"sub", none, u"/opt/Marrowlight/sub/"},
        {sub32748, none, u"/opt/Marrowlight/" + sub32748 + u"/"},
        {sub32748 + u"/", none, u"/opt/Marrowlight/" + sub32748 + u"/"},
        {sub32748 + u"s", none, none},  // 65534
        {sub32748, u"f", none},         // 65534 with the file name
        {sub32748, u"ff", none}}) {
    SCOPED_TRACE(sub.size());
    UNICODE_STRING subString = Wrap(sub), fileString = Wrap(file);
    const StringObject path(BuildVendorPath(sub == none ? nullptr : &subString, file == none ? nullptr : &fileString));
    ASSERT_EQ(static_cast<bool>(path), expected != none);
    if (path) {
      EXPECT_TRUE(View(*path.get()) == expected);
      EXPECT_EQ(path.get()->Buffer[expected.size()], u'\0');
    }
  }
}

}  // namespace
