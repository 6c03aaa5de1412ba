// The registry file: load, flush, close and dump, checked on the file's bytes.
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/registry_tree.h"

namespace {

using namespace registry_test;
using std::filesystem::exists;

using RegistryFile = RegistryFixture;

const std::string kEmptyDump = "Registry\n" + std::string(92, '-') + "\n";

TEST_F(RegistryFile, MissingFileIsCreatedEmptyStaysEmptyAndClosedRegistryRefusesWork) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_EQ(Dump(), kEmptyDump);
  EXPECT_FALSE(IsRegistryDirty());
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), "");
  EXPECT_FALSE(exists(Path() + ".tmp"));
  RegistryNode* store = nullptr;
  EXPECT_EQ(p_->OpenStore(&kGuidA, nullptr, &store), STATUS_INVALID_HANDLE);
  EXPECT_EQ(Dump(), "Registry is null\n");
}

// Each file is loaded and the close rewrites it: canonical files come back byte for byte, repeated keys merge.
TEST_F(RegistryFile, LoadedFilesAreRewrittenOnClose) {
  const Image head = Image().Store(kGuidA).Collection(kGuidB);
  ASSERT_EQ(head.bytes.size(), 34u);
  const std::string full = Image(head).Record("r1").Attribute("a", "xyz").Attribute("empty", "").Record("")
      .Collection(kGuidC).Store(kGuidC).Collection(kGuidA).Record("r2").Attribute("bin", std::string("\0\x01\xff", 3)).bytes;
  const std::pair<std::string, std::string> cases[] = {
      {head.bytes, head.bytes},
      {full, full},
      {Image(head).Record("r").Attribute("a", "old").Attribute("a", "new!").Store(kGuidA).Collection(kGuidC).bytes,
       Image(head).Record("r").Attribute("a", "new!").Collection(kGuidC).bytes},
  };
  for (const auto& [file, written] : cases) {
    WriteBytes(Path(), file);
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    WriteBytes(Path(), "stale");  // loading dirties the registry: the close rewrites the file
    CloseRegistry();
    EXPECT_EQ(ReadBytes(Path()), written);
  }
}

TEST_F(RegistryFile, SystemTagQueryOnAnEmptyRegistryWritesStoreAndCollection) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_EQ(PrintSystemTags(), STATUS_OBJECT_NAME_NOT_FOUND);
  EXPECT_FALSE(IsRegistryDirty());  // flushed by the query's closes, not at registry close
  EXPECT_EQ(ReadBytes(Path()), std::string("\x01\x98\x9a\x3c\x73\x6b\x7f\x38\x45\x9a\x35\x5c\x19\x5f\x22\x4c\x0d"
                                           "\x02\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x0b", 34));
}

TEST_F(RegistryFile, DamagedFilesLoadUpToTheDamage) {
  const Image head = Image().Store(kGuidA).Collection(kGuidB).Record("rec");
  const Image good = Image(head).Attribute("one", "11").Attribute("two", "2222");
  const std::pair<std::string, std::string> cases[] = {
      {Image(good).Byte(0x04).Name("x").U32(100).Raw("abc").bytes, good.bytes},
      {Image(good).Byte(0x03).U16(0x8000).Raw(std::string(0x8000, 'n')).bytes, good.bytes},
      {Image(good).Byte(0x03).U16(8).Raw("abcd").bytes, good.bytes},
      {Image(good).Byte(0x03).bytes, good.bytes},
      {Image(good).Byte(0x05).Store(kGuidC).bytes, good.bytes},
      {Image(good).Byte(0x01).Raw("0123456789").bytes, good.bytes},
      {Image(head).Byte(0x04).U16(0x8000).bytes, head.bytes},
  };
  for (const auto& [file, kept] : cases) {
    WriteBytes(Path(), file);
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    CloseRegistry();
    EXPECT_EQ(ReadBytes(Path()), kept) << "loaded " << file.size() << " bytes";
  }
}

TEST_F(RegistryFile, FileThatDoesNotStartWithAStoreLoadsEmptyAndIsLeftAlone) {
  const std::string damaged = Image().Collection(kGuidB).Store(kGuidA).bytes;
  WriteBytes(Path(), damaged);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_FALSE(IsRegistryDirty());
  ASSERT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(Path()), damaged);  // not dirty: nothing written
  EXPECT_EQ(OpenRegistry(Wide(dir_ + "/Other.bin").get()), STATUS_FAIL_CHECK);  // already open
  Store(kGuidA);
  CloseRegistry();
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes);
}

// A directory in the temporary file's place stops its creation (root too):
// after three attempts the flush fails, the registry file keeps its bytes, the
// directory is left alone, and the tree stays in memory, no longer dirty; the
// next change is written in full.
TEST_F(RegistryFile, FailedFlushKeepsTheFileAndTheTree) {
  const std::string before = Image().Store(kGuidA).bytes;
  WriteBytes(Path(), before);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  ASSERT_EQ(Set(Record(Collection(Store(kGuidA), kGuidB), "r"), "a", "data"), STATUS_SUCCESS);
  ASSERT_EQ(mkdir((Path() + ".tmp").c_str(), 0770), 0);
  EXPECT_FALSE(NT_SUCCESS(FlushRegistry()));
  EXPECT_EQ(ReadBytes(Path()), before);
  EXPECT_FALSE(IsRegistryDirty());
  ASSERT_EQ(rmdir((Path() + ".tmp").c_str()), 0);
  Store(kGuidC);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(Path()),
            Image().Store(kGuidA).Collection(kGuidB).Record("r").Attribute("a", "data").Store(kGuidC).bytes);
}

// A link planted at the temporary path is removed, never written through.
TEST_F(RegistryFile, FlushNeverWritesThroughALinkAtTheTemporaryPath) {
  const std::string victim = Path() + ".victim";
  WriteBytes(victim, "keep");
  ASSERT_EQ(symlink(victim.c_str(), (Path() + ".tmp").c_str()), 0);
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  Store(kGuidA);
  EXPECT_EQ(FlushRegistry(), STATUS_SUCCESS);
  EXPECT_EQ(ReadBytes(victim), "keep");
  EXPECT_EQ(ReadBytes(Path()), Image().Store(kGuidA).bytes);
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
            Image().Store(kGuidA).Collection(kGuidB).Record("after").Attribute("z", "3").Collection(kGuidC).bytes);
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
