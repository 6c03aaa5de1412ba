// Option values read from a file instead of the command line: a credential
// option (a row marked `credential`) given "@PATH" in set mode takes PATH's
// contents, so that the credential is in no process listing or container
// record. The driver reads such files at the very start of the run, before the
// store is opened and before the tool joins the host's namespaces (so a file
// mounted into a container is the one read), and nothing of what it reads is
// ever logged.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The longest value a file may give (its trailing newline not counted), and
// the buffer ReadValueFile fills: room for that, the newline and one byte more,
// which tells a file that is too long.
inline constexpr std::size_t kValueFileBytes = 4096;
inline constexpr std::size_t kValueFileBuffer = kValueFileBytes + 2;

// Whether `path` names standard input itself ("/dev/stdin", "/dev/fd/0",
// "/proc/self/fd/0"), which is read where it is rather than opened again.
[[nodiscard]] bool IsStandardInputPath(std::string_view path);

// Reads the value at `path` into `buffer`: all of
// it to its end, with one trailing newline removed; from a terminal, one line.
// A path is opened read-only without blocking (a FIFO with no writer does not
// hang the open), following links (a mounted Secret's files are links). A
// pipe, FIFO, terminal or socket is waited for with poll, and no wait goes past
// `deadline` (the monotonic clock in nanoseconds). Returns 0 with *length set,
// or an errno: the open's or read's own, EFBIG for a value longer than
// kValueFileBytes, ETIME when the file had not ended by the deadline, EINVAL for a value
// holding a NUL byte (which no command line can).
[[nodiscard]] int ReadValueFile(const char* path, std::int64_t deadline, std::span<char, kValueFileBuffer> buffer,
                                std::size_t* length);
