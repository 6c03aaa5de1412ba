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

#include "tests/support/trace_capture.h"
#include "tests/support/store_image.h"
#include "tests/support/wide.h"

namespace {

using vt_test::StoreImage;

using Name = vt_test::Wide;

class SimpleStoreTest : public ::testing::Test {
 protected:
  void TearDown() override { CloseSimpleStore(); }
  std::string ReadBytes() const { return vt_test::ReadWholeFile(path_); }
  void Seed(const std::string& bytes) {  // closes the store, writes the file, opens it again
    CloseSimpleStore();
    const int fd = open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(fd);
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
  EXPECT_EQ(ReadBytes(), image.Put(17, "n17", "longer").bytes());

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
  EXPECT_EQ(Set("big", std::string(257, 'e')), STATUS_INVALID_PARAMETER_2);
  EXPECT_EQ(Set("LogCounters1", "12"), STATUS_INVALID_PARAMETER_1);  // 24 bytes
  EXPECT_EQ(ReadBytes(), StoreImage().bytes());
  EXPECT_EQ(Set("big", std::string(256, 'd')), STATUS_SUCCESS);
  EXPECT_EQ(Set("LogCounters", "11"), STATUS_SUCCESS);  // 22 bytes
  EXPECT_EQ(ReadBytes(), StoreImage().Put(1, "big", std::string(256, 'd')).Put(2, "LogCounters", "11").bytes());
  for (const auto& [capacity, status] : {std::pair{4u, STATUS_BUFFER_TOO_SMALL}, {256u, STATUS_SUCCESS}}) {
    std::string buffer(260, '#');
    std::uint32_t size = capacity;
    EXPECT_EQ(GetSimpleStoreValue(Name("big").get(), buffer.data(), &size), status);
    EXPECT_EQ(size, 256u);
    EXPECT_EQ(buffer, std::string(capacity, 'd') + std::string(260 - capacity, '#'));  // nothing past the capacity
  }
}

TEST_F(SimpleStoreTest, ShortFileWhileOpenIsNeitherUsedNorRepaired) {
  Seed(StoreImage().Add("TRACE", "info").bytes());
  ASSERT_EQ(truncate(path_.c_str(), 100), 0);
  EXPECT_EQ(Get("TRACE"), "status c0000011");
  EXPECT_EQ(Set("TRACE", "warn"), STATUS_END_OF_FILE);
  EXPECT_EQ(ReadBytes(), StoreImage().Add("TRACE", "info").bytes().substr(0, 100));
}

TEST(BuildVendorPath, JoinsPartsAndRefusesOverflow) {
  // "/opt/Marrowlight/" is 34 bytes; a subdirectory with its "/" must keep the
  // total below 65534, the file name must not wrap 16 bits.
  const std::u16string big(32748, u's'), none = u"-";  // 34 + 65496 + 2 = 65532 bytes
  for (auto [sub, file, expected] :  // "-": no part / no result
       {std::tuple{none, std::u16string(u"vantorstore"), std::u16string(u"/opt/Marrowlight/vantorstore")},
        {u"sub/", u"f", u"/opt/Marrowlight/sub/f"}, {u"sub", none, u"/opt/Marrowlight/sub/"}, {big, u"f", none},
        {big, none, u"/opt/Marrowlight/" + big + u"/"}, {big + u"s", none, none}, {big, u"ff", none}}) {
    const Name subName(sub), fileName(file);
    const StringObject path(
        BuildVendorPath(sub == none ? nullptr : subName.get(), file == none ? nullptr : fileName.get()));
    EXPECT_TRUE(path ? View(*path.get()) == expected && path.get()->Buffer[expected.size()] == u'\0' : expected == none)
        << sub.size() << " " << file.size();
  }
}

}  // namespace
