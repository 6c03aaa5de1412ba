// The registry tree in memory: provider table, node operations, enumeration and
// the system-tag query.
#include "registry/registry.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "registry/registry_internal.h"
#include "registry/registry_test_util.h"

namespace {

using namespace registry_test;

class RegistryTree : public RegistryFixture {
 protected:
  void SetUp() override { ASSERT_EQ(Open(), STATUS_SUCCESS); }
  // The attribute's bytes (up to 64), or "<status>" when the query fails.
  std::string Get(RegistryNode* record, const std::string& name) {
    char data[64];
    AttributeValue value{data, sizeof(data), 0, STATUS_SUCCESS};
    const NTSTATUS status = p_->QueryAttribute(record, Wide(name).get(), &value);
    return status == STATUS_SUCCESS ? std::string(data, value.DataSize) : "<" + std::to_string(status) + ">";
  }
  void Clean() {
    ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
    ASSERT_FALSE(IsRegistryDirty());
  }
};

TEST(RegistryProviderTable, VersionTwoWithTwentyOneSlotsAndSlotTwentyEmpty) {
  const RegistryProvider* p = GetRegistryProvider();
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->Version, 2u);
  // The slots follow the version word, one pointer each, in table order.
  constexpr std::size_t first = offsetof(RegistryProvider, OpenStore);
  static_assert(offsetof(RegistryProvider, Reserved20) == first + 19 * sizeof(void*));
  static_assert(sizeof(RegistryProvider) == first + 21 * sizeof(void*));
  void* slots[21];
  std::memcpy(slots, reinterpret_cast<const char*>(p) + first, sizeof(slots));
  for (int i = 0; i < 21; ++i) {
    EXPECT_EQ(slots[i] == nullptr, i == 19) << "slot " << i + 1;
  }
}

TEST_F(RegistryTree, OpenFindsOrCreatesAndDirtiesOnlyOnCreation) {
  EXPECT_FALSE(IsRegistryDirty());
  std::uint8_t created = 0;
  RegistryNode* store = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  EXPECT_TRUE(IsRegistryDirty());
  RegistryNode* collection = Collection(store, kGuidB, 1);
  Clean();

  RegistryNode* again = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &again), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(again, store);
  // An existing collection keeps the Volatile it was created with.
  EXPECT_EQ(Collection(store, kGuidB, 0), collection);
  EXPECT_EQ(collection->Volatile, 1);
  EXPECT_FALSE(IsRegistryDirty());

  // A GUID differing only in its last byte is another store; the same
  // collection GUID under it is another collection.
  GUID other = kGuidA;
  other.Data4[7] ^= 1;
  ASSERT_EQ(p_->OpenStore(&other, &created, &again), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  EXPECT_NE(Collection(again, kGuidB), collection);
}

TEST_F(RegistryTree, RecordsAreFoundByExactNameAndKeptInCreationOrder) {
  RegistryNode* collection = Collection(Store(kGuidA), kGuidB);
  std::uint8_t created = 0;
  RegistryNode* a = nullptr;
  ASSERT_EQ(p_->CreateRecord(collection, Wide("alpha").get(), 0, &a, &created), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  RegistryNode* again = nullptr;
  ASSERT_EQ(p_->CreateRecord(collection, Wide("alpha").get(), 1, &again, &created), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(again, a);

  RegistryNode* upper = Record(collection, "ALPHA");  // no case folding
  RegistryNode* b = Record(collection, "beta");
  EXPECT_EQ(Children(collection), (std::vector<RegistryNode*>{a, upper, b}));
  RegistryNode* found = nullptr;
  EXPECT_EQ(p_->OpenRecord(collection, Wide("beta").get(), &found), STATUS_SUCCESS);
  EXPECT_EQ(found, b);
  found = nullptr;
  EXPECT_EQ(p_->OpenRecord(collection, Wide("bet").get(), &found), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(found, nullptr);
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
  EXPECT_EQ(Get(record, "ten"), "0123456789");
  AttributeValue absent{nine, 9, 77, STATUS_TIMEOUT};  // untouched when absent
  EXPECT_EQ(p_->QueryAttribute(record, Wide("none").get(), &absent), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(absent.DataSize, 77u);
  EXPECT_EQ(absent.Status, STATUS_TIMEOUT);

  // Replacement keeps the node and its place.
  ASSERT_EQ(Set(record, "other", "1"), STATUS_SUCCESS);
  const auto before = Children(record);
  Clean();
  ASSERT_EQ(Set(record, "ten", "xyz"), STATUS_SUCCESS);
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(Get(record, "ten"), "xyz");
  EXPECT_EQ(Children(record), before);

  // Deleting an absent name succeeds and changes nothing.
  Clean();
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("none").get()), STATUS_SUCCESS);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("ten").get()), STATUS_SUCCESS);
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(Get(record, "ten"), "<" + std::to_string(STATUS_OBJECT_NAME_NOT_FOUND) + ">");
  EXPECT_EQ(record->FirstChild, before[1]);
  EXPECT_EQ(before[1]->Previous, nullptr);
}

TEST_F(RegistryTree, DeletesRelinkSiblingsAndHeads) {
  RegistryNode* store = Store(kGuidA);
  RegistryNode* c1 = Collection(store, kGuidA);
  RegistryNode* c2 = Collection(store, kGuidB);
  RegistryNode* c3 = Collection(store, kGuidC);
  ASSERT_EQ(Set(Record(c1, "r"), "a", "1"), STATUS_SUCCESS);
  Clean();
  EXPECT_EQ(p_->DeleteCollection(c1), STATUS_SUCCESS);  // the first child, with all below it
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(store->FirstChild, c2);
  EXPECT_EQ(c2->Previous, nullptr);
  RegistryNode* c4 = Collection(store, kGuidA);
  EXPECT_EQ(p_->DeleteCollection(c3), STATUS_SUCCESS);  // a middle child
  EXPECT_EQ(Children(store), (std::vector<RegistryNode*>{c2, c4}));
  EXPECT_EQ(c4->Previous, c2);

  // The registry's first store: the next one becomes the head.
  RegistryNode* s2 = Store(kGuidB);
  EXPECT_EQ(p_->DeleteStore(store), STATUS_SUCCESS);
  EXPECT_EQ(LoadedRegistry()->FirstStore, s2);
  EXPECT_EQ(s2->Previous, nullptr);
}

TEST_F(RegistryTree, EnumerationStaysFinishedAfterTheEnd) {
  RegistryNode* store = Store(kGuidA);
  RegistryNode* c1 = Collection(store, kGuidA);
  RegistryEnumeration* walk = nullptr;
  ASSERT_EQ(p_->OpenEnumeration(store, nullptr, &walk), STATUS_SUCCESS);
  RegistryNode* child = nullptr;
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_SUCCESS);
  EXPECT_EQ(child, c1);
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  Collection(store, kGuidB);  // added after the end: not picked up
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);
}

TEST_F(RegistryTree, RunDownGuardRefusesNewWork) {
  WaitForRundown(RegistryRundownGuard());
  RegistryNode* store = nullptr;
  EXPECT_EQ(p_->OpenStore(&kGuidB, nullptr, &store), STATUS_TOO_LATE);
  EXPECT_EQ(FlushRegistry(), STATUS_TOO_LATE);
  EXPECT_EQ(Dump(), "");
  InitializeRundownGuard(RegistryRundownGuard());  // let TearDown's close run normally
}

TEST_F(RegistryTree, ConcurrentWritersLoseNothing) {
  RegistryNode* store = Store(kGuidA);
  RegistryNode* collection = Collection(store, kGuidB);
  constexpr int kThreads = 4;
  constexpr int kRecords = 40;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRecords; ++i) {
        EXPECT_EQ(Store(kGuidA), store);
        const std::string name = "t" + std::to_string(t) + "-" + std::to_string(i);
        EXPECT_EQ(Set(Record(collection, name), "v", name), STATUS_SUCCESS);
        if (i % 10 == 0) {
          EXPECT_EQ(p_->FlushStore(store), STATUS_SUCCESS);
        }
      }
    });
  }
  for (auto& th : threads) {
    th.join();
  }
  const auto records = Children(collection);
  ASSERT_EQ(records.size(), static_cast<std::size_t>(kThreads * kRecords));
  for (RegistryNode* record : records) {
    Utf8String name;
    ASSERT_EQ(name.Convert(&record->Name), STATUS_SUCCESS);
    EXPECT_EQ(Get(record, "v"), name.c_str());
  }
}

// --- system tags -------------------------------------------------------------

struct TagSink {
  std::vector<std::uint64_t> tags;
  std::size_t failAt = SIZE_MAX;  // index of the delivery that fails
};

NTSTATUS CollectTag(std::uint64_t tag, void* context) {
  auto* sink = static_cast<TagSink*>(context);
  if (sink->tags.size() == sink->failAt) {
    return STATUS_CANCELLED;
  }
  sink->tags.push_back(tag);
  return STATUS_SUCCESS;
}

std::string ListBytes(std::initializer_list<std::uint64_t> values) {
  std::string bytes;
  for (std::uint64_t v : values) {
    for (int i = 0; i < 8; ++i) {
      bytes.push_back(static_cast<char>(v >> (8 * i)));
    }
  }
  return bytes;
}

// 64-byte bitmap (unless sized otherwise) with tags 3 and 9 set.
std::string Bitmap(std::size_t size = 64) {
  std::string bitmap(size, '\0');
  bitmap[0] = '\x08';
  bitmap[1] = '\x02';
  return bitmap;
}

TEST_F(RegistryTree, SystemTagsInOrderAndFailuresWithWhatWasDeliveredBeforeThem) {
  std::string edges(64, '\0');
  edges[0] = '\x05';
  edges[1] = '\x80';
  edges[63] = '\x80';
  const std::string list = ListBytes({100, 200});
  struct Case {
    const char* what;
    bool withRecord;
    std::optional<std::string> bitmap, list;
    std::size_t failAt;
    NTSTATUS status;
    std::vector<std::uint64_t> delivered;
  };
  const Case cases[] = {
      {"bitmap bits in order, then the list in order; a short tail is not a value", true, edges,
       ListBytes({7, 0x0000010000000003ull, 2, 0xFFFFFFFFFFFFFFFFull}) + "\x7f\x7f", SIZE_MAX, STATUS_SUCCESS,
       {0, 2, 15, 511, 7, 0x0000010000000003ull, 2, 0xFFFFFFFFFFFFFFFFull}},
      {"bitmap of 63 bytes", true, Bitmap(63), list, SIZE_MAX, STATUS_INTERNAL_ERROR, {}},
      {"bitmap of 65 bytes", true, Bitmap(65), list, SIZE_MAX, STATUS_BUFFER_TOO_SMALL, {}},
      {"no bitmap", true, std::nullopt, list, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {}},
      {"no list", true, Bitmap(), std::nullopt, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {3, 9}},
      {"empty list", true, Bitmap(), "", SIZE_MAX, STATUS_SUCCESS, {3, 9}},
      {"no record", false, Bitmap(), list, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {}},
      {"callback fails in the bitmap", true, Bitmap(), list, 1, STATUS_CANCELLED, {3}},
      {"callback fails in the list", true, Bitmap(), list, 3, STATUS_CANCELLED, {3, 9, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.withRecord) {
      RegistryNode* record =
          Record(Collection(Store(kSystemTagStoreGuid), kSystemTagCollectionGuid), "00:00:00:00");
      if (c.bitmap) {
        ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", *c.bitmap), STATUS_SUCCESS);
      }
      if (c.list) {
        ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}", *c.list), STATUS_SUCCESS);
      }
    }
    TagSink sink;
    sink.failAt = c.failAt;
    EXPECT_EQ(EnumerateSystemTags(CollectTag, &sink), c.status);
    EXPECT_EQ(sink.tags, c.delivered);
    EXPECT_EQ(p_->DeleteStore(Store(kSystemTagStoreGuid)), STATUS_SUCCESS);
  }
}

}  // namespace
