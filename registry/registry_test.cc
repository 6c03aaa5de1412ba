// The registry tree in memory: provider table, node operations and the
// system-tag query.
#include "registry/registry.h"
#include "registry/registry_internal.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/registry_tree.h"

namespace {

using namespace registry_test;
using Nodes = std::vector<RegistryNode*>;

class RegistryTree : public RegistryFixture {
 protected:
  void SetUp() override {
    RegistryFixture::SetUp();
    ASSERT_EQ(Open(), STATUS_SUCCESS);
  }
  // The attribute's bytes (up to 64), or "<status>" when the query fails.
  std::string Get(RegistryNode* record, const std::string& name) {
    char data[64] = {};
    AttributeValue value{data, sizeof(data), 0, STATUS_SUCCESS};
    const NTSTATUS status = p_->QueryAttribute(record, Wide(name).get(), &value);
    return status == STATUS_SUCCESS ? std::string(data, value.DataSize) : "<" + std::to_string(status) + ">";
  }
};

// Stores, collections and records are found by exact key or created (dirtying
// the registry only then); an existing node keeps the Volatile it was made with.
TEST_F(RegistryTree, OpenFindsOrCreatesByExactKey) {
  EXPECT_EQ(p_->Version, 2u);  // the table's first word, which a caller checks before it uses a slot
  std::uint8_t created = 0;
  RegistryNode *store = nullptr, *again = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  RegistryNode* collection = Collection(store, kGuidB, 1);
  RegistryNode* a = Record(collection, "alpha");
  ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &again), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(again, store);
  EXPECT_EQ(Collection(store, kGuidB, 0), collection);
  EXPECT_EQ(collection->Volatile, 1);
  EXPECT_EQ(Record(collection, "alpha", 1), a);
  EXPECT_FALSE(IsRegistryDirty());

  GUID other = kGuidA;
  other.Data4[7] ^= 1;  // another store, and the same collection GUID under it another collection
  EXPECT_NE(Collection(Store(other), kGuidB), collection);
  EXPECT_NE(Record(collection, "ALPHA"), a);  // no case folding
  EXPECT_EQ(p_->OpenRecord(collection, Wide("alpha").get(), &again), STATUS_SUCCESS);
  EXPECT_EQ(again, a);
  EXPECT_EQ(p_->OpenRecord(collection, Wide("alph").get(), &again), STATUS_OBJECT_NAME_NOT_FOUND);
}

TEST_F(RegistryTree, AttributeQueryReplaceAndDelete) {
  RegistryNode* record = Record(Collection(Store(kGuidA), kGuidB), "rec");
  ASSERT_EQ(Set(record, "ten", "0123456789"), STATUS_SUCCESS);
  char nine[9] = {'#', '#', '#', '#', '#', '#', '#', '#', '#'};
  AttributeValue shortBuffer{nine, 9, 0, STATUS_SUCCESS};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("ten").get(), &shortBuffer), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(shortBuffer.DataSize, 10u);
  EXPECT_EQ(shortBuffer.Status, STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(std::string(nine, 9), "#########");  // nothing copied
  const Nodes before = Children(record);
  ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "ten", "x"), STATUS_SUCCESS);  // replaced in place, by a single byte
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(Get(record, "ten"), "x");
  EXPECT_EQ(Children(record), before);
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("none").get()), STATUS_SUCCESS);  // absent: nothing to do
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("ten").get()), STATUS_SUCCESS);
  EXPECT_EQ(Get(record, "ten"), "<" + std::to_string(STATUS_OBJECT_NAME_NOT_FOUND) + ">");
}

TEST_F(RegistryTree, DeletesRelinkSiblingsAndTheHead) {
  RegistryNode* store = Store(kGuidA);
  RegistryNode* c1 = Collection(store, kGuidA);
  RegistryNode* c2 = Collection(store, kGuidB);
  RegistryNode* c3 = Collection(store, kGuidC);
  EXPECT_EQ(p_->DeleteCollection(c2), STATUS_SUCCESS);  // a middle child
  EXPECT_EQ(Children(store), (Nodes{c1, c3}));
  EXPECT_EQ(c3->Previous, c1);
  ASSERT_EQ(Set(Record(c1, "r"), "a", "1"), STATUS_SUCCESS);
  EXPECT_EQ(p_->DeleteCollection(c1), STATUS_SUCCESS);  // the first child, with all below it
  EXPECT_EQ(Children(store), (Nodes{c3}));
  EXPECT_EQ(c3->Previous, nullptr);
}

struct TagSink {
  std::vector<std::uint64_t> tags;
  std::size_t failAt;  // index of the delivery that fails
  static NTSTATUS Collect(std::uint64_t tag, void* context) {
    auto* sink = static_cast<TagSink*>(context);
    return sink->tags.size() == sink->failAt ? STATUS_CANCELLED : (sink->tags.push_back(tag), STATUS_SUCCESS);
  }
};

// 64-bit values as the list attribute stores them (little-endian, as are the hosts we build for).
std::string ListBytes(std::initializer_list<std::uint64_t> v) {
  return std::string(reinterpret_cast<const char*>(v.begin()), v.size() * 8);
}

// A bitmap of `size` bytes with tags 3 and 9 set.
std::string Bitmap(std::size_t size) { return std::string("\x08\x02", 2).append(size - 2, '\0'); }

TEST_F(RegistryTree, SystemTagsInOrderAndFailuresWithWhatWasDeliveredBeforeThem) {
  const std::string edges = std::string("\x05\x80", 2).append(61, '\0') + "\x80";  // tags 0, 2, 15 and 511
  const std::string list = ListBytes({100, 200});
  struct Case { bool withRecord; std::optional<std::string> bitmap, list; std::size_t failAt; NTSTATUS status;
                std::vector<std::uint64_t> delivered; };
  const Case cases[] = {
      // bitmap bits in order, then the list in order; a short tail is not a value
      {true, edges, ListBytes({7, 0x0000010000000003ull, 2, ~0ull}) + "\x7f\x7f", SIZE_MAX, STATUS_SUCCESS,
       {0, 2, 15, 511, 7, 0x0000010000000003ull, 2, ~0ull}},
      {true, Bitmap(63), list, SIZE_MAX, STATUS_INTERNAL_ERROR, {}},
      {true, Bitmap(65), list, SIZE_MAX, STATUS_BUFFER_TOO_SMALL, {}},
      {true, std::nullopt, list, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {}},
      {true, Bitmap(64), std::nullopt, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {3, 9}},
      {false, Bitmap(64), list, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {}},
      {true, Bitmap(64), list, 1, STATUS_CANCELLED, {3}},
      {true, Bitmap(64), list, 3, STATUS_CANCELLED, {3, 9, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(&c - cases);
    if (c.withRecord) {
      RegistryNode* record = Record(Collection(Store(kSystemTagStoreGuid), kSystemTagCollectionGuid), "00:00:00:00");
      if (c.bitmap) { ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", *c.bitmap), STATUS_SUCCESS); }
      if (c.list) { ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}", *c.list), STATUS_SUCCESS); }
    }
    TagSink sink{{}, c.failAt};
    EXPECT_EQ(EnumerateSystemTags(TagSink::Collect, &sink), c.status);
    EXPECT_EQ(sink.tags, c.delivered);
    EXPECT_EQ(p_->DeleteStore(Store(kSystemTagStoreGuid)), STATUS_SUCCESS);
  }
}

}  // namespace
