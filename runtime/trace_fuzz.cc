// libFuzzer entry point over the trace formatter.
//
// Input layout: bytes 0-1 pick the output size (1..2048), byte 2 the mode and
// the argument count (0..8); each argument then takes one kind byte plus 8
// value bytes for integers and doubles; two bytes per probe set its Length;
// the rest of the input is the format.
//
// Pointer mode: every argument that is not a double is null or a pointer to a
// probe, which is valid read as an ANSI_STRING, UNICODE_STRING, GUID,
// NUL-terminated 8-bit text or NUL-terminated UTF-16 text, so any specifier may
// consume any argument without the harness itself faulting.
// Numeric mode: arguments are arbitrary 64-bit integers or doubles, and the
// letters through which a specifier could follow a pointer (s S Z G) are
// rewritten to 'd' in the format, so no argument is ever dereferenced.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "runtime/trace.h"

namespace {

// Laid out like ANSI_STRING / UNICODE_STRING; bytes 4..7 are zero so the probe
// also ends as 8-bit and as UTF-16 text.
struct Probe {
  std::uint16_t Length;
  std::uint16_t MaximumLength;
  std::uint32_t zero;
  const void* Buffer;
  std::uint64_t tail;
};

constexpr std::size_t kProbes = 4;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::vector<char> payload = [] {  // covers the largest Length
    std::vector<char> p(65536);
    for (std::size_t i = 0; i < p.size(); ++i) p[i] = static_cast<char>('a' + i % 26);
    return p;
  }();
  std::size_t pos = 0;
  const auto byte = [&]() -> std::uint64_t { return pos < size ? data[pos++] : 0; };
  const std::size_t outSize = 1 + ((byte() << 8 | byte()) % kTraceLineSize);
  const std::uint64_t modeAndCount = byte();
  const bool numeric = (modeAndCount & 0x80) != 0;

  Probe probes[kProbes] = {};
  std::vector<TraceArg> args((modeAndCount & 0x7F) % 9, TraceArg{});
  for (TraceArg& arg : args) {
    const std::uint64_t kind = byte();
    std::uint64_t word = 0;
    for (int i = 0; i < 8 && (kind % 4 == 1 || numeric); ++i) word = (word << 8) | byte();
    arg.kind = kind % 4 == 1 ? TraceArg::Kind::kDouble : TraceArg::Kind::kInteger;
    arg.integer = numeric || kind % 4 < 2 ? word : reinterpret_cast<std::uintptr_t>(&probes[(kind >> 2) % kProbes]);
    if (kind % 4 == 1) std::memcpy(&arg.real, &word, sizeof word);
  }
  for (Probe& probe : probes) {
    probe.Length = probe.MaximumLength = static_cast<std::uint16_t>(byte() << 8 | byte());
    probe.Buffer = payload.data();
  }

  // Exact-size copies so that the address sanitizer sees any read past the
  // format's terminator or any write past the output buffer.
  const std::size_t start = std::min(pos, size);
  std::vector<char> format(size - start + 1, '\0');
  std::copy(data + start, data + size, format.begin());
  for (char& c : format) {
    if (numeric && (c == 's' || c == 'S' || c == 'Z' || c == 'G')) c = 'd';
  }
  std::vector<char> out(outSize);
  const std::size_t n = TraceFormatMessage(out.data(), out.size(), format.data(), args);
  if (n >= out.size() || out[n] != '\0') std::abort();

  std::vector<char> line(kTraceLineSize);
  const TraceRecord record{TRACE_LEVEL_ERROR, TRACE_COMPONENT_CORE, 0, 0, 0};
  const std::size_t lineLength = TraceFormatLine(line.data(), line.size(), record, format.data(), args);
  if (lineLength >= kTraceLineSize || line[lineLength] != '\0') std::abort();
  return 0;
}
