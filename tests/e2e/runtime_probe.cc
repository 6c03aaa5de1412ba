// runtime_probe: calls the runtime's operations from the command line, so that
// transcripts (tests/cases/runtime_*.t) state their contracts as data: the
// status, every out value and what a buffer holds around them, the log line,
// and what the file system holds afterwards. Run it only inside the
// transcripts' sandbox.
//
//   runtime_probe OP ARG... [, OP ARG...]...
//
// The operations run in turn in one process. They share one file descriptor
// (set by the opens), one directory stream, one string buffer (set by
// "buffer"), a row of events and one lock of each kind. Each prints
// "OP STATUS=0x........" (0 for an operation without a status) and its out
// values; what an operation takes is written beside its name in Probe::Run.
// Words:
//   null              a null pointer
//   bad               a UTF-16 path holding a lone surrogate
//   u:0041,D800       UTF-16 units in hex; any other text word is one unit per byte
//   @L,M:TEXT         a descriptor with those byte lengths over TEXT (a word as
//                     above; "@2,2:null" has no buffer)
//   x:c3a9            bytes in hex, where the operation takes bytes
// A buffer or out text shows printable ASCII as it is, a zero as \0, anything
// else as \uXXXX or \xNN, the filling of a fresh buffer as #, and | after its
// last byte, to show what lies past MaximumLength. Failures are logged to the
// tool's log, /var/log/vantorctl.log.

#include <fcntl.h>
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "runtime/file_extra.h"
#include "runtime/pidfile.h"
#include "runtime/pidfile_writer.h"
#include "runtime/pool.h"
#include "runtime/sync_extra.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"
#include "tests/support/alloc_fault.h"

namespace {

constexpr WCHAR kFill = u'#';
constexpr std::size_t kSpare = 2;  // units shown past a buffer's MaximumLength

std::uint64_t Number(const char* word) { return std::strtoull(word, nullptr, 0); }
const char* Text(const char* word) { return std::strcmp(word, "null") == 0 ? nullptr : word; }

std::string Hex(const char* format, unsigned value) {
  char text[16];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

// Units or bytes as text; a run of more than 8 equal ones shows as {X*count}.
template <typename T>
std::string Show(const T* items, std::size_t count) {
  std::string out;
  for (std::size_t i = 0, run = 1; i < count; i += run) {
    const auto c = static_cast<std::make_unsigned_t<T>>(items[i]);
    for (run = 1; i + run < count && items[i + run] == items[i];) ++run;
    const std::string shown = c == 0                            ? "\\0"
                              : c >= 0x20 && c < 0x7F && c != '\\' ? std::string(1, static_cast<char>(c))
                              : sizeof(T) == 1               ? Hex("\\x%02X", c)
                                                             : Hex("\\u%04X", c);
    if (run > 8) {
      out += "{" + shown + "*" + std::to_string(run) + "}";
    } else {
      run = 1;
      out += shown;
    }
  }
  return out;
}
std::string ShowUnits(const WCHAR* units, std::size_t count) { return Show(units, count); }
std::string ShowBytes(const char* bytes, std::size_t count) { return Show(bytes, count); }

template <class S> std::string Lengths(const S& s) {
  return " " + std::to_string(s.Length) + "/" + std::to_string(s.MaximumLength);
}
template <class S> const char* NotFreed(const S& s) { return s.Buffer || s.Length || s.MaximumLength ? " not freed" : ""; }

// A word as UTF-16: the descriptor an operation takes and the units behind it,
// which stay terminated one unit past their end.
class Units {
 public:
  explicit Units(std::string_view word) {
    bool lengths = false;
    if (word.size() > 1 && word[0] == '@') {
      const std::size_t colon = word.find(':');
      explicit_ = UNICODE_STRING{static_cast<std::uint16_t>(Number(word.data() + 1)),
                                 static_cast<std::uint16_t>(Number(word.data() + word.find(',') + 1)), nullptr};
      word.remove_prefix(colon + 1);
      lengths = true;
    }
    null_ = word == "null";
    if (word == "bad") {
      units_ = {u'/', 0xD800};
    } else if (word.starts_with("u:")) {
      for (std::size_t at = 2; at < word.size(); at = word.find(',', at) + 1) {
        units_.push_back(static_cast<WCHAR>(std::strtoul(word.data() + at, nullptr, 16)));
        if (word.find(',', at) == std::string_view::npos) break;
      }
    } else if (!null_) {
      for (const char c : word) units_.push_back(static_cast<unsigned char>(c));
    }
    const auto bytes = static_cast<std::uint16_t>(units_.size() * 2);
    units_.push_back(0);  // before the descriptor takes the address, which the push may move
    descriptor_ = lengths ? explicit_ : UNICODE_STRING{bytes, bytes, nullptr};
    descriptor_.Buffer = null_ ? nullptr : units_.data();
    null_ = null_ && !lengths;
  }
  Units(const Units&) = delete;
  Units& operator=(const Units&) = delete;
  const UNICODE_STRING* get() const { return null_ ? nullptr : &descriptor_; }
  const WCHAR* text() const { return null_ ? nullptr : units_.data(); }

 private:
  std::u16string units_;
  UNICODE_STRING explicit_{};
  UNICODE_STRING descriptor_{};
  bool null_ = false;
};

std::string Bytes(std::string_view word) {
  if (!word.starts_with("x:")) return std::string(word);
  std::string out;
  for (std::size_t at = 2; at + 1 < word.size(); at += 2) {
    out += static_cast<char>(std::strtoul(std::string(word.substr(at, 2)).c_str(), nullptr, 16));
  }
  return out;
}

std::string Utf8(const UNICODE_STRING& s) {
  Utf8String text;
  return NT_SUCCESS(text.Convert(&s)) ? text.c_str() : "<not UTF-8>";
}

// What the 16-byte header in front of a pool block records.
std::string PoolHeader(const void* block) {
  struct { std::uint64_t size; std::uint32_t tagIndex; char tag[4]; } header;
  std::memcpy(&header, static_cast<const char*>(block) - sizeof header, sizeof header);
  return " block " + std::to_string(header.size) + " " + std::to_string(header.tagIndex) + " " +
         std::string(header.tag, strnlen(header.tag, 4)) + (reinterpret_cast<std::uintptr_t>(block) % 16 ? " unaligned" : " aligned");
}

// A question asked on this thread, or on another one when `other` is set.
template <typename F>
bool Elsewhere(bool other, F question) {
  bool answer = false;
  if (!other) return question();
  std::thread([&] { answer = question(); }).join();
  return answer;
}

struct Probe {
  ~Probe() {
    if (directory != nullptr) (void)CloseDirectory(directory);
  }
  FileHandle file = kInvalidFile;
  FileHandle directoryFile = kCurrentDirectory;
  DIR* directory = nullptr;
  std::u16string storage;  // the buffer behind `string`
  std::vector<TvEvent> events;
  OwnedMutex mutex{STATUS_NOT_INITIALIZED_SYNC, nullptr};
  RecursiveLock recursive{STATUS_NOT_INITIALIZED_SYNC, nullptr};
  RwLock rw{};
  UNICODE_STRING string{};
  std::int64_t heapMark = 0;
  OwnedAnsiString resolved;

  std::string ShowString() const {
    return Lengths(string) + " " + ShowUnits(storage.data(), string.MaximumLength / 2) + "|" +
           ShowUnits(storage.data() + string.MaximumLength / 2, kSpare);
  }

  // Runs one operation (name and arguments); false for an unknown one.
  bool Run(const std::string_view op, const std::vector<const char*>& a) {
    const auto arg = [&](std::size_t i) { return i < a.size() ? a[i] : "null"; };
    const std::string_view what = arg(0);  // the lock and PID-file words' action
    const auto options = [&](std::size_t i) { return static_cast<std::uint32_t>(Number(arg(i))); };
    NTSTATUS status = STATUS_SUCCESS;
    std::string out;
    std::uint64_t v[3] = {};
    // ---- files
    if (op == "open") {
      status = OpenFile(Text(arg(0)), options(1), options(2), &file);
    } else if (op == "open-regular") {
      status = OpenRegularFile(Text(arg(0)), options(1), options(2), &file);
    } else if (op == "open-u") {
      status = OpenFileUnicode(Units(arg(0)).get(), options(1), options(2), &file);
    } else if (op == "open-regular-u") {
      status = OpenRegularFileUnicode(Units(arg(0)).get(), options(1), options(2), &file);
    } else if (op == "open-at") {
      status = OpenFileAt(directoryFile, Text(arg(0)), options(1), options(2), &file);
    } else if (op == "open-owner") {  // the owning form, with the errno behind a failure
      FileOpen opened = a.size() > 3 ? OpenRegularFile(Text(arg(0)), options(1), options(2))
                                     : OpenFile(Text(arg(0)), options(1), options(2));
      status = opened.status;
      out = " error " + std::to_string(opened.error);
      file = opened.file.release();
    } else if (op == "open-no-out") {
      status = std::strcmp(arg(0), "regular") == 0 ? OpenRegularFile("/", 1, 0, nullptr)
                                                     : OpenFileAt(kCurrentDirectory, "/", 1, 0, nullptr);
    } else if (op == "flags") {  // what the open asked of the descriptor
      const int descriptorFlags = fcntl(file, F_GETFD), statusFlags = fcntl(file, F_GETFL);
      status = descriptorFlags < 0 || statusFlags < 0 ? STATUS_UNSUCCESSFUL : STATUS_SUCCESS;
      out = std::string((descriptorFlags & FD_CLOEXEC) != 0 ? " cloexec" : " inherited") +
            ((statusFlags & O_ACCMODE) == O_RDONLY ? " read" : (statusFlags & O_ACCMODE) == O_WRONLY ? " write" : " both");
    } else if (op == "close") {
      status = CloseFile(file);
    } else if (op == "write") {
      std::uint32_t count = 0;
      status = WriteFile(file, arg(0), static_cast<std::uint32_t>(std::strlen(arg(0))), &count);
      out = " " + std::to_string(count);
    } else if (op == "read") {
      char buffer[256] = {};
      std::uint32_t count = 0;
      status = ReadFile(file, buffer, std::min<std::uint32_t>(options(0), sizeof buffer), &count);
      out = " " + std::to_string(count) + " '" + std::string(buffer, count) + "'";
    } else if (op == "pread") {  // COUNT OFFSET
      char buffer[256] = {};
      std::uint32_t count = 77;
      const std::uint64_t offset = Number(arg(1));
      status = ReadFileAtOffset(file, buffer, std::min<std::uint32_t>(options(0), sizeof buffer), &count, &offset);
      out = " " + std::to_string(count) + " '" + ShowBytes(buffer, std::min<std::size_t>(count, sizeof buffer)) + "'";
    } else if (op == "pwrite") {  // TEXT OFFSET
      std::uint32_t written = 77;
      status = WriteFileAtOffset(file, arg(0), static_cast<std::uint32_t>(std::strlen(arg(0))), Number(arg(1)), &written);
      out = " " + std::to_string(written);
    } else if (op == "rename") {
      status = RenameFile(Units(arg(0)).get(), Units(arg(1)).get(), a.size() > 2);
    } else if (op == "delete") {
      status = DeleteFileUnicode(Units(arg(0)).get());
    } else if (op == "delete-at") {
      status = DeleteFileUnicodeAt(directoryFile, Units(arg(0)).get());
    } else if (op == "delete-at-a") {
      status = DeleteFileAt(directoryFile, Text(arg(0)));
    } else if (op == "safe-delete") {
      status = SafeDeleteFile(Units(arg(0)).get());
    } else if (op == "length") {
      status = GetFileLengthAndAllocation(file, &v[0], a.empty() ? &v[1] : nullptr);
      out = " " + std::to_string(v[0]) + (a.empty() ? " allocated " + std::to_string(v[1]) : "");
    } else if (op == "set-length") {
      status = SetFileLength(file, static_cast<std::int64_t>(Number(arg(0))));
    } else if (op == "seek") {
      status = SetFileOffset(file, static_cast<std::int64_t>(Number(arg(0))), options(1));
      if (NT_SUCCESS(status)) status = GetFileOffset(file, &v[0]);
      out = " " + std::to_string(v[0]);
    } else if (op == "mkdir") {
      status = CreateDirectory(Units(arg(0)).get(), a.size() > 1);
    } else if (op == "mode") {
      struct stat st {};
      status = stat(arg(0), &st) == 0 ? STATUS_SUCCESS : STATUS_UNSUCCESSFUL;
      out = Hex(" %04o", static_cast<unsigned>(st.st_mode & 07777));
    } else if (op == "opendir" || op == "opendir-a") {
      if (directory != nullptr) (void)CloseDirectory(std::exchange(directory, nullptr));
      status = op == "opendir" ? OpenDirectoryUnicode(Units(arg(0)).get(), a.size() > 1 ? nullptr : &directory)
                               : OpenDirectory(Text(arg(0)), a.size() > 1 ? nullptr : &directory);
    } else if (op == "dirfd") {
      status = GetDirectoryFd(directory, a.empty() ? &directoryFile : nullptr);
    } else if (op == "list") {  // every entry left (matching the pattern when given), sorted
      std::vector<std::string> names;
      const Units pattern(arg(0));
      for (;;) {
        UNICODE_STRING name{7, 7, nullptr};
        status = ReadDirectoryEntryMatching(directory, pattern.get(), a.size() > 1 ? nullptr : &name);
        if (status != STATUS_SUCCESS) {
          if (name.Length != 7) out += " cleared " + std::to_string(name.Length + name.MaximumLength);
          break;
        }
        names.push_back(Utf8(name) + "/" + std::to_string(name.MaximumLength - name.Length));
        RtlFreeUnicodeString(&name);
      }
      std::sort(names.begin(), names.end());
      for (const std::string& n : names) out += " " + n;
    } else if (op == "closedir") {
      status = CloseDirectory(a.empty() ? directory : nullptr);
      directory = nullptr;
    } else if (op == "times" || op == "times-u") {
      std::uint64_t* wanted[3] = {&v[0], &v[1], &v[2]};
      for (std::size_t i = 0; i < 3; ++i) {
        if (std::strchr(a.size() > 1 ? arg(1) : "amc", "amc"[i]) == nullptr) wanted[i] = nullptr;
      }
      status = op == "times" ? GetFileTimes(Text(arg(0)), wanted[0], wanted[1], wanted[2])
                             : GetFileTimesUnicode(Units(arg(0)).get(), wanted[0], wanted[1], wanted[2]);
      // The change time cannot be set: shown as whether it was written.
      out = " a " + std::to_string(v[0]) + " m " + std::to_string(v[1]) + (v[2] != 0 ? " c" : "");
    } else if (op == "resolve") {  // into the result of the previous resolve, which it must free
      OwnedAnsiString& result = resolved;
      ANSI_STRING path{};
      if (a.size() > 1) {  // a counted path without a terminator: the first N bytes of the word
        path = ANSI_STRING{static_cast<std::uint16_t>(Number(arg(1))), static_cast<std::uint16_t>(Number(arg(1))),
                           const_cast<char*>(arg(0))};
      } else if (Text(arg(0)) != nullptr) {
        RtlInitAnsiString(&path, arg(0));
      }
      status = ResolvePath(Text(arg(0)) ? &path : nullptr, result.ptr());
      out = " '" + std::string(View(result.get())) + "'" + Lengths(result.get());
    } else if (op == "expand") {
      UNICODE_STRING result{7, 7, nullptr};  // lengths without a buffer: must come back empty
      status = ExpandPath(Units(arg(0)).get(), &result);
      if (a.size() > 1) status = ExpandPath(Units(arg(1)).get(), &result);  // over a result that holds a path
      const bool stale = result.Buffer == nullptr && result.Length + result.MaximumLength != 0;
      out = " '" + (result.Buffer != nullptr ? Utf8(result) : "") + "'" + (stale ? " stale" : "");
      RtlFreeUnicodeString(&result);
      RtlFreeUnicodeString(nullptr);  // a null string is nothing to free
      RtlFreeAnsiString(nullptr);
      out += NotFreed(result);
      // ---- counted strings
    } else if (op == "buffer") {  // MAX TEXT: a buffer of MAX bytes, filled, holding TEXT
      const Units text(arg(1));
      storage.assign(options(0) / 2 + kSpare, kFill);
      std::copy_n(text.text(), text.get()->Length / 2, storage.begin());
      string = UNICODE_STRING{text.get()->Length, static_cast<std::uint16_t>(options(0)), storage.data()};
      out = ShowString();
    } else if (op == "append") {
      const Units text(arg(0));
      status = RtlAppendUnicodeToString(&string, text.text());
      out = ShowString();
    } else if (op == "append-s") {
      const Units text(arg(0));
      status = RtlAppendUnicodeStringToString(&string, text.get());
      out = ShowString();
    } else if (op == "copy") {
      const Units text(arg(0));
      RtlCopyUnicodeString(&string, text.get());
      out = ShowString();
    } else if (op == "dup") {  // FLAGS SOURCE
      const Units source(arg(1));
      UNICODE_STRING copy{2, 2, storage.data()};
      status = RtlDuplicateUnicodeString(options(0), source.get(), a.size() > 2 ? nullptr : &copy);
      out = a.size() > 2 ? "" : Lengths(copy) + (copy.Buffer == nullptr ? " no buffer"
                                                    : " " + ShowUnits(copy.Buffer, copy.MaximumLength / 2) +
                                                          PoolHeader(copy.Buffer));
      if (copy.Buffer != storage.data()) RtlFreeUnicodeString(&copy);
    } else if (op == "compare") {
      const Units first(arg(0)), second(arg(1));
      out = " " + std::to_string(RtlCompareUnicodeString(first.get(), second.get(), a.size() > 2));
    } else if (op == "init-ansi") {
      ANSI_STRING s{9, 9, nullptr};
      const std::string text = std::string(Number(arg(0)), 'a');
      RtlInitAnsiString(&s, Text(arg(0)) ? text.c_str() : nullptr);
      out = " " + std::to_string(s.Length) + "/" + std::to_string(s.MaximumLength) + (s.Buffer ? " buffer" : " null");
    } else if (op == "object") {  // CAPACITY: a string object
      StringObject s(TvAllocateUnicodeString(options(0)));
      out = !s ? " null"
               : Lengths(*s.get()) + (s.get()->Buffer == reinterpret_cast<WCHAR*>(s.get() + 1) ? " inline" : " apart") +
                     PoolHeader(s.get());
    } else if (op == "wide-length") {
      out = " " + std::to_string(TvWideStringLength(Units(arg(0)).text()));
    } else if (op == "add16" || op == "add32") {
      std::uint16_t r16 = 7;
      std::uint32_t r32 = 7;
      status = op == "add16" ? TvCheckedAdd16(static_cast<std::uint16_t>(options(0)),
                                              static_cast<std::uint16_t>(options(1)), &r16, Text(arg(2)))
                             : TvCheckedAdd32(options(0), options(1), &r32, Text(arg(2)));
      out = " " + std::to_string(op == "add16" ? r16 : r32);
    } else if (op == "heap") {  // mark | held: the bytes the C heap holds more than at the mark. A
      // leak shows only with the per-thread cache off (GLIBC_TUNABLES=glibc.malloc.tcache_count=0).
      const auto now = static_cast<std::int64_t>(mallinfo2().uordblks);
      if (std::string_view(arg(0)) == "held") out = " held " + std::to_string(now - heapMark);
      heapMark = now;
    } else if (op == "fail-alloc") {  // N: the pool's Nth allocation from here on fails
      vt_test::FailNthAllocation(static_cast<long>(Number(arg(0))));
    } else if (op == "pool") {  // SIZE TAG: a block in an owner, which frees it when it is given another
      PoolBuffer block(Number(arg(0)), options(1));
      out = !block ? " null" : PoolHeader(block.get());
      block = PoolBuffer(0, 0);
      // ---- synchronisation objects; "... other" asks from another thread
    } else if (op == "events") {  // COUNT TYPE INITIAL
      events.assign(options(0), TvEvent{});
      for (TvEvent& e : events) {
        if (const NTSTATUS s = TvInitializeEventEx(&e, options(1), options(2)); !NT_SUCCESS(s)) status = s;
      }
    } else if (op == "set" || op == "reset" || op == "signalled") {  // INDEX
      TvEvent* e = &events.at(options(0));
      op == "set" ? TvSetEvent(e) : op == "reset" ? TvResetEvent(e) : (void)(out = TvReadEvent(e) ? " set" : " clear");
    } else if (op == "wait") {  // TIMEOUT [COUNT | one INDEX]: the index signalled, or the status
      std::vector<TvEvent*> all;
      for (TvEvent& e : events) all.push_back(&e);
      status = a.size() > 2 ? TvWaitForEvent(&events.at(options(2)), static_cast<std::int32_t>(Number(arg(0))))
                            : TvWaitForMultipleEvents(a.size() > 1 && all.size() < options(1) ? nullptr : all.data(),
                                                      a.size() > 1 ? options(1) : static_cast<std::uint32_t>(all.size()),
                                                      static_cast<std::int32_t>(Number(arg(0))));
    } else if (op == "close-events") {
      for (TvEvent& e : events) TvCloseEvent(&e);
      out = " descriptor " + std::to_string(events.empty() ? 0 : events[0].Descriptor);
    } else if (op == "mutex") {  // init | acquire | release | held [other] | delete
      if (what == "init") status = InitializeOwnedMutex(&mutex);
      if (what == "acquire") AcquireOwnedMutex(&mutex);
      if (what == "release") ReleaseOwnedMutex(&mutex);
      if (what == "delete") DeleteOwnedMutex(&mutex);
      if (what == "held") out = Elsewhere(a.size() > 1, [&] { return IsOwnedMutexHeld(&mutex); }) ? " held" : " not held";
      out += Hex(" state %08X", static_cast<unsigned>(mutex.State)) + (mutex.Block ? PoolHeader(mutex.Block) : " no block");
    } else if (op == "recursive") {  // init | acquire | release | owned [other] | delete
      if (what == "init") status = InitializeRecursiveLock(&recursive);
      if (what == "acquire") out = " depth " + std::to_string(AcquireRecursiveLock(&recursive));
      if (what == "release") ReleaseRecursiveLock(&recursive);
      if (what == "delete") DeleteRecursiveLock(&recursive);
      if (what == "owned") out = Elsewhere(a.size() > 1, [&] { return IsRecursiveLockOwned(&recursive); }) ? " owned" : " not owned";
      out += Hex(" state %08X", static_cast<unsigned>(recursive.State)) +
             (recursive.Block ? PoolHeader(recursive.Block) : " no block");
    } else if (op == "rw") {  // prepare | init | shared | exclusive | release | owned [other] | readable | delete
      if (what == "prepare") PrepareRwLock(&rw);
      if (what == "init") status = InitializeRwLock(&rw);
      if (what == "shared") AcquireRwLockShared(&rw);
      if (what == "exclusive") AcquireRwLockExclusive(&rw);
      if (what == "release") ReleaseRwLock(&rw);
      if (what == "delete") DeleteRwLock(&rw);
      if (what == "owned") out = Elsewhere(a.size() > 1, [&] { return IsRwLockOwnedExclusive(&rw); }) ? " owned" : " not owned";
      auto readable = [&] { return pthread_rwlock_tryrdlock(&rw.Lock) == 0 && pthread_rwlock_unlock(&rw.Lock) == 0; };
      if (what == "readable") out = Elsewhere(true, readable) ? " readable" : " busy";  // another thread, not waiting
      out += Hex(" state %08X", static_cast<unsigned>(rw.State));
      // ---- the PID file: both sides
    } else if (op == "pidfile") {  // create | acquire | remove | read
      if (what == "create") status = CreatePidFile();
      if (what == "acquire") status = AcquirePidFile();
      if (what == "acquire") out = PidFileExisted() ? " existed" : " new";
      if (what == "remove") RemovePidFile();
      if (what == "read") {
        const std::int32_t pid = ReadPidFile();
        out = pid == getpid() ? " self" : " " + std::to_string(pid);
      }
    } else if (op == "pause") {  // until a signal ends the process (a PID file's holder in the background)
      std::fflush(stdout);
      ::pause();
      // ---- the log's formatter
    } else if (op == "format" || op == "line") {  // SIZE FORMAT ARG...: into a buffer of SIZE bytes
      // Arguments: a number, f:REAL, s:TEXT (char*), w:WORD (UTF-16 text), Z:TEXT (ANSI_STRING*),
      // wZ:WORD (UNICODE_STRING*), guid (GUID*), null, n (an int the format may not write).
      static const GUID guid{0x0123ABCD, 0xEF01, 0x2345, {0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x01, 0x23, 0x45}};
      static int sentinel = 1234;
      std::vector<std::unique_ptr<Units>> units;
      std::vector<ANSI_STRING> ansi(a.size());
      std::vector<TraceArg> args;
      for (std::size_t i = 2; i < a.size(); ++i) {
        const std::string_view w = a[i];
        if (w.starts_with("f:")) {
          args.push_back(PackTraceArg(std::strtod(a[i] + 2, nullptr)));
        } else if (w.starts_with("s:")) {
          args.push_back(PackTraceArg(a[i] + 2));
        } else if (w.starts_with("w:") || w.starts_with("wZ:")) {
          units.push_back(std::make_unique<Units>(w.substr(w.find(':') + 1)));
          args.push_back(w[1] == 'Z' ? PackTraceArg(units.back()->get()) : PackTraceArg(units.back()->text()));
        } else if (w.starts_with("Z:")) {  // Z:TEXT or Z:L,M:TEXT
          const char* text = a[i] + 2;
          ansi[i] = ANSI_STRING{static_cast<std::uint16_t>(std::strlen(text)), 0, const_cast<char*>(text)};
          if (const char* colon = std::strchr(text, ':'); colon != nullptr && std::isdigit(text[0])) {
            ansi[i] = ANSI_STRING{static_cast<std::uint16_t>(Number(text)),
                                  static_cast<std::uint16_t>(Number(std::strchr(text, ',') + 1)),
                                  std::strcmp(colon + 1, "null") ? const_cast<char*>(colon + 1) : nullptr};
          }
          args.push_back(PackTraceArg(&ansi[i]));
        } else {
          args.push_back(w == "guid" ? PackTraceArg(&guid) : w == "null" ? PackTraceArg(nullptr)
                         : w == "n"  ? PackTraceArg(&sentinel) : PackTraceArg(std::strtoull(a[i], nullptr, 0)));
        }
      }
      std::string buffer(options(0) + kSpare, '#');
      const std::size_t n = op == "format"
                                ? TraceFormatMessage(buffer.data(), options(0), Text(arg(1)), args)
                                : TraceFormatLine(std::strcmp(arg(0), "null") ? buffer.data() : nullptr, options(0),
                                                  TraceRecord{2, 7, 0, 0, 42}, Text(arg(1)), args);
      out = " " + std::to_string(n) + " " + ShowBytes(buffer.data(), options(0)) + "|" +
            ShowBytes(buffer.data() + options(0), kSpare) + (sentinel != 1234 ? " written" : "");
      // ---- conversions
    } else if (op == "to-utf8n") {  // ROOM UNITS [BYTES]: the checked encoder, with the source's byte count
      const Units source(arg(1));
      std::string dest(options(0) + kSpare, '#');
      std::uint32_t produced = 77;
      const std::uint32_t bytes = a.size() > 2 ? options(2) : source.get() ? source.get()->Length : 0;
      status = RtlUnicodeToUTF8N(std::strcmp(arg(0), "null") ? dest.data() : nullptr, options(0),
                                 a.size() > 3 ? nullptr : &produced, source.text(), bytes);
      out = " " + std::to_string(produced) + " " + ShowBytes(dest.data(), options(0)) + "|" +
            ShowBytes(dest.data() + options(0), kSpare);
    } else if (op == "to-utf8") {  // UNITS: a new terminated copy
      char* text = nullptr;
      std::size_t length = 99;
      status = TvUnicodeStringToUtf8(&text, &length, Units(arg(0)).get());
      out = " " + std::to_string(length) + (text ? " " + ShowBytes(text, length + 1) + PoolHeader(text) : " null");
      TvFreePoolWithTag(text, kTagUtf8Buffer);
    } else if (op == "from-utf8") {  // BYTES [COUNT]: the first COUNT bytes, the others left past the text's end
      UNICODE_STRING result{2, 2, nullptr};
      status = TvUtf8ToUnicodeString(std::string_view(Bytes(arg(0))).substr(0, a.size() > 1 ? options(1) : ~0U), &result);
      out = Lengths(result) + (result.Buffer ? " " + ShowUnits(result.Buffer, result.MaximumLength / 2) +
                                                   PoolHeader(result.Buffer) : " null");
      RtlFreeUnicodeString(&result);
    } else if (op == "to-ansi") {  // UNITS [ROOM]: allocated, or into a buffer of ROOM bytes
      std::string room(a.size() > 1 ? options(1) + kSpare : 0, '#');
      ANSI_STRING dest{3, static_cast<std::uint16_t>(a.size() > 1 ? options(1) : 4),
                       a.size() > 1 ? room.data() : const_cast<char*>("abc")};
      status = RtlUnicodeStringToAnsiString(&dest, Units(arg(0)).get(), a.size() < 2);
      out = " " + std::to_string(dest.Length) + "/" + std::to_string(dest.MaximumLength) +
            (a.size() > 1 ? " " + ShowBytes(room.data(), options(1)) + "|" + ShowBytes(room.data() + options(1), kSpare)
             : NT_SUCCESS(status) ? " " + ShowBytes(dest.Buffer, dest.MaximumLength) + PoolHeader(dest.Buffer)
             : dest.Buffer ? " unchanged"
                           : " null");
      if (a.size() < 2 && NT_SUCCESS(status)) {
        RtlFreeAnsiString(&dest);
        out += NotFreed(dest);
      }
    } else {
      return false;
    }
    std::printf("%.*s STATUS=0x%08X%s\n", static_cast<int>(op.size()), op.data(), static_cast<unsigned>(status),
                out.c_str());
    return true;
  }
};

}  // namespace

int main(int argc, char** argv) {
  static char output[BUFSIZ];  // not from the heap, which "heap" measures
  (void)std::setvbuf(stdout, output, _IOFBF, sizeof output);
  TraceOpenLogFile("/var/log/vantorctl.log", nullptr);
  Probe probe;
  for (int i = 1; i < argc;) {
    const std::string_view op = argv[i++];
    std::vector<const char*> args;
    while (i < argc && std::strcmp(argv[i], ",") != 0) args.push_back(argv[i++]);
    i += i < argc ? 1 : 0;
    if (!probe.Run(op, args)) {
      std::fprintf(stderr, "runtime_probe: unknown operation '%.*s'\n", static_cast<int>(op.size()), op.data());
      return 2;
    }
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
