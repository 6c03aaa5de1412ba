// store_writer: one writer of the store stress walk (tests/e2e/walk stress).
//
//   store_writer <id> <rounds>
//
// Waits for a byte on stdin (all writers start at once), opens the store at its
// default path and sets its own names "w<id>a", "w<id>b"
// and "w<id>c" in turn to the little-endian 32-bit values 1..<rounds>, reading
// each back at once through the store. Exit 0 when every set and get returned
// what it should; 1 at the first that did not, which stderr names.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "runtime/little_endian.h"
#include "store/simple_store.h"

int main(int argc, char** argv) {
  const std::string id = argc == 3 ? argv[1] : "";
  const unsigned long rounds = argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0;
  if (id.empty() || id.size() > 8 || id.find_first_not_of("0123456789") != std::string::npos || rounds == 0) {
    std::fprintf(stderr, "usage: store_writer <id> <rounds>\n");
    return 2;
  }
  char go = 0;
  NTSTATUS status = read(0, &go, 1) == 1 ? OpenSimpleStore() : STATUS_UNSUCCESSFUL;
  for (unsigned long step = 0; step < 3 * rounds && NT_SUCCESS(status); ++step) {
    std::u16string units = u"w";
    for (const char c : id + "abc"[step % 3]) units += static_cast<char16_t>(c);
    const auto bytes = static_cast<std::uint16_t>(units.size() * 2);
    const UNICODE_STRING name{bytes, bytes, units.data()};
    std::uint8_t value[4], back[8] = {};
    little_endian::Store<std::uint32_t>(value, static_cast<std::uint32_t>(step / 3 + 1));
    std::uint32_t size = sizeof back;
    if (NT_SUCCESS(status = SetSimpleStoreValue(&name, value, sizeof value)) &&
        NT_SUCCESS(status = GetSimpleStoreValue(&name, back, &size)) &&
        (size != sizeof value || little_endian::Load<std::uint32_t>(back) != step / 3 + 1)) {
      status = STATUS_DATA_ERROR;  // read back something else
    }
    if (!NT_SUCCESS(status)) {
      std::fprintf(stderr, "writer %s, step %lu: 0x%08x\n", id.c_str(), step, static_cast<unsigned>(status));
    }
  }
  CloseSimpleStore();
  return NT_SUCCESS(status) ? 0 : 1;
}
