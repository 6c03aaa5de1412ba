// The registry tree in memory: provider table, node operations, enumeration and
// the system-tag query.
#include "registry/registry.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "registry/registry_internal.h"
#include "registry/registry_test_util.h"

namespace {

using namespace registry_test;

class RegistryTree : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(OpenRegistry(Wide(dir_.File("Registry.bin")).get()), STATUS_SUCCESS);
    p_ = GetRegistryProvider();
  }
  void TearDown() override { CloseRegistry(); }

  RegistryNode* NewStore(const GUID& g) {
    RegistryNode* store = nullptr;
    EXPECT_EQ(p_->OpenStore(&g, nullptr, &store), STATUS_SUCCESS);
    return store;
  }
  RegistryNode* NewCollection(RegistryNode* store, const GUID& g, std::uint8_t isVolatile = 0) {
    RegistryNode* collection = nullptr;
    EXPECT_EQ(p_->OpenCollection(store, isVolatile, &g, &collection), STATUS_SUCCESS);
    return collection;
  }
  RegistryNode* NewRecord(RegistryNode* collection, const std::string& name) {
    RegistryNode* record = nullptr;
    EXPECT_EQ(p_->CreateRecord(collection, Wide(name).get(), 0, &record, nullptr), STATUS_SUCCESS);
    return record;
  }
  NTSTATUS Set(RegistryNode* record, const std::string& name, std::string data) {
    AttributeValue value{data.data(), static_cast<std::uint32_t>(data.size()), 0, STATUS_SUCCESS};
    return p_->SetAttribute(record, Wide(name).get(), &value);
  }
  // The attribute's bytes, or "<status>" when the query fails.
  std::string Get(RegistryNode* record, const std::string& name) {
    AttributeValue size{nullptr, 0, 0, STATUS_SUCCESS};
    NTSTATUS status = p_->QueryAttribute(record, Wide(name).get(), &size);
    if (status != STATUS_SUCCESS && status != STATUS_BUFFER_TOO_SMALL) {
      return "<" + std::to_string(status) + ">";
    }
    std::string data(size.DataSize, '\0');
    AttributeValue value{data.data(), size.DataSize, 0, STATUS_SUCCESS};
    status = p_->QueryAttribute(record, Wide(name).get(), &value);
    return status == STATUS_SUCCESS ? data : "<" + std::to_string(status) + ">";
  }
  // The children of `parent`, in enumeration order.
  std::vector<RegistryNode*> Children(RegistryNode* parent) {
    std::vector<RegistryNode*> children;
    RegistryEnumeration* walk = nullptr;
    EXPECT_EQ(p_->OpenEnumeration(parent, nullptr, &walk), STATUS_SUCCESS);
    RegistryNode* child = nullptr;
    while (p_->EnumerateNext(walk, &child) == STATUS_SUCCESS) {
      children.push_back(child);
    }
    EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);
    return children;
  }
  void Clean() {
    ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
    ASSERT_FALSE(IsRegistryDirty());
  }

  TempDir dir_;
  const RegistryProvider* p_ = nullptr;
};

TEST(RegistryProviderTable, VersionTwoWithTwentyOneSlotsAndSlotTwentyEmpty) {
  const RegistryProvider* p = GetRegistryProvider();
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p, GetRegistryProvider());
  EXPECT_EQ(p->Version, 2u);
  // The slots follow the version word, one pointer each, in table order.
  constexpr std::size_t first = offsetof(RegistryProvider, OpenStore);
  static_assert(offsetof(RegistryProvider, EnumerateNext) == first + 20 * sizeof(void*));
  static_assert(offsetof(RegistryProvider, Reserved20) == first + 19 * sizeof(void*));
  static_assert(offsetof(RegistryProvider, SetAttribute) == first + 14 * sizeof(void*));
  static_assert(sizeof(RegistryProvider) == first + 21 * sizeof(void*));
  void* slots[21];
  std::memcpy(slots, reinterpret_cast<const char*>(p) + first, sizeof(slots));
  for (int i = 0; i < 21; ++i) {
    if (i == 19) {
      EXPECT_EQ(slots[i], nullptr) << "slot 20";
    } else {
      EXPECT_NE(slots[i], nullptr) << "slot " << i + 1;
    }
  }
  // The flush slots share one operation; so do the delete slots.
  EXPECT_EQ(p->CloseStore, p->FlushStore);
  EXPECT_EQ(p->CloseStore, p->CloseCollection);
  EXPECT_EQ(p->CloseStore, p->CloseRecord);
  EXPECT_EQ(p->DeleteStore, p->DeleteCollection);
  EXPECT_EQ(p->DeleteStore, p->DeleteRecord);
}

TEST_F(RegistryTree, OpenStoreFindsOrCreatesAndDirtiesOnlyOnCreation) {
  EXPECT_FALSE(IsRegistryDirty());
  std::uint8_t created = 0;
  RegistryNode* first = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &first), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  EXPECT_TRUE(IsRegistryDirty());
  Clean();

  RegistryNode* second = nullptr;
  created = 1;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &second), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(second, first);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(first->Kind, RegistryNodeKind::Store);
  EXPECT_EQ(first->Parent, nullptr);
  EXPECT_EQ(std::memcmp(&first->Guid, &kGuidA, sizeof(GUID)), 0);

  // A GUID differing only in its last byte is another store.
  GUID other = kGuidA;
  other.Data4[7] ^= 1;
  RegistryNode* third = nullptr;
  ASSERT_EQ(p_->OpenStore(&other, &created, &third), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  EXPECT_NE(third, first);
  EXPECT_EQ(first->Next, third);
  EXPECT_EQ(third->Previous, first);
}

TEST_F(RegistryTree, OpenCollectionKeepsTheVolatileItWasCreatedWith) {
  RegistryNode* store = NewStore(kGuidA);
  RegistryNode* collection = NewCollection(store, kGuidB, 1);
  Clean();
  RegistryNode* again = nullptr;
  ASSERT_EQ(p_->OpenCollectionEx(store, 0, &kGuidB, reinterpret_cast<void*>(0x1234), &again), STATUS_SUCCESS);
  EXPECT_EQ(again, collection);
  EXPECT_EQ(again->Volatile, 1);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(again->Parent, store);

  RegistryNode* referenced = nullptr;
  EXPECT_EQ(p_->ReferenceCollection(collection, nullptr, &referenced), STATUS_SUCCESS);
  EXPECT_EQ(referenced, collection);
  EXPECT_EQ(p_->DereferenceCollection(collection), STATUS_SUCCESS);
  // Same GUID under another store is a different collection.
  RegistryNode* otherStore = NewStore(kGuidC);
  EXPECT_NE(NewCollection(otherStore, kGuidB), collection);
}

TEST_F(RegistryTree, RecordsAreFoundByExactNameAndKeptInCreationOrder) {
  RegistryNode* collection = NewCollection(NewStore(kGuidA), kGuidB);
  std::uint8_t created = 0;
  RegistryNode* a = nullptr;
  ASSERT_EQ(p_->CreateRecord(collection, Wide("alpha").get(), 0, &a, &created), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  RegistryNode* again = nullptr;
  ASSERT_EQ(p_->CreateRecord(collection, Wide("alpha").get(), 1, &again, &created), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(again, a);
  EXPECT_EQ(a->Volatile, 0);
  // The key is an owned, NUL-terminated copy.
  EXPECT_EQ(a->Name.Length, 10);
  EXPECT_EQ(a->Name.Buffer[5], u'\0');

  RegistryNode* upper = NewRecord(collection, "ALPHA");  // no case folding
  RegistryNode* b = NewRecord(collection, "beta");
  EXPECT_NE(upper, a);
  EXPECT_EQ(Children(collection), (std::vector<RegistryNode*>{a, upper, b}));

  RegistryNode* found = nullptr;
  EXPECT_EQ(p_->OpenRecord(collection, Wide("beta").get(), &found), STATUS_SUCCESS);
  EXPECT_EQ(found, b);
  found = nullptr;
  EXPECT_EQ(p_->OpenRecord(collection, Wide("gamma").get(), &found), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(p_->OpenRecord(collection, Wide("bet").get(), &found), STATUS_OBJECT_NAME_NOT_FOUND);
}

TEST_F(RegistryTree, NameCopyFailuresCreateNothing) {
  RegistryNode* collection = NewCollection(NewStore(kGuidA), kGuidB);
  RegistryNode* record = NewRecord(collection, "r");
  Clean();
  // An odd byte length is a malformed counted string: the copy refuses it.
  Wide bad("xy");
  bad.mutable_get()->Length = 3;
  RegistryNode* handle = reinterpret_cast<RegistryNode*>(0x1);
  std::uint8_t created = 1;
  EXPECT_FALSE(NT_SUCCESS(p_->CreateRecord(collection, bad.get(), 0, &handle, &created)));
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(created, 0);
  std::string data = "v";
  AttributeValue value{data.data(), 1, 0, STATUS_SUCCESS};
  EXPECT_FALSE(NT_SUCCESS(p_->SetAttribute(record, bad.get(), &value)));
  EXPECT_EQ(Children(collection).size(), 1u);
  EXPECT_TRUE(Children(record).empty());
  EXPECT_FALSE(IsRegistryDirty());
}

TEST_F(RegistryTree, AttributeSetQueryReplaceAndDelete) {
  RegistryNode* record = NewRecord(NewCollection(NewStore(kGuidA), kGuidB), "rec");
  ASSERT_EQ(Set(record, "ten", "0123456789"), STATUS_SUCCESS);

  // Size first, then the data.
  AttributeValue probe{nullptr, 0, 0, STATUS_SUCCESS};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("ten").get(), &probe), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(probe.DataSize, 10u);
  EXPECT_EQ(probe.Status, STATUS_BUFFER_TOO_SMALL);
  char nine[9] = {'#', '#', '#', '#', '#', '#', '#', '#', '#'};
  AttributeValue shortBuffer{nine, 9, 0, STATUS_SUCCESS};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("ten").get(), &shortBuffer), STATUS_BUFFER_TOO_SMALL);
  EXPECT_EQ(std::string(nine, 9), "#########");  // nothing copied
  char buffer[16] = {};
  AttributeValue full{buffer, sizeof(buffer), 0, STATUS_BUFFER_TOO_SMALL};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("ten").get(), &full), STATUS_SUCCESS);
  EXPECT_EQ(full.DataSize, 10u);
  EXPECT_EQ(full.Status, STATUS_SUCCESS);
  EXPECT_EQ(std::string(buffer, 10), "0123456789");

  // Absent: the descriptor is untouched.
  AttributeValue absent{buffer, sizeof(buffer), 77, STATUS_TIMEOUT};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("none").get(), &absent), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_EQ(absent.DataSize, 77u);
  EXPECT_EQ(absent.Status, STATUS_TIMEOUT);

  // Empty value.
  ASSERT_EQ(Set(record, "empty", ""), STATUS_SUCCESS);
  AttributeValue zero{nullptr, 0, 5, STATUS_TIMEOUT};
  EXPECT_EQ(p_->QueryAttribute(record, Wide("empty").get(), &zero), STATUS_SUCCESS);
  EXPECT_EQ(zero.DataSize, 0u);

  // Replacement keeps the node and its place.
  RegistryNode* before = Children(record)[0];
  Clean();
  ASSERT_EQ(Set(record, "ten", "xyz"), STATUS_SUCCESS);
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(Get(record, "ten"), "xyz");
  EXPECT_EQ(Children(record), (std::vector<RegistryNode*>{before, Children(record)[1]}));
  EXPECT_EQ(before->DataLength, 3u);

  // Deleting an absent name succeeds and changes nothing.
  Clean();
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("none").get()), STATUS_SUCCESS);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(p_->DeleteAttribute(record, Wide("ten").get()), STATUS_SUCCESS);
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(Get(record, "ten"), "<" + std::to_string(STATUS_OBJECT_NAME_NOT_FOUND) + ">");
  const auto left = Children(record);
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(record->FirstChild, left[0]);
  EXPECT_EQ(left[0]->Previous, nullptr);
}

TEST_F(RegistryTree, DeletesRelinkSiblingsAndHeads) {
  RegistryNode* store = NewStore(kGuidA);
  RegistryNode* c1 = NewCollection(store, kGuidA);
  RegistryNode* c2 = NewCollection(store, kGuidB);
  RegistryNode* c3 = NewCollection(store, kGuidC);
  RegistryNode* r = NewRecord(c1, "r");
  ASSERT_EQ(Set(r, "a", "1"), STATUS_SUCCESS);

  // First child removed, with everything below it.
  Clean();
  EXPECT_EQ(p_->DeleteCollection(c1), STATUS_SUCCESS);
  EXPECT_TRUE(IsRegistryDirty());
  EXPECT_EQ(store->FirstChild, c2);
  EXPECT_EQ(c2->Previous, nullptr);
  EXPECT_EQ(Children(store), (std::vector<RegistryNode*>{c2, c3}));

  // A middle child.
  RegistryNode* c4 = NewCollection(store, kGuidA);
  EXPECT_EQ(p_->DeleteCollection(c3), STATUS_SUCCESS);
  EXPECT_EQ(Children(store), (std::vector<RegistryNode*>{c2, c4}));
  EXPECT_EQ(c2->Next, c4);
  EXPECT_EQ(c4->Previous, c2);

  // The registry's first store: the next one becomes the head, and the deleted
  // GUID can be created anew.
  RegistryNode* s2 = NewStore(kGuidB);
  EXPECT_EQ(p_->DeleteStore(store), STATUS_SUCCESS);
  EXPECT_EQ(LoadedRegistry()->FirstStore, s2);
  EXPECT_EQ(s2->Previous, nullptr);
  std::uint8_t created = 0;
  RegistryNode* reborn = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &reborn), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  EXPECT_TRUE(Children(reborn).empty());

  // Deleting the only record empties the collection.
  RegistryNode* only = NewRecord(NewCollection(s2, kGuidC), "only");
  EXPECT_EQ(p_->DeleteRecord(only), STATUS_SUCCESS);
  EXPECT_TRUE(Children(Children(s2)[0]).empty());
}

TEST_F(RegistryTree, EnumerationStaysFinishedAfterTheEnd) {
  RegistryNode* store = NewStore(kGuidA);
  RegistryNode* c1 = NewCollection(store, kGuidA);
  RegistryEnumeration* walk = nullptr;
  ASSERT_EQ(p_->OpenEnumeration(store, nullptr, &walk), STATUS_SUCCESS);
  EXPECT_EQ(walk->Parent, store);
  EXPECT_EQ(walk->Current, nullptr);
  RegistryNode* child = nullptr;
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_SUCCESS);
  EXPECT_EQ(child, c1);
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  // A child added after the end is not picked up: the walk is done.
  NewCollection(store, kGuidB);
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  EXPECT_EQ(child, c1);
  EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);

  ASSERT_EQ(p_->OpenEnumeration(NewRecord(c1, "empty"), nullptr, &walk), STATUS_SUCCESS);
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  EXPECT_EQ(p_->EnumerateNext(walk, &child), STATUS_NOT_FOUND);
  EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);
}

TEST_F(RegistryTree, RunDownGuardRefusesNewWork) {
  NewStore(kGuidA);
  WaitForRundown(RegistryRundownGuard());
  RegistryNode* store = nullptr;
  EXPECT_EQ(p_->OpenStore(&kGuidB, nullptr, &store), STATUS_TOO_LATE);
  EXPECT_EQ(FlushRegistry(), STATUS_TOO_LATE);
  EXPECT_EQ(Dump(), "");
  // Let TearDown's close run normally.
  InitializeRundownGuard(RegistryRundownGuard());
}

TEST_F(RegistryTree, ConcurrentWritersLoseNothing) {
  RegistryNode* store = NewStore(kGuidA);
  RegistryNode* collection = NewCollection(store, kGuidB);
  constexpr int kThreads = 4;
  constexpr int kRecords = 40;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRecords; ++i) {
        RegistryNode* again = nullptr;
        EXPECT_EQ(p_->OpenStore(&kGuidA, nullptr, &again), STATUS_SUCCESS);
        RegistryNode* record = nullptr;
        const std::string name = "t" + std::to_string(t) + "-" + std::to_string(i);
        EXPECT_EQ(p_->CreateRecord(collection, Wide(name).get(), 0, &record, nullptr), STATUS_SUCCESS);
        EXPECT_EQ(Set(record, "v", name), STATUS_SUCCESS);
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

std::string ListBytes(std::initializer_list<std::uint64_t> values, std::size_t trailing = 0) {
  std::string bytes;
  for (std::uint64_t v : values) {
    for (int i = 0; i < 8; ++i) {
      bytes.push_back(static_cast<char>(v >> (8 * i)));
    }
  }
  bytes.append(trailing, '\x7f');
  return bytes;
}

class SystemTags : public RegistryTree {
 protected:
  RegistryNode* TagRecord() {
    RegistryNode* store = NewStore(kSystemTagStoreGuid);
    return NewRecord(NewCollection(store, kSystemTagCollectionGuid), "00:00:00:00");
  }
  static std::string Bitmap(std::size_t size = 64) { return std::string(size, '\0'); }
};

TEST_F(SystemTags, BitmapInBitOrderThenListInOrder) {
  RegistryNode* record = TagRecord();
  std::string bitmap = Bitmap();
  bitmap[0] = '\x05';
  bitmap[1] = '\x80';
  bitmap[63] = '\x80';
  ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", bitmap), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}",
                ListBytes({7, 0x0000010000000003ull, 2, 0xFFFFFFFFFFFFFFFFull}, 5)),
            STATUS_SUCCESS);
  TagSink sink;
  EXPECT_EQ(EnumerateSystemTags(CollectTag, &sink), STATUS_SUCCESS);
  EXPECT_EQ(sink.tags, (std::vector<std::uint64_t>{0, 2, 15, 511, 7, 0x0000010000000003ull, 2,
                                                   0xFFFFFFFFFFFFFFFFull}));
}

TEST_F(SystemTags, FailuresAndWhatWasDeliveredBeforeThem) {
  struct Case {
    const char* what;
    std::size_t bitmapSize;  // 0: no bitmap attribute
    bool withList;
    std::size_t failAt;
    NTSTATUS status;
    std::vector<std::uint64_t> delivered;
  };
  const Case cases[] = {
      {"bitmap of 63 bytes", 63, true, SIZE_MAX, STATUS_INTERNAL_ERROR, {}},
      {"bitmap of 65 bytes", 65, true, SIZE_MAX, STATUS_BUFFER_TOO_SMALL, {}},
      {"no bitmap", 0, true, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {}},
      {"no list", 64, false, SIZE_MAX, STATUS_OBJECT_NAME_NOT_FOUND, {3, 9}},
      {"callback fails in the bitmap", 64, true, 1, STATUS_CANCELLED, {3}},
      {"callback fails in the list", 64, true, 3, STATUS_CANCELLED, {3, 9, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    RegistryNode* record = TagRecord();
    std::string bitmap = Bitmap(c.bitmapSize == 0 ? 64 : c.bitmapSize);
    bitmap[0] = '\x08';  // tag 3
    bitmap[1] = '\x02';  // tag 9
    if (c.bitmapSize != 0) {
      ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", bitmap), STATUS_SUCCESS);
    }
    if (c.withList) {
      ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}", ListBytes({100, 200})), STATUS_SUCCESS);
    }
    TagSink sink;
    sink.failAt = c.failAt;
    EXPECT_EQ(EnumerateSystemTags(CollectTag, &sink), c.status);
    EXPECT_EQ(sink.tags, c.delivered);
    EXPECT_EQ(p_->DeleteStore(NewStore(kSystemTagStoreGuid)), STATUS_SUCCESS);
  }
}

TEST_F(SystemTags, EmptyListAndMissingRecord) {
  RegistryNode* record = TagRecord();
  ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", Bitmap()), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}", ""), STATUS_SUCCESS);
  TagSink sink;
  EXPECT_EQ(EnumerateSystemTags(CollectTag, &sink), STATUS_SUCCESS);
  EXPECT_TRUE(sink.tags.empty());

  EXPECT_EQ(p_->DeleteRecord(record), STATUS_SUCCESS);
  EXPECT_EQ(EnumerateSystemTags(CollectTag, &sink), STATUS_OBJECT_NAME_NOT_FOUND);
}

TEST_F(SystemTags, PrintWritesOneDecimalLinePerTag) {
  RegistryNode* record = TagRecord();
  std::string bitmap = Bitmap();
  bitmap[2] = '\x01';  // tag 16
  ASSERT_EQ(Set(record, "{c68df783-ec90-43ab-b6b3-03001700cc2b}", bitmap), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "{f8e11898-7dc7-4025-abc3-b930753f2911}", ListBytes({18446744073709551615ull, 42})),
            STATUS_SUCCESS);

  const std::string outPath = dir_.File("stdout");
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int fd = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_GE(fd, 0);
  dup2(fd, STDOUT_FILENO);
  close(fd);
  const NTSTATUS status = PrintSystemTags();
  std::fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  EXPECT_EQ(status, STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(outPath), "16\n18446744073709551615\n42\n");
}

}  // namespace
