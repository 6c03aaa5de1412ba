// Replays fuzz inputs through a fuzz target without the fuzzing engine, so any
// build (GCC included) runs every seed and every saved finding as an ordinary
// test.
//
//   <target>_replay <file or directory>...
//
// Directories are read one level deep, in name order. Prints how many inputs
// ran; exits 1 when there were none (a missing corpus is a fault of its own).
// A failing input ends the process the way the target makes it fail (abort or a
// sanitizer report), after its path was printed.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

std::vector<std::string> Inputs(const std::string& path) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return {};
  if (!S_ISDIR(st.st_mode)) return {path};
  std::vector<std::string> files;
  if (DIR* dir = opendir(path.c_str())) {
    while (const dirent* entry = readdir(dir)) {
      const std::string file = path + "/" + entry->d_name;
      if (entry->d_name[0] != '.' && stat(file.c_str(), &st) == 0 && S_ISREG(st.st_mode)) files.push_back(file);
    }
    (void)closedir(dir);  // read-only
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) (void)LLVMFuzzerInitialize(&argc, &argv);  // libFuzzer ignores it too
  std::size_t replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::string& file : Inputs(argv[i])) {
      const auto bytes = vt_test::ReadFileBytes(file);
      if (!bytes) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return 1;
      }
      std::fprintf(stderr, "replaying %s\n", file.c_str());
      (void)LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes->data()), bytes->size());
      ++replayed;
    }
  }
  std::fprintf(stderr, "%zu inputs replayed\n", replayed);  // a target may have taken standard output
  return replayed == 0 ? 1 : 0;
}
