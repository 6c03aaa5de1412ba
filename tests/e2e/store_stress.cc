// Multi-process exerciser of the configuration store.
//
//   store_stress writer <id> [store-path]
//     Opens the store (the default path unless one is given) and sets its own
//     three names "w<id>a", "w<id>b", "w<id>c" to the little-endian 32-bit values
//     1..kRounds in turn, reading each back after writing it. Exit 0 when every
//     operation returned what it should, 1 otherwise (the first fault on stderr).
//
//   store_stress reader <stop-file> [store-path]
//     Until <stop-file> exists (plus one last pass), opens the store file itself,
//     takes flock(LOCK_SH), reads it whole and checks the image byte by byte with
//     the test-side layout helper, independent of the store's own code. Prints
//     "images=N empty=N invalid=N" and exits 1 if any image was invalid.
//
// The reader knows what writers store: only names w<digits>[abc], 4-byte values
// in 1..kRounds, untouched slots all zero, reserved bytes zero, no duplicates.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "store/simple_store.h"
#include "tests/support/store_image.h"

namespace {

constexpr std::uint32_t kRounds = 50;

int RunWriter(unsigned id, const char* path) {
  NTSTATUS status = path != nullptr ? OpenSimpleStoreAt(path) : OpenSimpleStore();
  for (std::uint32_t step = 0; step < 3 * kRounds && NT_SUCCESS(status); ++step) {
    const std::string ascii = "w" + std::to_string(id) + "abc"[step % 3];  // at most 8 characters
    std::u16string units(ascii.begin(), ascii.end());
    const auto bytes = static_cast<std::uint16_t>(units.size() * 2);
    const UNICODE_STRING name{bytes, bytes, units.data()};
    const std::string value = vt_test::U32Bytes(step / 3 + 1);
    char back[8] = {};
    std::uint32_t size = sizeof back;
    if (NT_SUCCESS(status = SetSimpleStoreValue(&name, value.data(), 4)) &&
        NT_SUCCESS(status = GetSimpleStoreValue(&name, back, &size)) && std::string(back, size) != value) {
      status = STATUS_DATA_ERROR;  // read back something else
    }
    if (!NT_SUCCESS(status)) {
      std::fprintf(stderr, "writer %u: %s step %u: 0x%08x\n", id, ascii.c_str(), step, static_cast<unsigned>(status));
    }
  }
  CloseSimpleStore();
  return NT_SUCCESS(status) ? 0 : 1;
}

// Null when the image is what the writers can produce; otherwise the reason.
// Every record found is put into an empty image, which must then equal the file
// byte for byte: reserved bytes, empty slots and unused record bytes all zero.
const char* CheckImage(const std::string& bytes) {
  const vt_test::StoreImage image(bytes);
  vt_test::StoreImage rebuilt;
  std::set<std::string> seen;
  for (int slot = 1; slot <= vt_test::kSlotCount && bytes.size() == vt_test::kStoreSize; ++slot) {
    const std::size_t o = vt_test::StoreImage::SlotOffset(slot);
    const std::string name = image.NameAt(slot);
    if (image.U16(o) == 0) continue;
    const std::uint32_t value = image.U16(o + 26) | static_cast<std::uint32_t>(image.U16(o + 28)) << 16;
    if (image.U16(o) % 2 != 0 || image.U16(o) > 22 || image.U16(o + 24) != 4 || value < 1 || value > kRounds ||
        name.size() < 3 || name[0] != 'w' || !std::strchr("abc", name.back()) ||
        name.find_first_not_of("0123456789", 1) != name.size() - 1 || !seen.insert(name).second) {
      return "bad length or value, unexpected or duplicate name";
    }
    rebuilt.Put(slot, name, bytes.substr(o + 26, 4));
  }
  return rebuilt.bytes() == bytes ? nullptr : "wrong size, or version, reserved or unused bytes changed";
}

int RunReader(const char* stopFile, const char* path) {
  unsigned long images = 0, empty = 0, invalid = 0;
  for (bool last = false; !last;) {
    last = access(stopFile, F_OK) == 0;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    std::string bytes(vt_test::kStoreSize + 1, '\0');  // one more, so an oversized file shows
    std::size_t done = 0;
    ssize_t n = fd >= 0 && flock(fd, LOCK_SH) == 0 ? 1 : -1;
    while (n > 0 && (n = read(fd, bytes.data() + done, bytes.size() - done)) > 0) done += static_cast<std::size_t>(n);
    bytes.resize(done);
    const char* why = n < 0 && !(fd < 0 && errno == ENOENT) ? std::strerror(errno) : nullptr;
    close(fd);  // drops the flock (fails harmlessly when the open did)
    empty += n == 0 && done == 0;  // created by a writer's open, not yet sized under its lock
    if (n == 0 && done > 0) {
      ++images;
      why = CheckImage(bytes);
    }
    if (why != nullptr && invalid++ < 5) {
      std::fprintf(stderr, "reader: unreadable or invalid image (%zu bytes): %s\n", bytes.size(), why);
    }
  }
  std::printf("images=%lu empty=%lu invalid=%lu\n", images, empty, invalid);
  return invalid == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const char* path = argc == 4 ? argv[3] : nullptr;
  char* end = nullptr;
  const unsigned long id = argc >= 3 ? std::strtoul(argv[2], &end, 10) : 0;
  if (argc >= 3 && argc <= 4 && !std::strcmp(argv[1], "writer") && *argv[2] != '\0' && *end == '\0' && id <= 999999) {
    return RunWriter(static_cast<unsigned>(id), path);
  }
  if (argc >= 3 && argc <= 4 && std::strcmp(argv[1], "reader") == 0) {
    return RunReader(argv[2], path != nullptr ? path : VANTOR_VENDOR_DIR "/vantorstore");
  }
  std::fprintf(stderr, "usage: store_stress writer <id> [store-path] | reader <stop-file> [store-path]\n");
  return 2;
}
