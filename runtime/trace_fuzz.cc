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
#include <cstddef>
#include <cstdint>
#include <algorithm>
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
constexpr std::size_t kPayloadSize = 65536;  // covers the largest Length

class Reader {
 public:
  Reader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
  std::uint64_t Word() {
    std::uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v = (v << 8) | Byte();
    return v;
  }
  const std::uint8_t* Rest(std::size_t* n) {
    *n = size_ - std::min(pos_, size_);
    return data_ + std::min(pos_, size_);
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static std::vector<char> payload = [] {
    std::vector<char> p(kPayloadSize);
    for (std::size_t i = 0; i < p.size(); ++i) p[i] = static_cast<char>('a' + i % 26);
    return p;
  }();
  Reader in(data, size);
  const std::size_t outSize = 1 + ((static_cast<std::size_t>(in.Byte()) << 8 | in.Byte()) % kTraceLineSize);
  const std::uint8_t modeAndCount = in.Byte();
  const bool numeric = (modeAndCount & 0x80) != 0;
  const std::size_t argCount = (modeAndCount & 0x7F) % 9;

  Probe probes[kProbes] = {};
  std::vector<TraceArg> args;
  for (std::size_t i = 0; i < argCount; ++i) {
    const std::uint8_t kind = in.Byte();
    TraceArg arg{};
    arg.kind = TraceArg::Kind::Integer;
    arg.integer = 0;
    if (kind % 4 == 1) {
      arg.kind = TraceArg::Kind::Double;
      const std::uint64_t bits = in.Word();
      std::memcpy(&arg.real, &bits, sizeof bits);
    } else if (numeric) {
      arg.integer = in.Word();
    } else if (kind % 4 != 0) {
      arg.integer = reinterpret_cast<std::uintptr_t>(&probes[(kind >> 2) % kProbes]);
    }
    args.push_back(arg);
  }
  for (std::size_t i = 0; i < kProbes; ++i) {
    probes[i].Length = static_cast<std::uint16_t>(in.Byte() << 8 | in.Byte());
    probes[i].MaximumLength = probes[i].Length;
    probes[i].Buffer = payload.data();
  }

  std::size_t formatSize = 0;
  const std::uint8_t* formatBytes = in.Rest(&formatSize);
  // Exact-size copies so that the address sanitizer sees any read past the
  // format's terminator or any write past the output buffer.
  std::vector<char> format(formatBytes, formatBytes + formatSize);
  if (numeric) {
    for (char& c : format) {
      if (c == 's' || c == 'S' || c == 'Z' || c == 'G') c = 'd';
    }
  }
  format.push_back('\0');
  std::vector<char> out(outSize);

  const std::size_t n = TraceFormatMessage(out.data(), out.size(), format.data(), args);
  if (n >= out.size() || out[n] != '\0') std::abort();

  std::vector<char> line(kTraceLineSize);
  const TraceRecord record{TRACE_LEVEL_ERROR, TRACE_COMPONENT_CORE, 0, 0, 0};
  const std::size_t lineLength = TraceFormatLine(line.data(), line.size(), record, format.data(), args);
  if (lineLength >= kTraceLineSize || line[lineLength] != '\0') std::abort();
  return 0;
}
