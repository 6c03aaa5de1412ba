// The registry file: load, flush, close and dump, checked on the file's bytes.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "registry/registry.h"
#include "registry/registry_test_util.h"
#include "runtime/trace.h"

namespace {

using namespace registry_test;

class RegistryFile : public ::testing::Test {
 protected:
  std::string Path() const { return dir_.File("Registry.bin"); }
  std::string TempPath() const { return Path() + ".tmp"; }
  NTSTATUS Open() { return OpenRegistry(Wide(Path()).get()); }
  void TearDown() override { CloseRegistry(); }

  RegistryNode* Store(const GUID& g) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->OpenStore(&g, nullptr, &node), STATUS_SUCCESS);
    return node;
  }
  RegistryNode* Collection(RegistryNode* store, const GUID& g, std::uint8_t isVolatile = 0) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->OpenCollection(store, isVolatile, &g, &node), STATUS_SUCCESS);
    return node;
  }
  RegistryNode* Record(RegistryNode* collection, const std::string& name, std::uint8_t isVolatile = 0) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->CreateRecord(collection, Wide(name).get(), isVolatile, &node, nullptr), STATUS_SUCCESS);
    return node;
  }
  void Attribute(RegistryNode* record, const std::string& name, std::string data) {
    AttributeValue value{data.data(), static_cast<std::uint32_t>(data.size()), 0, STATUS_SUCCESS};
    EXPECT_EQ(p_->SetAttribute(record, Wide(name).get(), &value), STATUS_SUCCESS);
  }

  TempDir dir_;
  const RegistryProvider* p_ = GetRegistryProvider();
};

TEST_F(RegistryFile, MissingFileIsCreatedEmptyAndStaysEmpty) {
  ASSERT_FALSE(FileExists(Path()));
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_TRUE(FileExists(Path()));
  EXPECT_EQ(Dump(), "Registry\n" + std::string(92, '-') + "\n");
  EXPECT_FALSE(IsRegistryDirty());
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), "");
  EXPECT_FALSE(FileExists(TempPath()));
}

TEST_F(RegistryFile, StoreAndCollectionRoundTripByteForByte) {
  const std::string original = Image().Store(kGuidA).Collection(kGuidB).bytes();
  ASSERT_EQ(original.size(), 34u);
  WriteBytes(Path(), original);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  // Loading goes through the provider, so the registry is dirty afterwards.
  EXPECT_TRUE(IsRegistryDirty());
  std::uint8_t created = 1;
  RegistryNode* store = nullptr;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  ASSERT_NE(store->FirstChild, nullptr);
  EXPECT_EQ(store->FirstChild->Guid.Data1, kGuidB.Data1);
  EXPECT_EQ(store->FirstChild->Next, nullptr);
  WriteBytes(Path(), "stale");  // proves the close rewrites the file
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), original);
}

TEST_F(RegistryFile, FullTreeRoundTripsAndRepeatedKeysMerge) {
  const std::string canonical = Image()
                                    .Store(kGuidA)
                                    .Collection(kGuidB)
                                    .Record("r1")
                                    .Attribute("a", "xyz")
                                    .Attribute("empty", "")
                                    .Record("")
                                    .Collection(kGuidC)
                                    .Store(kGuidC)
                                    .Collection(kGuidA)
                                    .Record("r2")
                                    .Attribute("bin", std::string("\0\x01\xff", 3))
                                    .bytes();
  WriteBytes(Path(), canonical);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), canonical);

  // A store GUID that comes again, and an attribute name that comes again: one
  // store, and the later value wins.
  WriteBytes(Path(), Image()
                         .Store(kGuidA)
                         .Collection(kGuidB)
                         .Record("r")
                         .Attribute("a", "old")
                         .Attribute("a", "new!")
                         .Store(kGuidA)
                         .Collection(kGuidC)
                         .bytes());
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()),
            Image().Store(kGuidA).Collection(kGuidB).Record("r").Attribute("a", "new!").Collection(kGuidC).bytes());
}

TEST_F(RegistryFile, SystemTagQueryOnAnEmptyRegistryWritesStoreAndCollection) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  const std::string log = dir_.File("trace.log");
  TraceOpenLogFile(log.c_str(), nullptr);
  EXPECT_EQ(PrintSystemTags(), STATUS_OBJECT_NAME_NOT_FOUND);
  TraceCloseLogFile();
  EXPECT_NE(ReadBytes(log).find("Could not enumerate system tags: "), std::string::npos);
  // The flush happened during the query's closes, not at registry close.
  EXPECT_FALSE(IsRegistryDirty());
  const std::string expected(
      "\x01"
      "\x98\x9a\x3c\x73\x6b\x7f\x38\x45\x9a\x35\x5c\x19\x5f\x22\x4c\x0d"
      "\x02"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x0b",
      34);
  EXPECT_EQ(ReadBytes(Path()), expected);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), expected);
}

TEST_F(RegistryFile, DamagedFilesLoadUpToTheDamage) {
  const Image good = Image().Store(kGuidA).Collection(kGuidB).Record("rec").Attribute("one", "11").Attribute(
      "two", "2222");
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
      {"record name length 0xFFFF", Image(good).Byte(0x03).U16(0xFFFF).bytes(), good.bytes()},
      {"record name longer than the rest", Image(good).Byte(0x03).U16(8).Raw("abcd").bytes(), good.bytes()},
      {"record cut inside its length", Image(good).Byte(0x03).bytes(), good.bytes()},
      {"unknown entry type", Image(good).Byte(0x05).Store(kGuidC).bytes(), good.bytes()},
      {"store GUID cut short", Image(good).Byte(0x01).Raw("0123456789").bytes(), good.bytes()},
      {"collection GUID cut short", Image(good).Byte(0x02).Raw("0123").bytes(), good.bytes()},
      {"attribute name length 0x8000",
       Image().Store(kGuidA).Collection(kGuidB).Record("rec").Byte(0x04).U16(0x8000).bytes(),
       Image().Store(kGuidA).Collection(kGuidB).Record("rec").bytes()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    WriteBytes(Path(), c.file);
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    EXPECT_TRUE(IsRegistryDirty());
    CloseRegistry();
    EXPECT_EQ(ReadBytes(Path()), c.kept);
  }
}

TEST_F(RegistryFile, FileThatDoesNotStartWithAStoreLoadsEmptyAndIsLeftAlone) {
  const std::string damaged = Image().Collection(kGuidB).Store(kGuidA).bytes();
  WriteBytes(Path(), damaged);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_FALSE(IsRegistryDirty());
  EXPECT_EQ(Dump(), "Registry\n" + std::string(92, '-') + "\n");
  std::uint8_t created = 0;
  RegistryNode* store = nullptr;
  // The registry is open and usable.
  ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(Path()), damaged);  // not dirty: nothing written
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_SUCCESS);
  EXPECT_EQ(created, 1);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes());
}

TEST_F(RegistryFile, OpenTwiceFailsAndKeepsTheOpenTree) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  Store(kGuidA);
  TempDir other;
  EXPECT_EQ(OpenRegistry(Wide(other.File("Other.bin")).get()), STATUS_FAIL_CHECK);
  EXPECT_FALSE(FileExists(other.File("Other.bin")));
  EXPECT_EQ(EnsureRegistryOpen(), STATUS_SUCCESS);  // already open: no default path touched
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes());

  // After a close, nothing works until the next open, which works again.
  RegistryNode* store = nullptr;
  std::uint8_t created = 7;
  EXPECT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_INVALID_HANDLE);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(FlushRegistry(), STATUS_INVALID_HANDLE);
  EXPECT_FALSE(IsRegistryDirty());
  CloseRegistry();  // harmless when closed
  EXPECT_EQ(Dump(), "Registry is null\n");
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_EQ(p_->OpenStore(&kGuidB, nullptr, &store), STATUS_SUCCESS);
}

TEST_F(RegistryFile, PathTooLongForItsTemporaryTwin) {
  // 65526 bytes of path + 10 reaches 65536: refused before anything is opened.
  std::string longPath = dir_.path() + "/";
  longPath.append(65526 / 2 - longPath.size(), 'p');
  Wide path(longPath);
  ASSERT_EQ(path.get()->Length, 65526);
  EXPECT_EQ(OpenRegistry(path.get()), STATUS_INVALID_PARAMETER);
  EXPECT_EQ(Dump(), "Registry is null\n");
  // The same directory still opens with a normal name afterwards.
  EXPECT_EQ(Open(), STATUS_SUCCESS);
}

TEST_F(RegistryFile, OpenFailsWhenTheFileCannotBeOpened) {
  // The registry path names a directory: the open fails and nothing is open.
  ASSERT_EQ(mkdir(Path().c_str(), 0770), 0);
  EXPECT_FALSE(NT_SUCCESS(Open()));
  EXPECT_EQ(Dump(), "Registry is null\n");
  rmdir(Path().c_str());
}

TEST_F(RegistryFile, ThreeFailedFlushesDeleteTheFileButKeepTheTree) {
  WriteBytes(Path(), Image().Store(kGuidA).bytes());
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  Collection(Store(kGuidA), kGuidB);
  // Running as root, a read-only directory would not stop the temporary file
  // from being created; a directory in its place makes every open fail
  // (EISDIR) without needing to drop privileges.
  ASSERT_EQ(mkdir(TempPath().c_str(), 0770), 0);
  const std::string log = dir_.File("trace.log");
  TraceOpenLogFile(log.c_str(), nullptr);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);  // the deletion's status
  TraceCloseLogFile();
  const std::string logged = ReadBytes(log);
  EXPECT_NE(logged.find("Failed flush store: "), std::string::npos) << logged;
  EXPECT_EQ(logged.find("Failed to delete store"), std::string::npos) << logged;
  EXPECT_FALSE(FileExists(Path()));
  EXPECT_FALSE(IsRegistryDirty());
  // The tree is still in memory.
  RegistryNode* store = nullptr;
  std::uint8_t created = 1;
  ASSERT_EQ(p_->OpenStore(&kGuidA, &created, &store), STATUS_SUCCESS);
  EXPECT_EQ(created, 0);
  EXPECT_NE(store->FirstChild, nullptr);

  // Not dirty: a flush with a usable temporary path writes nothing.
  ASSERT_EQ(rmdir(TempPath().c_str()), 0);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_FALSE(FileExists(Path()));
  // The next change is written in full.
  Store(kGuidC);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).Collection(kGuidB).Store(kGuidC).bytes());
  EXPECT_FALSE(FileExists(TempPath()));
}

TEST_F(RegistryFile, FailedWritesEndTheFlushLikeFailedOpens) {
  WriteBytes(Path(), Image().Store(kGuidA).bytes());
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  Attribute(Record(Collection(Store(kGuidA), kGuidB), "r"), "a", "data");
  // The temporary file opens, but every write to it fails (ENOSPC).
  ASSERT_EQ(symlink("/dev/full", TempPath().c_str()), 0);
  const std::string log = dir_.File("trace.log");
  TraceOpenLogFile(log.c_str(), nullptr);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
  TraceCloseLogFile();
  const std::string logged = ReadBytes(log);
  EXPECT_NE(logged.find("Failed write: "), std::string::npos) << logged;
  EXPECT_NE(logged.find("Failed flush store: "), std::string::npos) << logged;
  EXPECT_FALSE(FileExists(Path()));
  struct stat st {};
  EXPECT_NE(lstat(TempPath().c_str(), &st), 0) << "the temporary link is deleted too";
  EXPECT_FALSE(IsRegistryDirty());
}

TEST_F(RegistryFile, VolatileNodesAreLeftOutButTheirLaterSiblingsAreWritten) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  RegistryNode* store = Store(kGuidA);
  RegistryNode* gone = Collection(store, kGuidA, 1);
  Attribute(Record(gone, "under-volatile"), "x", "1");
  RegistryNode* kept = Collection(store, kGuidB);
  Attribute(Record(kept, "volatile-record", 1), "y", "2");
  Attribute(Record(kept, "after"), "z", "3");
  Collection(store, kGuidC);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image()
                                   .Store(kGuidA)
                                   .Collection(kGuidB)
                                   .Record("after")
                                   .Attribute("z", "3")
                                   .Collection(kGuidC)
                                   .bytes());
}

TEST_F(RegistryFile, DumpLines) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  RegistryNode* store = Store(kGuidA);
  RegistryNode* record = Record(Collection(store, kGuidB, 1), "rec");
  Attribute(record, "attr", std::string("\x00\xab\x10", 3));
  Attribute(record, "none", "");
  // Names outside 7-bit text cannot be converted: the fallback lines.
  RegistryNode* wide = nullptr;
  const char16_t accented[] = u"\u00e9";
  UNICODE_STRING name = TvConstantString(accented);
  ASSERT_EQ(p_->CreateRecord(Collection(Store(kGuidC), kGuidA), &name, 0, &wide, nullptr), STATUS_SUCCESS);
  std::string data = "Z";
  AttributeValue value{data.data(), 1, 0, STATUS_SUCCESS};
  ASSERT_EQ(p_->SetAttribute(wide, &name, &value), STATUS_SUCCESS);

  const std::string expected =
      "Registry\n" + std::string(92, '-') +
      "\n"
      "|     (Store) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}\n"
      "|          (Collection) GUID: {0xA0B0C0D0, 0x0102, 0x0304, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, "
      "0x08} Volatile: 1\n"
      "|               (Record) IndexName: rec Volatile: 0\n"
      "|                    (Attribute) AttributeName: attr Length: 3 Data: 00AB10\n"
      "|                    (Attribute) AttributeName: none Length: 0 Data: \n"
      "|     (Store) GUID: {0x00000001, 0x0000, 0xFFFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80}\n"
      "|          (Collection) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, "
      "0x01} Volatile: 0\n"
      "|               (Record) IndexName Volatile: 0\n"
      "|                    (Attribute) AttributeName Length: 1 Data: 5A\n";
  EXPECT_EQ(Dump(), expected);
}

}  // namespace
