// The trace formatter: the message walk with the runtime's own specifiers and
// the line layout around it. Everything here works on the caller's buffer and
// stack; nothing allocates and nothing takes a lock.
//
// Room: at any point, "room" is the number of bytes left in the output buffer,
// the terminator's byte included. A piece written into it is at most room - 1
// bytes long, so the text is cut, never overrun, and always NUL-terminated.
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

#include "runtime/rtl_string.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

namespace {

static_assert(sizeof(long) == 8, "the log's %lx / %ld conversions assume LP64");

constexpr char kNullMarker[] = "(null)";
// The null marker is written only when at least this much room is left.
constexpr std::size_t kNullMarkerRoom = 8;
// Standard conversions take at most this many characters after the '%'.
constexpr std::size_t kMaxConversionChars = 18;
// Field widths and precisions are capped here before they reach the C library:
// a line holds at most 2046 visible bytes anyway, some C library versions
// allocate a work buffer for fields near 1000 and above (the trace path must
// never allocate), and a huge precision would cost time for text that is cut.
constexpr int kMaxField = 960;
// The error text of %!ERRNO! lives in a buffer of this size on the stack.
constexpr std::size_t kErrnoTextSize = 256;
constexpr std::size_t kTimeTextSize = 64;

// Hands out the packed arguments in order; a missing one reads as integer 0.
class ArgReader {
 public:
  explicit ArgReader(std::span<const TraceArg> args) : args_(args) {}

  TraceArg Next() {
    if (next_ >= args_.size()) return TraceArg{};
    return args_[next_++];
  }

  // A double handed to an integer conversion is converted by value (0 when it
  // does not fit), never reinterpreted.
  std::uint64_t NextInteger() {
    const TraceArg arg = Next();
    if (arg.kind == TraceArg::Kind::kInteger) return arg.integer;
    if (arg.real > -9.2e18 && arg.real < 9.2e18) {
      return static_cast<std::uint64_t>(static_cast<std::int64_t>(arg.real));
    }
    return 0;
  }

  double NextDouble() {
    const TraceArg arg = Next();
    if (arg.kind == TraceArg::Kind::kDouble) return arg.real;
    return static_cast<double>(static_cast<std::int64_t>(arg.integer));
  }

  // A double is never a pointer: it reads as null.
  const void* NextPointer() {
    const TraceArg arg = Next();
    if (arg.kind != TraceArg::Kind::kInteger) return nullptr;
    return reinterpret_cast<const void*>(static_cast<std::uintptr_t>(arg.integer));
  }

 private:
  std::span<const TraceArg> args_;
  std::size_t next_ = 0;
};

// The length a C library call produced, as a piece: 0 on error, at most room - 1.
std::size_t PieceLength(int produced, std::size_t room) {
  if (produced < 0 || room == 0) return 0;
  return std::min(static_cast<std::size_t>(produced), room - 1);
}

std::size_t PutBytes(char* dst, std::size_t room, const char* src, std::size_t n) {
  if (room == 0) return 0;
  const std::size_t k = std::min(n, room - 1);
  std::memcpy(dst, src, k);
  dst[k] = '\0';
  return k;
}

std::size_t PutNull(char* dst, std::size_t room) {
  if (room < kNullMarkerRoom) {
    if (room != 0) dst[0] = '\0';
    return 0;
  }
  return PutBytes(dst, room, kNullMarker, sizeof kNullMarker - 1);
}

// Writes each UTF-16 unit as its low 8 bits; stops after `units` units or at a
// zero unit when `stopAtZero` is set.
std::size_t PutLowBytes(char* dst, std::size_t room, const WCHAR* src, std::size_t units, bool stopAtZero) {
  std::size_t k = 0;
  while (k + 1 < room && k < units && !(stopAtZero && src[k] == 0)) {
    dst[k] = static_cast<char>(src[k] & 0xFFu);
    ++k;
  }
  if (room != 0) dst[k] = '\0';
  return k;
}

// A handler formats one table entry. `rest` points just past the entry's text;
// the sized-integer entries advance it over the conversion letter they consume.
// Called only with room >= 2.
using Handler = std::size_t (*)(char* dst, std::size_t room, ArgReader& args, const char*& rest);

std::size_t HandlePercent(char* dst, std::size_t room, ArgReader&, const char*&) {
  return PutBytes(dst, room, "%", 1);
}

std::size_t HandleAnsiString(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto* s = static_cast<const ANSI_STRING*>(args.NextPointer());
  if (s == nullptr || (s->Buffer == nullptr && s->Length != 0)) return PutNull(dst, room);
  if (s->Length == 0) return PutBytes(dst, room, "", 0);
  // As "%.*s": Length bytes at most, and no further than a NUL.
  return PutBytes(dst, room, s->Buffer, strnlen(s->Buffer, s->Length));
}

std::size_t HandleUnicodeString(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto* s = static_cast<const UNICODE_STRING*>(args.NextPointer());
  if (s == nullptr) return PutNull(dst, room);
  if (s->Length < 2) return PutBytes(dst, room, "", 0);
  if (s->Buffer == nullptr) return PutNull(dst, room);
  return PutLowBytes(dst, room, s->Buffer, s->Length / 2u, false);
}

std::size_t HandleChar(char* dst, std::size_t room, ArgReader& args, const char*&) {
  // As "%c": the low 8 bits, a zero byte included.
  const char c = static_cast<char>(args.NextInteger() & 0xFFu);
  return PutBytes(dst, room, &c, 1);
}

std::size_t HandleWideText(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto* text = static_cast<const WCHAR*>(args.NextPointer());
  if (text == nullptr) return PutNull(dst, room);
  return PutLowBytes(dst, room, text, SIZE_MAX, true);
}

// %I32<letter>, %I64<letter>, %I<letter>. The letter is consumed. A format that
// ends right after the entry prints nothing for it (the argument is still
// taken) and the walk stops at the end; a letter that is not an integer
// conversion (d i o u x X) or c prints nothing.
std::size_t FormatSized(char* dst, std::size_t room, ArgReader& args, const char*& rest, bool wide) {
  const std::uint64_t value = args.NextInteger();
  const char letter = *rest;
  if (letter == '\0') return PutBytes(dst, room, "", 0);
  ++rest;
  int produced = -1;
  if (wide) {
    const auto s = static_cast<long long>(value);
    const auto u = static_cast<unsigned long long>(value);
    switch (letter) {
      case 'd': case 'i': produced = std::snprintf(dst, room, "%lld", s); break;
      case 'u': produced = std::snprintf(dst, room, "%llu", u); break;
      case 'x': produced = std::snprintf(dst, room, "%llx", u); break;
      case 'X': produced = std::snprintf(dst, room, "%llX", u); break;
      case 'o': produced = std::snprintf(dst, room, "%llo", u); break;
      case 'c': produced = std::snprintf(dst, room, "%c", static_cast<int>(value & 0xFFu)); break;
      default: break;
    }
  } else {
    const auto s = static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
    const auto u = static_cast<unsigned>(static_cast<std::uint32_t>(value));
    switch (letter) {
      case 'd': case 'i': produced = std::snprintf(dst, room, "%d", s); break;
      case 'u': produced = std::snprintf(dst, room, "%u", u); break;
      case 'x': produced = std::snprintf(dst, room, "%x", u); break;
      case 'X': produced = std::snprintf(dst, room, "%X", u); break;
      case 'o': produced = std::snprintf(dst, room, "%o", u); break;
      case 'c': produced = std::snprintf(dst, room, "%c", static_cast<int>(value & 0xFFu)); break;
      default: break;
    }
  }
  if (produced < 0) return PutBytes(dst, room, "", 0);
  return PieceLength(produced, room);
}

std::size_t HandleInt32(char* dst, std::size_t room, ArgReader& args, const char*& rest) {
  return FormatSized(dst, room, args, rest, false);
}

std::size_t HandleInt64(char* dst, std::size_t room, ArgReader& args, const char*& rest) {
  return FormatSized(dst, room, args, rest, true);
}

std::size_t HandleLowerI(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto value = static_cast<std::int32_t>(static_cast<std::uint32_t>(args.NextInteger()));
  return PieceLength(std::snprintf(dst, room, "%d", static_cast<int>(value)), room);
}

std::size_t HandleGuid(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto* g = static_cast<const GUID*>(args.NextPointer());
  if (g == nullptr) return PutNull(dst, room);
  char text[kGuidTextLength + 1];
  TvFormatGuid(*g, text);
  return PutBytes(dst, room, text, kGuidTextLength);
}

std::size_t HandleStatus(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto status = static_cast<unsigned>(static_cast<std::uint32_t>(args.NextInteger()));
  return PieceLength(std::snprintf(dst, room, "STATUS=0x%08X", status), room);
}

std::size_t HandleTimestamp(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto stamp = static_cast<unsigned long>(args.NextInteger());
  return PieceLength(std::snprintf(dst, room, "Time: %lx", stamp), room);
}

// strerror_r comes in two shapes (GNU: returns the text; XSI: fills the buffer
// and returns 0); both end up as a pointer to the text.
[[maybe_unused]] const char* ErrnoText(char* result, const char*) { return result; }
[[maybe_unused]] const char* ErrnoText(int result, const char* buffer) {
  return result == 0 ? buffer : "Unknown error";
}

std::size_t HandleErrno(char* dst, std::size_t room, ArgReader& args, const char*&) {
  const auto error = static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(args.NextInteger())));
  char text[kErrnoTextSize];
  text[0] = '\0';
  const char* message = ErrnoText(strerror_r(error, text, sizeof text), text);
  return PieceLength(std::snprintf(dst, room, "ERRNO=%d (%s)", error, message), room);
}

struct SpecifierEntry {
  std::string_view text;
  Handler handler;
};

// Matched in this order, by prefix: the first entry whose whole text matches wins.
constexpr SpecifierEntry kSpecifiers[] = {
    {"%%", HandlePercent},          {"%Z", HandleAnsiString},    {"%wZ", HandleUnicodeString},
    {"%lZ", HandleUnicodeString},   {"%C", HandleChar},          {"%lc", HandleChar},
    {"%wc", HandleChar},            {"%S", HandleWideText},      {"%ls", HandleWideText},
    {"%ws", HandleWideText},        {"%I32", HandleInt32},       {"%I64", HandleInt64},
    {"%I", HandleInt64},            {"%i", HandleLowerI},        {"%!GUID!", HandleGuid},
    {"%!STATUS!", HandleStatus},    {"%!TIMESTAMP!", HandleTimestamp}, {"%!ERRNO!", HandleErrno},
};

const SpecifierEntry* MatchSpecifier(const char* at) {
  for (const SpecifierEntry& entry : kSpecifiers) {
    // strncmp stops at the format's terminator, which never equals an entry character.
    if (std::strncmp(at, entry.text.data(), entry.text.size()) == 0) return &entry;
  }
  return nullptr;
}

// ---- Standard conversions -------------------------------------------------
//
// A '%' that no table entry matches starts a standard conversion: the '%' and
// up to 18 following characters, stopping before a blank, a '%' or the end.
// The conversion at its head is parsed and handed to snprintf with the
// argument cast to the type its length modifier names; the literal characters
// glued after it (as in "%s:" or "%d)") are copied as they are. The argument's
// type follows the parsed conversion letter (floating letters take a double,
// everything else a 64-bit integer or pointer), which is also what the last
// character decides whenever nothing is glued after the letter.
//
// Cases the C library would reject or that could not be passed safely:
// - the text ends before a conversion letter (a lone '%', "%5", "%-"): nothing
//   is printed, as snprintf reports an error for it; one argument is taken;
// - an unknown letter, positional "%1$d", or "%ls"/"%S" with flags or width:
//   the conversion text is copied literally (as the C library prints unknown
//   conversions); one argument is taken;
// - 'n' never writes anywhere: the argument is taken, nothing is printed;
// - 'c' with an 'l' prints the low 8 bits like the "%lc" entry;
// - 'L' is dropped: floating arguments arrive packed as double.

enum class Length : std::uint8_t { kChar, kShort, kInt, kLong, kWide };

struct Conversion {
  char flags[6] = {};
  std::size_t flagCount = 0;
  bool hasWidth = false;
  int width = 0;
  bool hasPrecision = false;
  int precision = 0;
  Length length = Length::kInt;
  bool lModifier = false;  // a single 'l' (matters for c and s)
  char letter = '\0';
};

// printf reads '*' fields as int.
int AsInt(std::uint64_t value) { return static_cast<int>(static_cast<std::int32_t>(static_cast<std::uint32_t>(value))); }

int ClampField(int value) { return std::clamp(value, -kMaxField, kMaxField); }

bool IsFlag(char c) { return c == '-' || c == '+' || c == '#' || c == '0' || c == '\''; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads decimal digits in [p, end) saturating at kMaxField.
int ReadField(const char*& p, const char* end) {
  int value = 0;
  while (p < end && IsDigit(*p)) {
    value = std::min(value * 10 + (*p - '0'), kMaxField);
    ++p;
  }
  return value;
}

// Parses flags, width, precision, length modifier and letter from [p, end).
// Returns a pointer just past the letter, or nullptr when the text ends first.
// Width and precision given as '*' take one argument each, in printf's order.
const char* ParseConversion(const char* p, const char* end, Conversion& c, ArgReader& args) {
  while (p < end && IsFlag(*p)) {
    if (c.flagCount < sizeof c.flags) c.flags[c.flagCount++] = *p;
    ++p;
  }
  if (p < end && *p == '*') {
    c.hasWidth = true;
    c.width = ClampField(AsInt(args.NextInteger()));
    ++p;
  } else if (p < end && IsDigit(*p)) {
    c.hasWidth = true;
    c.width = ReadField(p, end);
  }
  if (p < end && *p == '.') {
    ++p;
    c.hasPrecision = true;
    if (p < end && *p == '*') {
      const int precision = AsInt(args.NextInteger());
      c.hasPrecision = precision >= 0;  // a negative precision counts as none
      c.precision = std::min(precision, kMaxField);
      ++p;
    } else {
      c.precision = ReadField(p, end);
    }
  }
  if (p < end) {
    switch (*p) {
      case 'h':
        ++p;
        c.length = Length::kShort;
        if (p < end && *p == 'h') {
          c.length = Length::kChar;
          ++p;
        }
        break;
      case 'l':
        ++p;
        c.length = Length::kLong;
        c.lModifier = true;
        if (p < end && *p == 'l') {
          c.length = Length::kWide;
          c.lModifier = false;
          ++p;
        }
        break;
      case 'q': case 'j': case 'z': case 'Z': case 't':
        c.length = Length::kWide;
        ++p;
        break;
      case 'L':
        ++p;
        break;
      default:
        break;
    }
  }
  if (p >= end) return nullptr;
  c.letter = *p;
  return p + 1;
}

// Builds "%<flags>[*][.*]<modifier><letter>" into out (at least 16 bytes).
void BuildFormat(const Conversion& c, const char* modifier, char letter, char* out) {
  std::size_t n = 0;
  out[n++] = '%';
  for (std::size_t i = 0; i < c.flagCount; ++i) out[n++] = c.flags[i];
  if (c.hasWidth) out[n++] = '*';
  if (c.hasPrecision) {
    out[n++] = '.';
    out[n++] = '*';
  }
  for (; *modifier != '\0'; ++modifier) out[n++] = *modifier;
  out[n++] = letter;
  out[n] = '\0';
}

// One snprintf call with the '*' fields the format was built with.
template <typename T>
int EmitValue(char* dst, std::size_t room, const Conversion& c, const char* modifier, char letter, T value) {
  char format[24];
  BuildFormat(c, modifier, letter, format);
  if (c.hasWidth && c.hasPrecision) return std::snprintf(dst, room, format, c.width, c.precision, value);
  if (c.hasWidth) return std::snprintf(dst, room, format, c.width, value);
  if (c.hasPrecision) return std::snprintf(dst, room, format, c.precision, value);
  return std::snprintf(dst, room, format, value);
}

std::int64_t TruncateSigned(std::uint64_t value, Length length) {
  switch (length) {
    case Length::kChar: return static_cast<signed char>(static_cast<std::uint8_t>(value));
    case Length::kShort: return static_cast<std::int16_t>(static_cast<std::uint16_t>(value));
    case Length::kInt: return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
    case Length::kLong:
    case Length::kWide: break;
  }
  return static_cast<std::int64_t>(value);
}

std::uint64_t TruncateUnsigned(std::uint64_t value, Length length) {
  switch (length) {
    case Length::kChar: return static_cast<std::uint8_t>(value);
    case Length::kShort: return static_cast<std::uint16_t>(value);
    case Length::kInt: return static_cast<std::uint32_t>(value);
    case Length::kLong:
    case Length::kWide: break;
  }
  return value;
}

// Formats the conversion at `percent` (which no table entry matched). Returns
// the bytes written; *resume receives the first format character not taken.
std::size_t FormatStandard(char* dst, std::size_t room, const char* percent, ArgReader& args, const char** resume) {
  const char* end = percent + 1;
  while (static_cast<std::size_t>(end - (percent + 1)) < kMaxConversionChars && *end != '\0' && *end != ' ' &&
         *end != '%') {
    ++end;
  }
  *resume = end;

  Conversion c;
  const char* tail = ParseConversion(percent + 1, end, c, args);
  if (tail == nullptr) {
    (void)args.NextInteger();
    return PutBytes(dst, room, "", 0);
  }

  int produced = -1;
  bool literal = false;
  switch (c.letter) {
    case 'd': case 'i':
      produced = EmitValue(dst, room, c, "ll", c.letter,
                           static_cast<long long>(TruncateSigned(args.NextInteger(), c.length)));
      break;
    case 'o': case 'u': case 'x': case 'X':
      produced = EmitValue(dst, room, c, "ll", c.letter,
                           static_cast<unsigned long long>(TruncateUnsigned(args.NextInteger(), c.length)));
      break;
    case 'c': case 'C':
      produced = EmitValue(dst, room, c, "", 'c', static_cast<int>(args.NextInteger() & 0xFFu));
      break;
    case 's':
      if (c.lModifier) {
        literal = true;
        (void)args.NextInteger();
      } else {
        const auto* text = static_cast<const char*>(args.NextPointer());
        // As the C library does: a null string prints the null marker unless the
        // precision is below its length.
        if (text == nullptr) text = (!c.hasPrecision || c.precision >= 6) ? kNullMarker : "";
        produced = EmitValue(dst, room, c, "", 's', text);
      }
      break;
    case 'p':
      produced = EmitValue(dst, room, c, "", 'p', args.NextPointer());
      break;
    case 'a': case 'A': case 'e': case 'E': case 'f': case 'F': case 'g': case 'G':
      produced = EmitValue(dst, room, c, "", c.letter, args.NextDouble());
      break;
    case 'm':
      // The C library's errno text; the argument is taken and not printed.
      produced = EmitValue(dst, room, c, "", 'm', AsInt(args.NextInteger()));
      break;
    case '%':
      (void)args.NextInteger();
      produced = static_cast<int>(PutBytes(dst, room, "%", 1));
      break;
    case 'n':
      (void)args.NextInteger();
      produced = 0;
      break;
    default:
      (void)args.NextInteger();
      literal = true;
      break;
  }

  std::size_t written = 0;
  if (literal) {
    written = PutBytes(dst, room, percent, static_cast<std::size_t>(end - percent));
  } else {
    written = PieceLength(produced, room);
    written += PutBytes(dst + written, room - written, tail, static_cast<std::size_t>(end - tail));
  }
  dst[written] = '\0';
  return written;
}

}  // namespace

std::size_t TraceFormatMessage(char* buf, std::size_t size, const char* format, std::span<const TraceArg> args) {
  if (buf == nullptr || size == 0) return 0;
  std::size_t pos = 0;
  buf[0] = '\0';
  if (format == nullptr) return 0;
  ArgReader reader(args);
  const char* p = format;
  while (*p != '\0' && size - pos > 1) {
    if (*p != '%') {
      buf[pos++] = *p++;
      continue;
    }
    const std::size_t room = size - pos;
    std::size_t piece = 0;
    if (const SpecifierEntry* entry = MatchSpecifier(p)) {
      const char* rest = p + entry->text.size();
      piece = entry->handler(buf + pos, room, reader, rest);
      p = rest;
    } else {
      piece = FormatStandard(buf + pos, room, p, reader, &p);
    }
    pos += std::min(piece, room - 1);
  }
  buf[pos] = '\0';
  return pos;
}

std::size_t TraceFormatLine(char* buf, std::size_t size, const TraceRecord& record, const char* format,
                            std::span<const TraceArg> args) {
  if (buf == nullptr || size == 0) return 0;
  if (size < 2) {
    buf[0] = '\0';
    return 0;
  }
  // Prefix and message together take at most size - 2 bytes.
  const std::size_t headSize = size - 1;

  char timeText[kTimeTextSize];
  timeText[0] = '\0';
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local) != nullptr) {
    if (std::strftime(timeText, sizeof timeText, "%c", &local) == 0) timeText[0] = '\0';
  }
  std::size_t pos = PieceLength(std::snprintf(buf, headSize, "%s ", timeText), headSize);
  pos += TraceFormatMessage(buf + pos, headSize - pos, format, args);

  // The suffix goes into what is left; the whole line stays within size - 1.
  const std::size_t room = size - pos;
  const long tid = syscall(SYS_gettid);
  int produced = std::snprintf(buf + pos, room, "\t(%ld) [%d]\n", tid, static_cast<int>(record.messageNumber));
  if (produced < 0) produced = std::snprintf(buf + pos, room, "\n");
  pos += PieceLength(produced, room);
  buf[pos] = '\0';
  return pos;
}
