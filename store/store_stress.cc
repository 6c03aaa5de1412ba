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
#include <sys/stat.h>
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
constexpr char kSuffixes[] = {'a', 'b', 'c'};
constexpr char kDefaultStorePath[] = "/opt/Marrowlight/vantorstore";

// A writer's name as UTF-16 in caller-provided storage.
struct WideName {
  char16_t units[11];
  UNICODE_STRING string;
};

bool MakeName(unsigned id, char suffix, WideName* out) {
  char ascii[16];
  const int n = std::snprintf(ascii, sizeof ascii, "w%u%c", id, suffix);
  if (n <= 0 || n > 11) {
    return false;
  }
  for (int i = 0; i < n; ++i) {
    out->units[i] = static_cast<char16_t>(ascii[i]);
  }
  const auto bytes = static_cast<std::uint16_t>(n * 2);
  out->string = UNICODE_STRING{bytes, bytes, out->units};
  return true;
}

int RunWriter(unsigned id, const char* path) {
  NTSTATUS status = path != nullptr ? OpenSimpleStoreAt(path) : OpenSimpleStore();
  if (!NT_SUCCESS(status)) {
    std::fprintf(stderr, "writer %u: open failed: 0x%08x\n", id, static_cast<unsigned>(status));
    return 1;
  }
  int rc = 0;
  for (std::uint32_t round = 1; round <= kRounds && rc == 0; ++round) {
    for (const char suffix : kSuffixes) {
      WideName name{};
      if (!MakeName(id, suffix, &name)) {
        std::fprintf(stderr, "writer %u: id too long for a name\n", id);
        rc = 1;
        break;
      }
      const std::string value = vt_test::U32Bytes(round);
      status = SetSimpleStoreValue(&name.string, value.data(), static_cast<std::uint32_t>(value.size()));
      if (!NT_SUCCESS(status)) {
        std::fprintf(stderr, "writer %u: set w%u%c round %u: 0x%08x\n", id, id, suffix, round,
                     static_cast<unsigned>(status));
        rc = 1;
        break;
      }
      char back[8] = {};
      std::uint32_t size = sizeof back;
      status = GetSimpleStoreValue(&name.string, back, &size);
      if (!NT_SUCCESS(status) || size != 4 || std::memcmp(back, value.data(), 4) != 0) {
        std::fprintf(stderr, "writer %u: get w%u%c round %u: 0x%08x size %u\n", id, id, suffix, round,
                     static_cast<unsigned>(status), size);
        rc = 1;
        break;
      }
    }
  }
  CloseSimpleStore();
  return rc;
}

bool AllZero(const std::string& bytes, std::size_t offset, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[offset + i] != '\0') {
      return false;
    }
  }
  return true;
}

bool IsWriterName(const std::string& name) {
  if (name.size() < 3 || name.front() != 'w' || std::strchr("abc", name.back()) == nullptr) {
    return false;
  }
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (name[i] < '0' || name[i] > '9') {
      return false;
    }
  }
  return true;
}

// Null when the image is what the writers can produce; otherwise the reason.
const char* CheckImage(const std::string& bytes) {
  using vt_test::kSlotSize;
  if (bytes.size() != vt_test::kStoreSize) {
    return "wrong size";
  }
  const vt_test::StoreImage image(bytes);
  if (image.U16(0) != 2) {
    return "version is not 2";
  }
  if (!AllZero(bytes, 2, kSlotSize - 2) || !AllZero(bytes, kSlotSize * 29, vt_test::kStoreSize - kSlotSize * 29)) {
    return "reserved bytes changed";
  }
  std::set<std::string> seen;
  for (int slot = 1; slot <= vt_test::kSlotCount; ++slot) {
    const std::size_t o = vt_test::StoreImage::SlotOffset(slot);
    const std::uint16_t nameLength = image.U16(o);
    if (nameLength == 0) {
      if (!AllZero(bytes, o, kSlotSize)) {
        return "empty slot not zero";
      }
      continue;
    }
    if (nameLength % 2 != 0 || nameLength > 22) {
      return "bad name length";
    }
    for (std::size_t i = 1; i < nameLength; i += 2) {
      if (bytes[o + 2 + i] != '\0') {
        return "name not ASCII UTF-16";
      }
    }
    const std::string name = image.NameAt(slot);
    if (!IsWriterName(name) || !seen.insert(name).second) {
      return "unexpected or duplicate name";
    }
    if (!AllZero(bytes, o + 2 + nameLength, 22 - nameLength) || image.U16(o + 24) != 4 ||
        !AllZero(bytes, o + 26 + 4, 252)) {
      return "bad record shape";
    }
    const std::string data = bytes.substr(o + 26, 4);
    std::uint32_t value = 0;
    for (int i = 3; i >= 0; --i) {
      value = value << 8 | static_cast<unsigned char>(data[static_cast<std::size_t>(i)]);
    }
    if (value < 1 || value > kRounds) {
      return "value out of range";
    }
  }
  return nullptr;
}

// Reads the whole file under a shared flock; at most kStoreSize + 1 bytes, so
// an oversized file shows. False when the file could not be opened or locked.
bool ReadLocked(const char* path, std::string* bytes, bool* absent) {
  *absent = false;
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    *absent = errno == ENOENT;
    return false;
  }
  int rc;
  do {
    rc = flock(fd, LOCK_SH);
  } while (rc != 0 && errno == EINTR);
  bool ok = rc == 0;
  bytes->assign(vt_test::kStoreSize + 1, '\0');
  std::size_t done = 0;
  while (ok && done < bytes->size()) {
    const ssize_t n = read(fd, bytes->data() + done, bytes->size() - done);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      ok = n == 0;
      break;
    }
    done += static_cast<std::size_t>(n);
  }
  bytes->resize(done);
  close(fd);  // drops the flock
  return ok;
}

int RunReader(const char* stopFile, const char* path) {
  unsigned long images = 0, empty = 0, invalid = 0;
  for (;;) {
    const bool last = access(stopFile, F_OK) == 0;
    std::string bytes;
    bool absent = false;
    if (!ReadLocked(path, &bytes, &absent)) {
      if (!absent) {
        std::fprintf(stderr, "reader: cannot read %s: %s\n", path, std::strerror(errno));
        ++invalid;
      }
    } else if (bytes.empty()) {
      ++empty;  // created by a writer's open, not yet sized under its lock
    } else {
      ++images;
      if (const char* why = CheckImage(bytes)) {
        if (invalid < 5) {
          std::fprintf(stderr, "reader: invalid image (%zu bytes): %s\n", bytes.size(), why);
        }
        ++invalid;
      }
    }
    if (last) {
      break;
    }
  }
  std::printf("images=%lu empty=%lu invalid=%lu\n", images, empty, invalid);
  return invalid == 0 ? 0 : 1;
}

int Usage() {
  std::fprintf(stderr,
               "usage: store_stress writer <id> [store-path]\n"
               "       store_stress reader <stop-file> [store-path]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4) {
    return Usage();
  }
  const char* path = argc == 4 ? argv[3] : nullptr;
  if (std::strcmp(argv[1], "writer") == 0) {
    char* end = nullptr;
    const unsigned long id = std::strtoul(argv[2], &end, 10);
    if (*argv[2] == '\0' || *end != '\0' || id > 999999) {
      return Usage();
    }
    return RunWriter(static_cast<unsigned>(id), path);
  }
  if (std::strcmp(argv[1], "reader") == 0) {
    return RunReader(argv[2], path != nullptr ? path : kDefaultStorePath);
  }
  return Usage();
}
