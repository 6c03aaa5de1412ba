// The registry file: load, flush, close and dump, checked on the file's bytes.
#include <gtest/gtest.h>

#include "tests/support/alloc_fault.h"
#include "tests/support/registry_tree.h"

namespace {

using namespace registry_test;

using RegistryFile = RegistryFixture;

// (A missing file made with mode 0660 is in tests/cases/status.t.)
TEST_F(RegistryFile, AnOpenRegistryIsNotOpenedAgainAndAClosedOneRefusesWork) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  EXPECT_EQ(Open(), NTSTATUS(0xC0000229u)) << "an open registry is opened again";  // STATUS_FAIL_CHECK
  CloseRegistry();
  RegistryNode* store = nullptr;
  EXPECT_EQ(p_->OpenStore(&kGuidA, nullptr, &store), STATUS_INVALID_HANDLE);
  EXPECT_EQ(Dump(), "Registry is null\n");
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
    ASSERT_TRUE(vt_test::WriteFileBytes(Path(), file));
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    CloseRegistry();
    EXPECT_EQ(ReadWholeFile(Path()), kept) << "loaded " << file.size() << " bytes";
  }
}

// Each allocation an open, a change and a flush make fails in turn: the call
// that met it says so, nothing leaks, and the file then holds what it held
// before, followed by the changes made before the failure, and loads whole.
TEST_F(RegistryFile, AFailedAllocationLeavesAFileThatLoadsWhole) {
  const std::string old = Image().Store(kGuidA).Collection(kGuidB).Record("rec").Attribute("one", "11").bytes;
  bool failed = true;
  for (long nth = 1; failed && nth < 100; ++nth) {
    ASSERT_TRUE(vt_test::WriteFileBytes(Path(), old));
    vt_test::FailNthAllocation(nth);
    RegistryNode *store = nullptr, *collection = nullptr, *record = nullptr;
    NTSTATUS status = Open();
    if (NT_SUCCESS(status)) status = p_->OpenStore(&kGuidC, nullptr, &store);
    if (NT_SUCCESS(status)) status = p_->OpenCollection(store, 0, &kGuidA, &collection);
    if (NT_SUCCESS(status)) status = p_->CreateRecord(collection, Wide("new").get(), 0, &record, nullptr);
    if (NT_SUCCESS(status)) status = Set(record, "two", "22");
    if (NT_SUCCESS(status)) status = Set(record, "two", "2");  // a replacement frees the old value first
    if (NT_SUCCESS(status)) status = FlushRegistry();
    CloseRegistry();
    failed = vt_test::StopFailingAllocations();
    // A flush tries three times, so a refused block there may still end well.
    EXPECT_TRUE(NT_SUCCESS(status) || (failed && (status == STATUS_INSUFFICIENT_RESOURCES || status == STATUS_NO_MEMORY)))
        << "allocation " << nth << " status " << std::hex << status;
    const std::string left = ReadWholeFile(Path());
    EXPECT_EQ(left.substr(0, old.size()), old) << "allocation " << nth;
    EXPECT_EQ(left.size() > old.size(), store != nullptr) << "allocation " << nth;  // the new store is kept
    ASSERT_EQ(Open(), STATUS_SUCCESS);
    CloseRegistry();
    EXPECT_EQ(ReadWholeFile(Path()), left) << "allocation " << nth;
    EXPECT_TRUE(failed || nth > 6) << "the open and the five changes allocate";
  }
  EXPECT_FALSE(failed) << "still allocating after 99";
}

TEST_F(RegistryFile, DumpLines) {
  ASSERT_EQ(Open(), STATUS_SUCCESS);
  RegistryNode* record = Record(Collection(Store(kGuidA), kGuidB, 1), "rec", 7);  // any non-zero: volatile
  ASSERT_EQ(Set(record, "attr", std::string("\x00\xab\x10", 3)), STATUS_SUCCESS);
  ASSERT_EQ(Set(record, "none", ""), STATUS_SUCCESS);
  // Names outside 7-bit text cannot be converted: the fallback lines.
  RegistryNode* wide = nullptr;
  UNICODE_STRING name = TvConstantString(u"\u00e9");
  ASSERT_EQ(p_->CreateRecord(Collection(Store(kGuidC), kGuidA), &name, 0, &wide, nullptr), STATUS_SUCCESS);
  std::string data = "Z";
  AttributeValue value{data.data(), 1, 0, STATUS_SUCCESS};
  ASSERT_EQ(p_->SetAttribute(wide, &name, &value), STATUS_SUCCESS);
  const auto mark = vt_test::LogMark();
  EXPECT_EQ(Dump(),
            "Registry\n" + std::string(92, '-') + "\n" +
                "|     (Store) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}\n"
                "|          (Collection) GUID: {0xA0B0C0D0, 0x0102, 0x0304, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, "
                "0x07, 0x08} Volatile: 1\n"
                "|               (Record) IndexName: rec Volatile: 1\n"
                "|                    (Attribute) AttributeName: attr Length: 3 Data: 00AB10\n"
                "|                    (Attribute) AttributeName: none Length: 0 Data: \n"
                "|     (Store) GUID: {0x00000001, 0x0000, 0xFFFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80}\n"
                "|          (Collection) GUID: {0x11223344, 0x5566, 0x7788, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, "
                "0xFF, 0x01} Volatile: 0\n"
                "|               (Record) IndexName Volatile: 0\n"
                "|                    (Attribute) AttributeName Length: 1 Data: 5A\n");
  EXPECT_EQ(vt_test::LogMessagesSince(mark),  // the conversion's status, the same for both
            "Failed to allocate IndexName: STATUS=0xC0000023\nFailed to allocate AttributeName: STATUS=0xC0000023\n");
}

}  // namespace
