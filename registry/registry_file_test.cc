// The registry file: load, flush, close and dump, checked on the file's bytes.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "registry/registry.h"
#include "registry/registry_test_util.h"

namespace {

using namespace registry_test;

using RegistryFile = RegistryFixture;

const std::string kEmptyDump = "Registry\n" + std::string(92, '-') + "\n";

TEST_F(RegistryFile, MissingFileIsCreatedEmptyAndStaysEmpty) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_TRUE(FileExists(Path()));
  EXPECT_EQ(Dump(), kEmptyDump);
  EXPECT_FALSE(IsRegistryDirty());
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), "");
  EXPECT_FALSE(FileExists(TempPath()));
}

// Each file is loaded and the close rewrites it (loading dirties the registry):
// canonical files come back byte for byte, repeated keys merge.
TEST_F(RegistryFile, LoadedFilesAreRewrittenOnClose) {
  const Image storeAndCollection = Image().Store(kGuidA).Collection(kGuidB);
  ASSERT_EQ(storeAndCollection.size(), 34u);
  const Image full = Image(storeAndCollection)
                         .Record("r1")
                         .Attribute("a", "xyz")
                         .Attribute("empty", "")
                         .Record("")
                         .Collection(kGuidC)
                         .Store(kGuidC)
                         .Collection(kGuidA)
                         .Record("r2")
                         .Attribute("bin", std::string("\0\x01\xff", 3));
  struct Case {
    const char* what;
    std::string file;
    std::string written;
  };
  const Case cases[] = {
      {"store and collection", storeAndCollection.bytes(), storeAndCollection.bytes()},
      {"every entry type", full.bytes(), full.bytes()},
      {"a store GUID and an attribute name come again: one store, the later value",
       Image(storeAndCollection).Record("r").Attribute("a", "old").Attribute("a", "new!").Store(kGuidA)
           .Collection(kGuidC).bytes(),
       Image(storeAndCollection).Record("r").Attribute("a", "new!").Collection(kGuidC).bytes()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteBytes(Path(), c.file);
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    EXPECT_TRUE(IsRegistryDirty());
    WriteBytes(Path(), "stale");  // proves the close rewrites the file
    CloseRegistry();
    EXPECT_EQ(ReadBytes(Path()), c.written);
  }
}

TEST_F(RegistryFile, SystemTagQueryOnAnEmptyRegistryWritesStoreAndCollection) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  const std::string log = Traced([] { EXPECT_EQ(PrintSystemTags(), STATUS_OBJECT_NAME_NOT_FOUND); });
  EXPECT_NE(log.find("Could not enumerate system tags: "), std::string::npos) << log;
  // Flushed by the query's closes, not at registry close.
  EXPECT_FALSE(IsRegistryDirty());
  const std::string expected(
      "\x01"
      "\x98\x9a\x3c\x73\x6b\x7f\x38\x45\x9a\x35\x5c\x19\x5f\x22\x4c\x0d"
      "\x02"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x0b",
      34);
  EXPECT_EQ(ReadBytes(Path()), expected);
}

TEST_F(RegistryFile, DamagedFilesLoadUpToTheDamage) {
  const Image head = Image().Store(kGuidA).Collection(kGuidB).Record("rec");
  const Image good = Image(head).Attribute("one", "11").Attribute("two", "2222");
  struct Case {
    const char* what;
    std::string file;
    std::string kept;
  };
  const Case cases[] = {
      {"ends inside an attribute's data", Image(good).Attribute("three", "333333").bytes().substr(0, good.size() + 20),
       good.bytes()},
      {"attribute data length beyond the end", Image(good).Byte(0x04).Name("x").U32(100).Raw("abc").bytes(),
       good.bytes()},
      {"attribute cut inside its data length", Image(good).Byte(0x04).Name("x").Raw("\x01\x00").bytes(),
       good.bytes()},
      {"record name length 0x8000", Image(good).Byte(0x03).U16(0x8000).Raw(std::string(0x8000, 'n')).bytes(),
       good.bytes()},
      {"record name longer than the rest", Image(good).Byte(0x03).U16(8).Raw("abcd").bytes(), good.bytes()},
      {"record cut inside its length", Image(good).Byte(0x03).bytes(), good.bytes()},
      {"unknown entry type", Image(good).Byte(0x05).Store(kGuidC).bytes(), good.bytes()},
      {"store GUID cut short", Image(good).Byte(0x01).Raw("0123456789").bytes(), good.bytes()},
      {"attribute name length 0x8000", Image(head).Byte(0x04).U16(0x8000).bytes(), head.bytes()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteBytes(Path(), c.file);
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    CloseRegistry();
    EXPECT_EQ(ReadBytes(Path()), c.kept);
  }
}

TEST_F(RegistryFile, FileThatDoesNotStartWithAStoreLoadsEmptyAndIsLeftAlone) {
  const std::string damaged = Image().Collection(kGuidB).Store(kGuidA).bytes();
  WriteBytes(Path(), damaged);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(Dump(), kEmptyDump);
  ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(Path()), damaged);  // not dirty: nothing written
  Store(kGuidA);                          // open and usable
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes());
}

TEST_F(RegistryFile, OpenStates) {
  // A path whose ".tmp" twin would not fit a counted string is refused.
  std::string longPath = dir_ + "/";
  longPath.append(65526 / 2 - longPath.size(), 'p');
  EXPECT_EQ(OpenRegistry(Wide(longPath).get()), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(Dump(), "Registry is null\n");

  ASSERT_EQ(Open(), STATUS_SUCCESS);
  Store(kGuidA);
  EXPECT_EQ(OpenRegistry(Wide(File("Other.bin")).get()), STATUS_FAIL_CHECK);
  EXPECT_FALSE(FileExists(File("Other.bin")));
  EXPECT_EQ(EnsureRegistryOpen(), STATUS_SUCCESS);  // already open: the default path is not touched
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes());

  // Closed: nothing works until the next open.
  RegistryNode* store = nullptr;
  std::uint8_t created = 7;
  EXPECT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_INVALID_HANDLE);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(FlushRegistry(), STATUS_INVALID_HANDLE);
  EXPECT_EQ(Dump(), "Registry is null\n");
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_EQ(p_->OpenStore(&kGuidB, nullptr, &store), STATUS_SUCCESS);
}

// A temporary file that cannot be created (a directory in its place, which
// stops root too) or cannot be written (/dev/full): after three attempts the
// registry file is deleted, the tree stays in memory and is no longer dirty.
TEST_F(RegistryFile, FailedFlushesDeleteTheFileButKeepTheTree) {
  for (bool createFails : {true, false}) {
    SCOPED_TRACE(createFails ? "create fails" : "write fails");
    WriteBytes(Path(), Image().Store(kGuidA).bytes());
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    ASSERT_EQ(Set(Record(Collection(Store(kGuidA), kGuidB), "r"), "a", "data"), STATUS_SUCCESS);
    ASSERT_EQ(createFails ? mkdir(TempPath().c_str(), 0770) : symlink("/dev/full", TempPath().c_str()), 0);
    const std::string log = Traced([] { EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS); });  // the deletion's status
    EXPECT_NE(log.find("Failed flush store: "), std::string::npos) << log;
    EXPECT_EQ(log.find("Failed write: ") != std::string::npos, !createFails) << log;
    EXPECT_EQ(log.find("Failed to delete store"), std::string::npos) << log;
    EXPECT_FALSE(FileExists(Path()));
    EXPECT_FALSE(IsRegistryDirty());
    ASSERT_EQ(Children(Store(kGuidA)).size(), 1u);  // the tree is still in memory
    if (createFails) {
      ASSERT_EQ(rmdir(TempPath().c_str()), 0);
    } else {
      EXPECT_FALSE(FileExists(TempPath())) << "the temporary link is deleted too";
    }
    // Not dirty: nothing is written until the next change, which is written in full.
    EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
    EXPECT_FALSE(FileExists(Path()));
    Store(kGuidC);
    EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
    EXPECT_EQ(ReadBytes(Path()),
              Image().Store(kGuidA).Collection(kGuidB).Record("r").Attribute("a", "data").Store(kGuidC).bytes());
    CloseRegistry();
  }
}

TEST_F(RegistryFile, VolatileNodesAreLeftOutButTheirLaterSiblingsAreWritten) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  RegistryNode* store = Store(kGuidA);
  ASSERT_EQ(Set(Record(Collection(store, kGuidA, 1), "under-volatile"), "x", "1"), STATUS_SUCCESS);
  RegistryNode* kept = Collection(store, kGuidB);
  ASSERT_EQ(Set(Record(kept, "volatile-record", 1), "y", "2"), STATUS_SUCCESS);
  ASSERT_EQ(Set(Record(kept, "after"), "z", "3"), STATUS_SUCCESS);
  Collection(store, kGuidC);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()),
            Image().Store(kGuidA).Collection(kGuidB).Record("after").Attribute("z", "3").Collection(kGuidC).bytes());
}

TEST_F(RegistryFile, DumpLines) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  RegistryNode* record = Record(Collection(Store(kGuidA), kGuidB, 1), "rec");
  ASSERT_EQ(Set(record, "attr", std::string("\x00\xab\x10", 3)), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "none", ""), STATUS_SUCCESS);
  // Names outside 7-bit text cannot be converted: the fallback lines.
  RegistryNode* wide = nullptr;
  UNICODE_STRING name = TvConstantString(u"\u00e9");
  ASSERT_EQ(p_->CreateRecord(Collection(Store(kGuidC), kGuidA), &name, 0, &wide, nullptr), STATUS_SUCCESS);
  std::string data = "Z";
  AttributeValue value{data.data(), 1, 0, STATUS_SUCCESS};
  ASSERT_EQ(p_->SetAttribute(wide, &name, &value), STATUS_SUCCESS);

  EXPECT_EQ(Dump(),
            kEmptyDump +
                "|     (Store) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}\n"
                "|          (Collection) GUID: {0xA0B0C0D0, 0x0102, 0x0304, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, "
                "0x07, 0x08} Volatile: 1\n"
                "|               (Record) IndexName: rec Volatile: 0\n"
                "|                    (Attribute) AttributeName: attr Length: 3 Data: 00AB10\n"
                "|                    (Attribute) AttributeName: none Length: 0 Data: \n"
                "|     (Store) GUID: {0x00000001, 0x0000, 0xFFFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80}\n"
                "|          (Collection) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, "
                "0xFF, 0x01} Volatile: 0\n"
                "|               (Record) IndexName Volatile: 0\n"
                "|                    (Attribute) AttributeName Length: 1 Data: 5A\n");
}

}  // namespace
