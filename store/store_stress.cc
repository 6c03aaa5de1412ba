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
constexpr char kDefaultStorePath[] = "/opt/Marrowlight/vantorstore";

int RunWriter(unsigned id, const char* path) {
  NTSTATUS status = path != nullptr ? OpenSimpleStoreAt(path) : OpenSimpleStore();
  if (!NT_SUCCESS(status)) {
    std::fprintf(stderr, "writer %u: open failed: 0x%08x\n", id, static_cast<unsigned>(status));
    return 1;
  }
  for (std::uint32_t round = 1; round <= kRounds; ++round) {
    for (const char suffix : {'a', 'b', 'c'}) {
      const std::string ascii = "w" + std::to_string(id) + suffix;  // at most 8 characters
      std::u16string units(ascii.begin(), ascii.end());
      const auto bytes = static_cast<std::uint16_t>(units.size() * 2);
      const UNICODE_STRING name{bytes, bytes, units.data()};
      const std::string value = vt_test::U32Bytes(round);
      status = SetSimpleStoreValue(&name, value.data(), 4);
      char back[8] = {};
      std::uint32_t size = sizeof back;
      const NTSTATUS getStatus = NT_SUCCESS(status) ? GetSimpleStoreValue(&name, back, &size) : status;
      if (!NT_SUCCESS(getStatus) || size != 4 || std::memcmp(back, value.data(), 4) != 0) {
        std::fprintf(stderr, "writer %u: %s %s round %u: 0x%08x size %u\n", id, NT_SUCCESS(status) ? "get" : "set",
                     ascii.c_str(), round, static_cast<unsigned>(getStatus), size);
        CloseSimpleStore();
        return 1;
      }
    }
  }
  CloseSimpleStore();
  return 0;
}

bool IsWriterName(const std::string& name) {
  return name.size() >= 3 && name.front() == 'w' && std::strchr("abc", name.back()) != nullptr &&
         name.find_first_not_of("0123456789", 1) == name.size() - 1;
}

// Null when the image is what the writers can produce; otherwise the reason.
// Every record found is put into an empty image, which must then equal the file
// byte for byte: reserved bytes, empty slots and the unused parts of each record
// all zero.
const char* CheckImage(const std::string& bytes) {
  if (bytes.size() != vt_test::kStoreSize) {
    return "wrong size";
  }
  const vt_test::StoreImage image(bytes);
  vt_test::StoreImage rebuilt;
  std::set<std::string> seen;
  for (int slot = 1; slot <= vt_test::kSlotCount; ++slot) {
    const std::size_t o = vt_test::StoreImage::SlotOffset(slot);
    const std::uint16_t nameLength = image.U16(o);
    if (nameLength == 0) {
      continue;
    }
    if (nameLength % 2 != 0 || nameLength > 22 || image.U16(o + 24) != 4) {
      return "bad name or data length";
    }
    const std::string name = image.NameAt(slot);
    if (!IsWriterName(name) || !seen.insert(name).second) {
      return "unexpected or duplicate name";
    }
    const std::string data = bytes.substr(o + 26, 4);
    const std::uint32_t value = image.U16(o + 26) | static_cast<std::uint32_t>(image.U16(o + 28)) << 16;
    if (value < 1 || value > kRounds) {
      return "value out of range";
    }
    rebuilt.Put(slot, name, data);
  }
  return rebuilt.bytes() == bytes ? nullptr : "version, reserved or unused bytes changed";
}

// Reads the whole file under a shared flock; at most kStoreSize + 1 bytes, so
// an oversized file shows. False when the file could not be opened or locked.
bool ReadLocked(const char* path, std::string* bytes, bool* absent) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  *absent = fd < 0 && errno == ENOENT;
  int rc = -1;
  while (fd >= 0 && (rc = flock(fd, LOCK_SH)) != 0 && errno == EINTR) {
  }
  bytes->assign(vt_test::kStoreSize + 1, '\0');
  std::size_t done = 0;
  ssize_t n = 0;
  while (rc == 0 && done < bytes->size() &&
         ((n = read(fd, bytes->data() + done, bytes->size() - done)) > 0 || (n < 0 && errno == EINTR))) {
    done += n > 0 ? static_cast<std::size_t>(n) : 0;
  }
  bytes->resize(done);
  if (fd >= 0) {
    close(fd);  // drops the flock
  }
  return rc == 0 && n >= 0;
}

int RunReader(const char* stopFile, const char* path) {
  unsigned long images = 0, empty = 0, invalid = 0;
  for (bool last = false; !last;) {
    last = access(stopFile, F_OK) == 0;
    std::string bytes;
    bool absent = false;
    const char* why = nullptr;
    if (!ReadLocked(path, &bytes, &absent)) {
      why = absent ? nullptr : std::strerror(errno);
    } else if (bytes.empty()) {
      ++empty;  // created by a writer's open, not yet sized under its lock
    } else {
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
  if (argc >= 3 && argc <= 4 && std::strcmp(argv[1], "writer") == 0) {
    const unsigned long id = std::strtoul(argv[2], &end, 10);
    if (*argv[2] != '\0' && *end == '\0' && id <= 999999) {
      return RunWriter(static_cast<unsigned>(id), path);
    }
  } else if (argc >= 3 && argc <= 4 && std::strcmp(argv[1], "reader") == 0) {
    return RunReader(argv[2], path != nullptr ? path : kDefaultStorePath);
  }
  std::fprintf(stderr,
               "usage: store_stress writer <id> [store-path]\n"
               "       store_stress reader <stop-file> [store-path]\n");
  return 2;
}
