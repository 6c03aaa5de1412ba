// The trace state, the gate and the writer.
//
// Locking: the log descriptor is read under the shared side of
// gTrace.lock and replaced or closed only under its exclusive side, so a line
// is never written to a descriptor that is being closed. The lock is
// statically initialised (constant initialisation, no constructor runs) and
// never destroyed: a trace call may come before the log is opened or after it
// was closed from any thread, and a lock that is created by the opener and
// destroyed by the closer could be used uninitialised or after destruction.
// Level and filter are atomics read without the lock.
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include "runtime/fd.h"
#include "runtime/trace.h"

namespace {

constexpr std::uint32_t kNoComponentFilter = 0xFFFFFFFFu;
// With the current level at this value the component filter is not applied.
constexpr std::uint32_t kLevelIgnoringFilter = 1;
constexpr std::size_t kPathSize = 4096;  // the zone file path names

struct TraceState {
  std::atomic<std::uint32_t> level{TRACE_LEVEL_ERROR};
  std::atomic<std::uint32_t> componentFilter{kNoComponentFilter};
  pthread_rwlock_t lock = PTHREAD_RWLOCK_INITIALIZER;
  std::atomic<bool> exitHandlerRegistered{false};
};

constinit TraceState gTrace;

// The log's descriptor, guarded by gTrace.lock. A function's static,
// constant-initialised, so that nothing runs before main; InstallLog uses it
// before it registers TraceCloseLogFile, which therefore runs first at exit
// and leaves the destructor nothing to close.
UniqueFile& LogFile() {
  static constinit UniqueFile file;
  return file;
}

// Holds one side of the log lock for a scope.
class LogLockGuard {
 public:
  enum class Side { kShared, kExclusive };
  explicit LogLockGuard(Side side) {
    if (side == Side::kShared) {
      (void)pthread_rwlock_rdlock(&gTrace.lock);
    } else {
      (void)pthread_rwlock_wrlock(&gTrace.lock);
    }
  }
  ~LogLockGuard() { (void)pthread_rwlock_unlock(&gTrace.lock); }
  LogLockGuard(const LogLockGuard&) = delete;
  LogLockGuard& operator=(const LogLockGuard&) = delete;
};

bool PassesGate(std::uint32_t level, std::uint32_t component) {
  const std::uint32_t current = gTrace.level.load(std::memory_order_relaxed);
  const std::uint32_t filter = gTrace.componentFilter.load(std::memory_order_relaxed);
  if (current != kLevelIgnoringFilter && filter != kNoComponentFilter && filter != component) return false;
  return level <= current;
}

void WriteLine(const char* line, std::size_t length) {
  LogLockGuard guard(LogLockGuard::Side::kShared);
  const UniqueFile& log = LogFile();
  if (!log) return;
  // One write per line; the result is deliberately ignored and a short write is
  // not retried: the trace never fails visibly.
  if (write(log.get(), line, length) < 0) return;
}

}  // namespace

void TraceWriteArgs(std::uint32_t level, std::uint32_t component, std::uint64_t context1, std::uint64_t context2,
                    std::uint32_t messageNumber, const char* format, std::span<const TraceArg> args) {
  if (!PassesGate(level, component)) return;
  const TraceRecord record{level, component, context1, context2, messageNumber};
  char line[kTraceLineSize] = {};
  const std::size_t length = TraceFormatLine(line, sizeof line, record, format, args);
  WriteLine(line, length);
}

namespace {

constexpr int kLogMode = 0600;

// The C library's zone loading opens the zone file and reads it, and a FIFO
// there would hold every run before it did anything. So the file it would read
// is looked at first without opening it: TZ of the form ":path" or "path" (a
// relative one under TZDIR or /usr/share/zoneinfo; an empty TZ means
// "Universal" there), or /etc/localtime with its links followed. If it exists
// and is no regular file, the process uses UTC and the log says why; a missing
// file is left to the C library as before. Called before the first time stamp
// is made.
void UseUtcUnlessTheZoneFileIsRegular() {
  const char* tz = std::getenv("TZ");
  if (tz != nullptr && *tz == '\0') tz = "Universal";  // what the C library reads for an empty TZ
  if (tz != nullptr && *tz == ':') ++tz;
  if (tz != nullptr && *tz == '\0') return;  // UTC; no file named
  char path[kPathSize];
  if (tz == nullptr) {
    tz = "/etc/localtime";
  } else if (*tz != '/') {
    const char* directory = std::getenv("TZDIR");
    if (directory == nullptr || *directory == '\0') directory = "/usr/share/zoneinfo";
    if (std::snprintf(path, sizeof path, "%s/%s", directory, tz) >= static_cast<int>(sizeof path)) return;
    tz = path;
  }
  struct stat st {};
  if (stat(tz, &st) != 0 || S_ISREG(st.st_mode)) return;
  char zone[kPathSize];
  std::snprintf(zone, sizeof zone, "%s", tz);  // the environment changes below
  (void)putenv(const_cast<char*>("TZ=UTC0"));
  tzset();
  TraceError(TRACE_COMPONENT_CORE, "Time zone file %s is not a regular file; using UTC", zone);
}

// Makes `file` (none after a failed open with `error`) the log, closing the
// previous one. On failure the process runs on with no log; only the system
// log hears about it.
void InstallLog(UniqueFile file, int error, const char* path, const char* identity) {
  const bool opened = static_cast<bool>(file);
  {
    LogLockGuard guard(LogLockGuard::Side::kExclusive);
    std::swap(LogFile(), file);
  }
  file.reset();  // the previous log, closed outside the lock
  if (!opened) {
    syslog(LOG_ERR, "vantor: Unable to open log file %s, errno = %d", path != nullptr ? path : "(null)", error);
  }
  if (identity != nullptr) openlog(identity, LOG_PID | LOG_NDELAY, LOG_DAEMON);
  UseUtcUnlessTheZoneFileIsRegular();
  tzset();
  if (!gTrace.exitHandlerRegistered.exchange(true)) (void)std::atexit(TraceCloseLogFile);
}

}  // namespace

// Opening again replaces the current log. The log is never opened through a
// final symbolic link, never blocks on a FIFO, and must be a regular file;
// anything else is refused like a failed open, with a second system-log line
// naming the reason.
void TraceOpenLogFile(const char* path, const char* identity) {
  OpenedFile opened;
  opened.error = EINVAL;
  if (path != nullptr) {
    opened = OpenRegular(kCurrentDirectory, path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kLogMode);
    if (opened.type != 0) {
      syslog(LOG_ERR, "vantor: Refusing log file %s: not a regular file", path);
    } else if (opened.error == ELOOP) {
      syslog(LOG_ERR, "vantor: Refusing log file %s: a symbolic link", path);
    } else if (opened.modeError != 0) {
      syslog(LOG_ERR, "vantor: Cannot set the mode of log file %s, errno = %d", path, opened.modeError);
    }
  }
  InstallLog(std::move(opened.file), opened.error, path, identity);
}

void TraceOpenToolLog() { TraceOpenLogFile(kToolLogPath, nullptr); }

void TraceOpenToolLogOnStandardOutput() {
  // A duplicate shares descriptor 1's file offset, so log lines and the
  // result line follow each other in a regular file instead of overwriting.
  UniqueFile duplicate(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
  const int error = duplicate ? 0 : errno;
  InstallLog(std::move(duplicate), error, kToolLogPath, nullptr);
}

void TraceCloseLogFile() {
  UniqueFile file;
  {
    LogLockGuard guard(LogLockGuard::Side::kExclusive);
    std::swap(LogFile(), file);
  }
}  // closed here, outside the lock

void TraceSetLevel(std::uint32_t level) { gTrace.level.store(level, std::memory_order_relaxed); }

void TraceSetComponentFilter(std::uint32_t component) {
  gTrace.componentFilter.store(component, std::memory_order_relaxed);
}
