// The trace log. TraceWrite formats one line (local time, message, thread id and
// message number) into a 2048-byte stack buffer and appends it to the log with a
// single write(). It never fails visibly and never allocates. Formatting is kept
// apart from writing (TraceFormatLine / TraceFormatMessage) so it can be tested
// and fuzzed on its own.
//
// Besides printf's conversions the format understands %Z (ANSI_STRING*), %wZ and
// %lZ (UNICODE_STRING*), %C %lc %wc (character), %S %ls %ws (NUL-terminated
// UTF-16), %I32x, %I64u, %Ix ... (sized integers), %i, %!GUID! (GUID*),
// %!STATUS! (NTSTATUS), %!TIMESTAMP! (64-bit time), %!ERRNO! (errno value).
//
// TraceWrite is a variadic template: each argument is packed as the formatter
// consumes it, as one 64-bit integer or pointer, or as a double.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

#include "runtime/status.h"

inline constexpr std::uint32_t TRACE_LEVEL_NONE = 0;
inline constexpr std::uint32_t TRACE_LEVEL_ERROR = 2;
inline constexpr std::uint32_t TRACE_LEVEL_WARNING = 3;
inline constexpr std::uint32_t TRACE_LEVEL_INFO = 4;
inline constexpr std::uint32_t TRACE_LEVEL_DEBUG = 5;

// Component numbers: who is speaking.
inline constexpr std::uint32_t TRACE_COMPONENT_TELEMETRY = 1;
inline constexpr std::uint32_t TRACE_COMPONENT_STATE = 2;
inline constexpr std::uint32_t TRACE_COMPONENT_PATH = 3;
inline constexpr std::uint32_t TRACE_COMPONENT_REGISTRY = 5;
inline constexpr std::uint32_t TRACE_COMPONENT_PIDFILE = 6;
inline constexpr std::uint32_t TRACE_COMPONENT_CORE = 7;

inline constexpr std::size_t kTraceLineSize = 2048;
inline constexpr char kToolLogPath[] = "/var/log/vantorctl.log";

// One packed argument.
struct TraceArg {
  enum class Kind : std::uint8_t { kInteger, kDouble };
  Kind kind;
  union {
    std::uint64_t integer;
    double real;
  };
};

template <typename T>
constexpr TraceArg PackTraceArg(const T& value) {
  using U = std::remove_cvref_t<T>;
  TraceArg arg{};
  if constexpr (std::is_floating_point_v<U>) {
    arg.kind = TraceArg::Kind::kDouble;
    arg.real = static_cast<double>(value);
  } else if constexpr (std::is_pointer_v<U> || std::is_array_v<U> || std::is_null_pointer_v<U>) {
    arg.kind = TraceArg::Kind::kInteger;
    arg.integer = reinterpret_cast<std::uintptr_t>(static_cast<const void*>(value));
  } else if constexpr (std::is_enum_v<U>) {
    arg.kind = TraceArg::Kind::kInteger;
    arg.integer = static_cast<std::uint64_t>(static_cast<std::underlying_type_t<U>>(value));
  } else {
    static_assert(std::is_integral_v<U>, "TraceWrite takes integers, pointers and floating-point values");
    arg.kind = TraceArg::Kind::kInteger;
    // Signed values are sign-extended so that %d, %ld and %lld all see them.
    arg.integer = static_cast<std::uint64_t>(static_cast<std::conditional_t<std::is_signed_v<U>, std::int64_t,
                                                                            std::uint64_t>>(value));
  }
  return arg;
}

struct TraceRecord {
  std::uint32_t level;
  std::uint32_t component;
  std::uint64_t context1;
  std::uint64_t context2;
  std::uint32_t messageNumber;
};

// Formats the message part only into buf (size bytes, size >= 1), always
// NUL-terminated, never overrun. Returns the bytes written (without the NUL).
// A missing argument is taken as 0. With room for exactly the text plus its
// terminator the whole text is written; every byte less cuts one character.
// The null marker "(null)" is written only when at least 8 bytes of room are
// left at that point; otherwise the null argument prints nothing and the walk
// goes on. A format ending right after "%I", "%I32" or "%I64" prints nothing
// for that entry (its argument is still taken). Standard conversions are cast
// to the type their length modifier names before reaching snprintf; "%n" never
// writes; field widths and precisions are capped at 960.
std::size_t TraceFormatMessage(char* buf, std::size_t size, const char* format, std::span<const TraceArg> args);

// Formats a whole line: "<strftime %c> <message>\t(<tid>) [<msgno>]\n", cut to
// fit size - 1 bytes as the log requires. Returns the line's length.
std::size_t TraceFormatLine(char* buf, std::size_t size, const TraceRecord& record, const char* format,
                            std::span<const TraceArg> args);

// The gate and the writer behind TraceWrite.
void TraceWriteArgs(std::uint32_t level, std::uint32_t component, std::uint64_t context1, std::uint64_t context2,
                    std::uint32_t messageNumber, const char* format, std::span<const TraceArg> args);

template <typename... Args>
void TraceWrite(std::uint32_t level, std::uint32_t component, std::uint64_t context1, std::uint64_t context2,
                std::uint32_t messageNumber, const char* format, const Args&... args) {
  const TraceArg packed[sizeof...(Args) + 1] = {PackTraceArg(args)..., TraceArg{}};
  TraceWriteArgs(level, component, context1, context2, messageNumber, format,
                 std::span<const TraceArg>(packed, sizeof...(Args)));
}

// The form every call of the tool uses: level 2, context words and message
// number 0.
template <typename... Args>
void TraceError(std::uint32_t component, const char* format, const Args&... args) {
  TraceWrite(TRACE_LEVEL_ERROR, component, 0, 0, 0, format, args...);
}

// Opens `path` for appending (created 0600, close-on-exec), never through a
// final symbolic link and never blocking; a path that is not a regular file is
// refused. On failure the system log gets "vantor: Unable to open log file %s,
// errno = %d" (plus a line naming a refusal's reason) and the log stays closed. With an identity, openlog() is called for the daemon facility.
// Registers TraceCloseLogFile at exit.
void TraceOpenLogFile(const char* path, const char* identity);
// Opening again replaces (and closes) the current log; a failed open leaves
// no log open.
// TraceOpenLogFile("/var/log/vantorctl.log", nullptr).
void TraceOpenToolLog();
// The tool's log in a namespaced run: a close-on-exec duplicate of standard
// output (descriptor 1), remembered under the tool log's path. The link at that
// path is made by the namespace code; it is not opened, so nothing is followed.
// A failed duplicate is reported like a failed open.
void TraceOpenToolLogOnStandardOutput();
// Closes the log and forgets its path; later lines are dropped. Safe to call
// more than once. The log lock is statically initialised and never destroyed,
// so trace calls from other threads before the open or after the close are safe.
void TraceCloseLogFile();

// Current level and component filter (0xFFFFFFFF: none). The tool never changes
// them; tests do.
void TraceSetLevel(std::uint32_t level);
void TraceSetComponentFilter(std::uint32_t component);
