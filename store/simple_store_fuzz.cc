// Fuzz target over the configuration store's open and get: the input is the
// store file as found on disk.
//
// After the open, the file must be exactly the input when the input is a valid
// image, and the empty image otherwise. Every record of the file must then come
// back through a get (the first slot of a repeated name wins), with the right
// answer to a buffer that is too small, and every name the tool uses must be
// either found with the same bytes or reported missing. A second open must leave
// the file as the first one left it.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "runtime/little_endian.h"
#include "store/simple_store.h"
#include "store/store_layout.h"
#include "tests/support/files.h"

namespace L = store_layout;

namespace {

std::string gPath;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "simple_store_fuzz: %s\n", what);
  std::abort();
}

std::uint16_t U16At(const std::string& image, std::size_t offset) {
  return little_endian::Load<std::uint16_t>(reinterpret_cast<const std::uint8_t*>(image.data()) + offset);
}

// Whether the open must keep this file as it is.
bool IsValidImage(const std::string& image) {
  if (image.size() != L::kImageSize || U16At(image, L::kVersionOffset) != L::kVersion) return false;
  for (int slot = L::kFirstSlot; slot <= L::kLastSlot; ++slot) {
    const std::size_t o = L::SlotOffset(slot);
    const std::uint16_t nameLength = U16At(image, o + L::kNameLengthOffset);
    if (nameLength % 2 != 0 || nameLength > L::kNameCapacity) return false;
    if (U16At(image, o + L::kDataLengthOffset) > L::kDataCapacity) return false;
  }
  return true;
}

std::string EmptyImage() {
  std::string image(L::kImageSize, '\0');
  image[L::kVersionOffset] = static_cast<char>(L::kVersion);
  return image;
}

// The raw UTF-16 name bytes of a used slot.
std::string NameBytes(const std::string& image, int slot) {
  const std::size_t o = L::SlotOffset(slot);
  return image.substr(o + L::kNameOffset, U16At(image, o + L::kNameLengthOffset));
}

// What a get of `name` must return from `image`, or the null when no slot has it.
const char* Expected(const std::string& image, const std::string& name, std::uint16_t* length) {
  for (int slot = L::kFirstSlot; slot <= L::kLastSlot; ++slot) {
    const std::size_t o = L::SlotOffset(slot);
    if (U16At(image, o + L::kNameLengthOffset) == name.size() && NameBytes(image, slot) == name) {
      *length = U16At(image, o + L::kDataLengthOffset);
      return image.data() + o + L::kDataOffset;
    }
  }
  return nullptr;
}

void CheckGet(const std::string& image, const std::string& name) {
  std::u16string units(name.size() / 2, u'\0');
  std::memcpy(units.data(), name.data(), units.size() * 2);
  const auto bytes = static_cast<std::uint16_t>(name.size());
  const UNICODE_STRING key{bytes, bytes, units.data()};

  std::uint16_t length = 0;
  const char* expected = Expected(image, name, &length);
  char buffer[L::kDataCapacity + 1];
  std::uint32_t size = sizeof buffer;
  const NTSTATUS status = GetSimpleStoreValue(&key, buffer, &size);
  if (expected == nullptr) {
    if (status != STATUS_NOT_FOUND) Fail("a name the file does not hold was found");
    return;
  }
  if (status != STATUS_SUCCESS) Fail("a stored record could not be read");
  if (size != length || std::memcmp(buffer, expected, length) != 0) Fail("a get returned other bytes than the file holds");
  if (length == 0) return;
  std::uint32_t small = length - 1u;
  if (GetSimpleStoreValue(&key, buffer, &small) != STATUS_BUFFER_TOO_SMALL || small != length) {
    Fail("a short buffer was not reported with the data's length");
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const vt_test::TempDir scratch;  // removed at exit
  const std::string dir = scratch.path();
  if (dir.empty()) Fail("no scratch directory");
  gPath = dir + "/vantorstore";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  if (!vt_test::WriteFileBytes(gPath, input)) Fail("cannot write the input file");
  if (OpenSimpleStoreAt(gPath.c_str()) != STATUS_SUCCESS) Fail("the open failed on a regular file");
  const std::string image = vt_test::ReadFileBytes(gPath).value_or("");
  if (image != (IsValidImage(input) ? input : EmptyImage())) Fail("the open left neither the input nor the empty image");

  for (int slot = L::kFirstSlot; slot <= L::kLastSlot; ++slot) {
    if (U16At(image, L::SlotOffset(slot) + L::kNameLengthOffset) != 0) CheckGet(image, NameBytes(image, slot));
  }
  // Names of the lengths the tool uses, 2 to 11 units, whether the image holds them or not.
  for (const UNICODE_STRING& name : {TvConstantString(u"CU"), TvConstantString(u"APH"), TvConstantString(u"TRACE"),
                                     TvConstantString(u"GroupTags"), TvConstantString(u"RFMHistory"),
                                     TvConstantString(u"LogCounters")}) {
    CheckGet(image, std::string(reinterpret_cast<const char*>(name.Buffer), name.Length));
  }

  if (OpenSimpleStoreAt(gPath.c_str()) != STATUS_SUCCESS) Fail("the second open failed");
  if (vt_test::ReadFileBytes(gPath).value_or("") != image) Fail("a second open changed the file");
  CloseSimpleStore();
  return 0;
}
