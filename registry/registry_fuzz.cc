// Fuzz target over the registry file: the input is Registry.bin as found on
// disk.
//
// The input is loaded, dumped and saved; the saved file is loaded, dumped and
// saved again. The two dumps and the two saved files must be identical, and the
// system tags read from either must be the same, with the same status: a save
// keeps everything that a load took in.

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "registry/registry.h"
#include "tests/support/files.h"

namespace {

std::string gPath;
std::u16string gWidePath;
std::string gDumped;
std::vector<std::uint64_t> gTags;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "registry_fuzz: %s\n", what);
  std::abort();
}

int CapturePrinter(const char* format, ...) {
  char line[1024];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  gDumped += line;
  return n;
}

NTSTATUS CollectTag(std::uint64_t tag, void*) {
  gTags.push_back(tag);
  return STATUS_SUCCESS;
}

struct Pass {
  std::string dump;
  std::string saved;
  NTSTATUS tagStatus;
  std::vector<std::uint64_t> tags;
};

// Loads the registry file, dumps it, saves it and reads the system tags (which
// may create their store and collection, and save again).
Pass LoadAndSave() {
  const auto bytes = static_cast<std::uint16_t>(gWidePath.size() * 2);
  const UNICODE_STRING path{bytes, bytes, gWidePath.data()};
  if (OpenRegistry(&path) != STATUS_SUCCESS) Fail("the load failed on a regular file");
  Pass pass;
  gDumped.clear();
  DumpRegistry(CapturePrinter);
  pass.dump = gDumped;
  if (FlushRegistry() != STATUS_SUCCESS) Fail("the save failed");
  pass.saved = vt_test::ReadFileBytes(gPath).value_or("<unreadable>");
  gTags.clear();
  pass.tagStatus = EnumerateSystemTags(CollectTag, nullptr);
  pass.tags = gTags;
  CloseRegistry();
  return pass;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const vt_test::TempDir scratch;  // removed at exit
  const std::string dir = scratch.path();
  if (dir.empty()) Fail("no scratch directory");
  gPath = dir + "/Registry.bin";
  gWidePath.assign(gPath.begin(), gPath.end());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (!vt_test::WriteFileBytes(gPath, std::string(reinterpret_cast<const char*>(data), size))) {
    Fail("cannot write the input file");
  }
  const Pass first = LoadAndSave();
  if (!vt_test::WriteFileBytes(gPath, first.saved)) Fail("cannot write the saved file back");
  const Pass second = LoadAndSave();
  if (second.dump != first.dump) Fail("the saved file loads as another tree");
  if (second.saved != first.saved) Fail("saving a saved file changed its bytes");
  if (second.tagStatus != first.tagStatus || second.tags != first.tags) Fail("the saved file gives other tags");
  return 0;
}
