// The store's journalled write-back and its recovery. See journal.h for the
// contracts and journal_format.h for the bytes.
#include "store/journal.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "runtime/crc32c.h"
#include "runtime/file.h"
#include "runtime/little_endian.h"
#include "runtime/posix_error.h"
#include "runtime/trace.h"

namespace {

namespace J = store_journal;
namespace L = store_layout;

constexpr std::uint32_t kComponent = TRACE_COMPONENT_CORE;
constexpr std::uint32_t kImageBytes = static_cast<std::uint32_t>(L::kImageSize);
constexpr std::uint32_t kJournalBytes = static_cast<std::uint32_t>(J::kJournalSize);

// Signals that end the process; held off while a write-back is under way.
constexpr int kTerminationSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

// Blocks the termination signals in the calling thread; restores the previous
// mask (not merely unblocking) on destruction, so signals the caller had blocked
// stay blocked.
class TerminationSignalBlock {
 public:
  TerminationSignalBlock() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kTerminationSignals) {
      sigaddset(&set, signal);
    }
    blocked_ = pthread_sigmask(SIG_BLOCK, &set, &previous_) == 0;
  }
  ~TerminationSignalBlock() {
    if (blocked_) {
      (void)pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
  }
  TerminationSignalBlock(const TerminationSignalBlock&) = delete;
  TerminationSignalBlock& operator=(const TerminationSignalBlock&) = delete;

 private:
  sigset_t previous_{};
  bool blocked_ = false;
};

std::uint32_t RecordChecksum(JournalRecord record) { return Crc32c(record.first(J::kChecksumOffset)); }

std::span<const std::uint8_t, L::kImageSize> Replaced(JournalRecord record) {
  return record.subspan<J::kReplacedOffset, L::kImageSize>();
}
std::span<const std::uint8_t, L::kImageSize> Intended(JournalRecord record) {
  return record.subspan<J::kIntendedOffset, L::kImageSize>();
}

// fsync of a directory, so that an entry made or removed in it is on disk.
[[nodiscard]] NTSTATUS FlushDirectory(const char* directory) {
  const FileOpen dir = OpenFile(directory, FILE_ACCESS_READ, OPEN_DIRECTORY);
  if (NT_SUCCESS(dir.status) && fsync(dir.file.get()) != 0) {
    return PosixError(kComponent, STATUS_UNSUCCESSFUL, errno, "Failed to flush the directory %s: %!ERRNO!", directory);
  }
  return dir.status;
}

// Removes the journal; a failure is logged and changes nothing else: a journal
// left behind is discarded or finished, to the same image, by the next run.
void RemoveJournal(const StoreFiles& files) {
  if (unlink(files.journalPath) != 0) {
    TraceError(kComponent, "Failed to remove the store journal %s: %!ERRNO!", files.journalPath, errno);
  }
}

// Creates the journal and makes the record durable in it, directory entry
// included. On failure nothing of it is left (as far as unlink can tell).
[[nodiscard]] NTSTATUS WriteJournal(const StoreFiles& files, JournalRecord record) {
  FileOpen opened = OpenRegularFile(files.journalPath, FILE_ACCESS_WRITE, OPEN_CREATE | OPEN_EXCLUSIVE);
  if (!NT_SUCCESS(opened.status)) {
    TraceError(kComponent, "Failed to create the store journal %s: %!STATUS!", files.journalPath, opened.status);
    return opened.status;
  }
  UniqueFile& journal = opened.file;
  NTSTATUS status = WriteFileAtOffset(journal.get(), record.data(), kJournalBytes, 0);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed write to the store journal: %!STATUS!", status);
  } else if (const int error = fsync(journal.get()) != 0 ? errno : journal.Close(); error != 0) {
    status = PosixError(kComponent, STATUS_UNSUCCESSFUL, error, "Failed to flush the store journal %s: %!ERRNO!",
                        files.journalPath);
  } else {
    status = FlushDirectory(files.directory);
  }
  if (!NT_SUCCESS(status)) {
    RemoveJournal(files);
  }
  return status;
}

// How far an in-place write got before it failed.
struct InPlaceProgress {
  std::uint32_t written = 0;  // bytes of the image written from offset 0
  bool cut = false;           // a longer file was cut to the image size
};

// Writes the image at offset 0, cuts a file that was longer than the image
// (`fileLength`) to the image size, and fsyncs.
[[nodiscard]] NTSTATUS WriteInPlace(FileHandle store, std::span<const std::uint8_t, L::kImageSize> image,
                                    std::uint64_t fileLength, InPlaceProgress* progress) {
  NTSTATUS status = WriteFileAtOffset(store, image.data(), kImageBytes, 0, &progress->written);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed write to store: %!STATUS!", status);
    return status;
  }
  if (fileLength > L::kImageSize) {
    if (ftruncate(store, static_cast<off_t>(L::kImageSize)) != 0) {
      TraceError(kComponent, "Failed to truncate the store: %!ERRNO!", errno);
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    progress->cut = true;
  }
  if (fsync(store) != 0) {
    TraceError(kComponent, "Failed to flush file: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  return STATUS_SUCCESS;
}

// Puts back what a failed in-place write changed: the first bytes of the
// replaced image, no more than the failed write put in, so whatever stopped it
// (a file-size limit, a full disk) lets these through; then the old length when
// the file was shorter, and an fsync. False when that fails or cannot be done (a
// longer file already cut: its tail is not in the journal).
[[nodiscard]] bool RestoreSimpleStore(FileHandle store, JournalRecord record, std::uint64_t replacedLength,
                                      const InPlaceProgress& progress) {
  if (progress.cut) {
    return false;
  }
  const auto length = static_cast<std::uint32_t>(std::min<std::uint64_t>(progress.written, replacedLength));
  return (length == 0 || NT_SUCCESS(WriteFileAtOffset(store, Replaced(record).data(), length, 0))) &&
         (replacedLength >= progress.written || ftruncate(store, static_cast<off_t>(replacedLength)) == 0) &&
         fsync(store) == 0;
}

// Reads up to `buffer.size()` bytes from offset 0; *count is what was there.
[[nodiscard]] NTSTATUS ReadFromStart(FileHandle file, std::span<std::uint8_t> buffer, std::uint32_t* count) {
  *count = 0;
  while (*count < buffer.size()) {
    std::uint32_t n = 0;
    const std::uint64_t offset = *count;
    const NTSTATUS status = ReadFileAtOffset(file, buffer.data() + *count,
                                             static_cast<std::uint32_t>(buffer.size() - *count), &n, &offset);
    if (status == STATUS_END_OF_FILE) {
      break;
    }
    if (!NT_SUCCESS(status)) {
      return status;
    }
    *count += n;
  }
  return STATUS_SUCCESS;
}

// Whether the store, as `current` holds its first bytes (zero past its length
// `length`), can be the record's write-back cut part way (journal_format.h).
bool IsCutWriteBack(JournalRecord record, std::span<const std::uint8_t, L::kImageSize> current,
                    std::uint64_t length) {
  const std::uint64_t replacedLength = little_endian::Load<std::uint64_t>(record.data() + J::kReplacedLengthOffset);
  if (length > L::kImageSize && length != replacedLength) {
    return false;
  }
  for (std::size_t at = 0; at < L::kImageSize; at += J::kSectorSize) {
    const std::uint8_t* sector = current.data() + at;
    if (std::memcmp(sector, Replaced(record).data() + at, J::kSectorSize) != 0 &&
        std::memcmp(sector, Intended(record).data() + at, J::kSectorSize) != 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

NTSTATUS WriteSimpleStore(const StoreFiles& files, JournalRecord record, std::uint64_t replacedLength) {
  std::memcpy(record.data() + J::kMagicOffset, J::kMagic, sizeof J::kMagic);
  little_endian::Store<std::uint64_t>(record.data() + J::kReplacedLengthOffset, replacedLength);
  little_endian::Store<std::uint32_t>(record.data() + J::kChecksumOffset, RecordChecksum(record));

  const TerminationSignalBlock block;
  NTSTATUS status = WriteJournal(files, record);
  if (!NT_SUCCESS(status)) {
    return status;  // the store is untouched
  }
  InPlaceProgress progress;
  status = WriteInPlace(files.store, Intended(record), replacedLength, &progress);
  if (!NT_SUCCESS(status)) {
    if (!RestoreSimpleStore(files.store, record, replacedLength, progress)) {
      TraceError(kComponent, "Failed to restore the store after a failed write; its journal %s is kept to finish it",
                 files.journalPath);
      return status;
    }
  }
  RemoveJournal(files);
  return status;
}

NTSTATUS FinishInterruptedWriteBack(const StoreFiles& files, JournalRecord record,
                                    std::span<std::uint8_t, L::kImageSize> scratch, bool readOnly) {
  const OpenedFile journal = OpenRegular(kCurrentDirectory, files.journalPath, O_RDONLY | O_CLOEXEC, 0);
  if (journal.error == ENOENT) {
    return STATUS_SUCCESS;  // the usual case: no write-back was cut
  }
  if (journal.type != 0 || journal.error == ELOOP) {
    TraceError(kComponent, "Ignoring %s: a link or not a regular file, so not the store's journal", files.journalPath);
    return STATUS_SUCCESS;
  }
  if (!journal.file) {
    TraceError(kComponent, "Couldn't open the store journal %s: %!ERRNO!", files.journalPath, journal.error);
    return STATUS_UNSUCCESSFUL;
  }
  // One byte more than a journal holds, so that a longer file shows.
  std::uint8_t extra = 0;
  std::uint32_t count = 0;
  std::uint32_t more = 0;
  NTSTATUS status = ReadFromStart(journal.file.get(), record, &count);
  if (NT_SUCCESS(status) && count == kJournalBytes) {
    const std::uint64_t offset = kJournalBytes;
    status = ReadFileAtOffset(journal.file.get(), &extra, 1, &more, &offset);
    status = status == STATUS_END_OF_FILE ? STATUS_SUCCESS : status;
  }
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Couldn't read the store journal %s: %!STATUS!", files.journalPath, status);
    return status;
  }
  const bool complete =
      count == kJournalBytes && more == 0 && std::memcmp(record.data(), J::kMagic, sizeof J::kMagic) == 0 &&
      little_endian::Load<std::uint32_t>(record.data() + J::kChecksumOffset) == RecordChecksum(record);
  if (!complete) {
    TraceError(kComponent, "Discarded the store journal %s: incomplete (%u bytes), the store was not yet written",
               files.journalPath, count + more);
    RemoveJournal(files);
    return STATUS_SUCCESS;
  }

  struct stat st {};
  if (fstat(files.store, &st) != 0) {
    TraceError(kComponent, "Couldn't stat the store: %!ERRNO!", errno);
    return STATUS_UNSUCCESSFUL;
  }
  std::fill(scratch.begin(), scratch.end(), std::uint8_t{0});
  status = ReadFromStart(files.store, scratch, &count);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed read to store: %!STATUS!", status);
    return status;
  }
  const auto length = static_cast<std::uint64_t>(st.st_size);
  if (!IsCutWriteBack(record, scratch, length)) {
    TraceError(kComponent, "Discarded the store journal %s: the store was written since", files.journalPath);
    RemoveJournal(files);
    return STATUS_SUCCESS;
  }
  if (readOnly) {
    TraceError(kComponent, "Cannot finish the write-back in the store journal %s: the store is opened read-only",
               files.journalPath);
    return STATUS_ACCESS_DENIED;
  }
  const TerminationSignalBlock block;
  InPlaceProgress progress;
  status = WriteInPlace(files.store, Intended(record), length, &progress);
  if (!NT_SUCCESS(status)) {
    return status;  // the journal stays for the next try
  }
  TraceError(kComponent, "Finished an interrupted write-back of the store from its journal %s", files.journalPath);
  RemoveJournal(files);
  return STATUS_SUCCESS;
}
