// The configuration store. See simple_store.h for the contracts; the byte layout
// lives in store_layout.h.
#include "store/simple_store.h"

#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "runtime/file.h"
#include "runtime/little_endian.h"
#include "runtime/pool.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"
#include "store/store_layout.h"

namespace {

namespace L = store_layout;

constexpr std::uint32_t kComponent = TRACE_COMPONENT_CORE;
constexpr std::uint32_t kImageBytes = static_cast<std::uint32_t>(L::kImageSize);

constexpr UNICODE_STRING kVendorDirectory = TvConstantString(u"" VANTOR_VENDOR_DIR "/");
constexpr UNICODE_STRING kStoreFileName = TvConstantString(u"vantorstore");

// Signals that end the process; held off while an image is written back.
constexpr int kTerminationSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGQUIT};

// The image buffer holds two images: the one being worked on, and behind it the
// one the file held before the change, which a failed write-back puts back.
constexpr std::size_t kImageBufferSize = 2 * L::kImageSize;

// The one store of the process. Constant-initialised (all zero, descriptor -1):
// nothing runs before main. `file`, `image`, `before` and `readOnly` are set by
// a successful open and cleared by close; `lock` is initialised at open and
// destroyed at close.
struct StoreState {
  FileHandle file = kInvalidFile;
  std::uint8_t* image = nullptr;   // kImageBufferSize bytes, TAG_SIMPLE_STORE; freed by close
  std::uint8_t* before = nullptr;  // image + L::kImageSize: the file's image before the change
  bool readOnly = false;           // the file could only be opened for reading
  pthread_rwlock_t lock{};
};
constinit StoreState gStore;

// A view of one record slot inside an image. Name comparisons assume a
// validated image (name length at most kNameCapacity).
class Slot {
 public:
  Slot(std::uint8_t* image, int index) : p_(image + L::SlotOffset(index)) {}

  std::uint16_t NameLength() const { return little_endian::Load<std::uint16_t>(p_ + L::kNameLengthOffset); }
  std::uint16_t DataLength() const { return little_endian::Load<std::uint16_t>(p_ + L::kDataLengthOffset); }
  const std::uint8_t* Data() const { return p_ + L::kDataOffset; }

  bool Matches(const UNICODE_STRING& name) const {
    return NameLength() == name.Length &&
           (name.Length == 0 || std::memcmp(p_ + L::kNameOffset, name.Buffer, name.Length) == 0);
  }
  void SetName(const UNICODE_STRING& name) {
    if (name.Length != 0) {
      std::memcpy(p_ + L::kNameOffset, name.Buffer, name.Length);
    }
    little_endian::Store<std::uint16_t>(p_ + L::kNameLengthOffset, name.Length);
  }
  // Bytes beyond `length` keep their old contents.
  void SetData(const void* data, std::uint16_t length) {
    if (length != 0) {
      std::memcpy(p_ + L::kDataOffset, data, length);
    }
    little_endian::Store<std::uint16_t>(p_ + L::kDataLengthOffset, length);
  }
  void Clear() { std::memset(p_, 0, L::kSlotSize); }

 private:
  std::uint8_t* p_;
};

// Takes the process-wide lock exclusively for its lifetime.
class StoreLockGuard {
 public:
  StoreLockGuard() {
    (void)pthread_rwlock_wrlock(&gStore.lock);
  }
  ~StoreLockGuard() {
    (void)pthread_rwlock_unlock(&gStore.lock);
  }
  StoreLockGuard(const StoreLockGuard&) = delete;
  StoreLockGuard& operator=(const StoreLockGuard&) = delete;
};

// flock for the guard's lifetime, waiting at most kFileLockWaitSeconds for
// another process (LockFileBounded). status() tells whether the lock was had;
// the store is never read for a write or written without it.
class FileLockGuard {
 public:
  FileLockGuard(FileHandle file, int operation) : file_(file), status_(LockFileBounded(file, operation, "store")) {}
  ~FileLockGuard() {
    if (NT_SUCCESS(status_) && flock(file_, LOCK_UN) != 0) {
      TraceError(kComponent, "Unlock attempt failed:%d", errno);
    }
  }
  FileLockGuard(const FileLockGuard&) = delete;
  FileLockGuard& operator=(const FileLockGuard&) = delete;

  [[nodiscard]] NTSTATUS status() const { return status_; }

 private:
  FileHandle file_;
  NTSTATUS status_;
};

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

// Reads the whole image (or its first `length` bytes) from offset 0 with
// positioned reads, looping over short reads; a file that ends early gives
// STATUS_END_OF_FILE.
[[nodiscard]] NTSTATUS ReadSimpleStore(FileHandle file, std::uint8_t* image, std::uint32_t length = kImageBytes) {
  NTSTATUS status = STATUS_SUCCESS;
  std::uint32_t done = 0;
  while (done < length) {
    std::uint32_t count = 0;
    const std::uint64_t offset = done;
    status = ReadFileAtOffset(file, image + done, length - done, &count, &offset);
    if (!NT_SUCCESS(status)) {
      break;
    }
    done += count;
  }
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed read to store: %!STATUS!", status);
  }
  return status;
}

// Puts back what a failed write-back changed: the first `written` bytes of the
// image the file held before (`before`, `beforeLength` bytes long), which is no
// more than the failed write put in, so whatever stopped it (a file-size limit,
// a full disk) lets these through; then the old length, when the file was
// shorter, and an fsync. A failure here is logged; nothing else can be done.
void RestoreSimpleStore(FileHandle file, const std::uint8_t* before, std::uint64_t beforeLength,
                        std::uint32_t written) {
  const auto length = static_cast<std::uint32_t>(std::min<std::uint64_t>(written, beforeLength));
  if (length != 0 && !NT_SUCCESS(WriteFileAtOffset(file, before, length, 0))) {
    TraceError(kComponent, "Failed to restore the store after a failed write");
    return;
  }
  if ((beforeLength < written && ftruncate(file, static_cast<off_t>(beforeLength)) != 0) || fsync(file) != 0) {
    TraceError(kComponent, "Failed to restore the store after a failed write: %!ERRNO!", errno);
  }
}

// Writes the whole image at offset 0 and fsyncs, with the termination signals
// held off throughout. Every step is checked; a failure is logged, the bytes the
// file held before are put back (RestoreSimpleStore), and the failure returned,
// so the file holds the old image or the new one, never a mix of the two.
[[nodiscard]] NTSTATUS WriteSimpleStore(FileHandle file, const std::uint8_t* image, const std::uint8_t* before,
                                        std::uint64_t beforeLength) {
  const TerminationSignalBlock block;
  std::uint32_t written = 0;
  const NTSTATUS status = WriteFileAtOffset(file, image, kImageBytes, 0, &written);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed write to store: %!STATUS!", status);
    RestoreSimpleStore(file, before, beforeLength, written);
    return status;
  }
  if (fsync(file) != 0) {
    TraceError(kComponent, "Failed to flush file: %!ERRNO!", errno);
    RestoreSimpleStore(file, before, beforeLength, kImageBytes);
    return STATUS_UNSUCCESSFUL;
  }
  return STATUS_SUCCESS;
}

bool ValidateNameLength(std::uint16_t length) {
  if (length % 2 != 0 || length > L::kNameCapacity) {
    TraceError(kComponent, "Invalid name length:%d", length);
    return false;
  }
  return true;
}

// A null name, or a non-empty one without a buffer, is invalid as well (no
// length to report, so no line is logged for it).
bool ValidateName(const UNICODE_STRING* name) {
  if (name == nullptr || (name->Length != 0 && name->Buffer == nullptr)) {
    return false;
  }
  return ValidateNameLength(name->Length);
}

bool ValidateSimpleStore(std::uint8_t* image) {
  const std::uint16_t version = little_endian::Load<std::uint16_t>(image + L::kVersionOffset);
  if (version != L::kVersion) {
    TraceError(kComponent, "Version validation failed: %d", version);
    return false;
  }
  for (int i = L::kFirstSlot; i <= L::kLastSlot; ++i) {
    const Slot slot(image, i);
    if (!ValidateNameLength(slot.NameLength())) {
      TraceError(kComponent, "ValidateName failed");
      return false;
    }
    if (slot.DataLength() > L::kDataCapacity) {
      TraceError(kComponent, "ValidateData failed");
      return false;
    }
  }
  return true;
}

void ResetImage(std::uint8_t* image) {
  std::memset(image, 0, L::kImageSize);
  little_endian::Store<std::uint16_t>(image + L::kVersionOffset, L::kVersion);
}

// Re-reads and validates the image of the open store, and keeps a copy as the
// image before any change. Caller holds the locks.
[[nodiscard]] NTSTATUS LoadImage() {
  const NTSTATUS status = ReadSimpleStore(gStore.file, gStore.image);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "ReadSimpleStore failed:%!STATUS!", status);
    return status;
  }
  if (!ValidateSimpleStore(gStore.image)) {
    TraceError(kComponent, "ValidateSimpleStore failed");
    return STATUS_DATA_ERROR;
  }
  std::memcpy(gStore.before, gStore.image, L::kImageSize);
  return STATUS_SUCCESS;
}

// Writes the image back after a change; on success it is the image before the
// next change. A store opened read-only refuses every change. Caller holds the
// locks.
[[nodiscard]] NTSTATUS WriteBackImage() {
  if (gStore.readOnly) {
    TraceError(kComponent, "The store is opened read-only; the change is not written");
    return STATUS_ACCESS_DENIED;
  }
  const NTSTATUS status = WriteSimpleStore(gStore.file, gStore.image, gStore.before, L::kImageSize);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed write to store:%x", static_cast<std::uint32_t>(status));
    return status;
  }
  std::memcpy(gStore.before, gStore.image, L::kImageSize);
  return status;
}

// First slot at or after `from` whose name equals `name`; 0 when none.
int FindSlot(std::uint8_t* image, const UNICODE_STRING& name, int from) {
  for (int i = from; i <= L::kLastSlot; ++i) {
    if (Slot(image, i).Matches(name)) {
      return i;
    }
  }
  return 0;
}

// The locking frame of every get, set and delete: process lock, then flock;
// released in reverse order by the guards.
template <typename Work>
[[nodiscard]] NTSTATUS WithStoreLocked(int flockOperation, Work&& work) {
  // Open and close never race with operations (see the header), so the closed
  // check needs no lock; taking the lock of a closed store would use a
  // destroyed lock.
  if (gStore.file == kInvalidFile) {
    return STATUS_INVALID_HANDLE;
  }
  const StoreLockGuard storeLock;
  const FileLockGuard fileLock(gStore.file, flockOperation);
  if (!NT_SUCCESS(fileLock.status())) {
    return fileLock.status();
  }
  return std::forward<Work>(work)();
}

// Opens, locks, validates and if need be repairs the store file into an
// already allocated image. On success the descriptor and image belong to
// gStore; on failure everything is released.
[[nodiscard]] NTSTATUS OpenWithImage(PoolBuffer image, const char* path) {
  UniqueFile file;
  NTSTATUS status = OpenRegularFile(path, FILE_ACCESS_READ_WRITE, OPEN_CREATE, file.out());
  bool readOnly = false;
  if (!NT_SUCCESS(status) && (errno == EROFS || errno == EACCES || errno == EPERM)) {
    // A read-only mount, an immutable or append-only file: the store can still
    // be read. Every change is refused later, through its own failure path.
    status = OpenRegularFile(path, FILE_ACCESS_READ, 0, file.out());
    readOnly = NT_SUCCESS(status);
    if (readOnly) {
      TraceError(kComponent, "The store %s cannot be opened for writing; opened read-only", path);
    }
  }
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed opening simple store file %s: %!STATUS!", path, status);
    return status;
  }
  // Declared after `file`, so the flock is released before the descriptor closes.
  const FileLockGuard fileLock(file.get(), readOnly ? LOCK_SH : LOCK_EX);
  if (!NT_SUCCESS(fileLock.status())) {
    return fileLock.status();
  }

  std::uint64_t length = 0;
  status = GetFileLength(file.get(), &length);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed to retrievefile %s length: %!STATUS!", path, status);
    return status;
  }

  auto* bytes = image.as<std::uint8_t>();
  std::uint8_t* before = bytes + L::kImageSize;
  bool valid = false;
  std::uint64_t reported = length;  // an image of the right size that fails validation is reported as 0
  if (length == L::kImageSize) {
    status = ReadSimpleStore(file.get(), bytes);
    if (!NT_SUCCESS(status)) {
      return status;
    }
    valid = ValidateSimpleStore(bytes);
    if (!valid) {
      TraceError(kComponent, "ValidateData failed");
      reported = 0;
    }
  }
  if (!valid) {
    TraceError(kComponent, "Invalid file %s length: %d", path,
               static_cast<int>(std::min<std::uint64_t>(reported, INT_MAX)));
    if (readOnly) {
      TraceError(kComponent, "The store %s cannot be repaired: it is opened read-only", path);
      return STATUS_ACCESS_DENIED;
    }
    // What the file held goes back if the repair fails part way. The empty
    // image goes in first and a longer file is cut after, so a failure at
    // either step leaves the file as it was.
    const auto kept = static_cast<std::uint32_t>(std::min<std::uint64_t>(length, L::kImageSize));
    if (length == L::kImageSize) {
      std::memcpy(before, bytes, L::kImageSize);
    } else if (kept != 0 && !NT_SUCCESS(status = ReadSimpleStore(file.get(), before, kept))) {
      return status;
    }
    ResetImage(bytes);
    status = WriteSimpleStore(file.get(), bytes, before, length);
    if (!NT_SUCCESS(status)) {
      return status;
    }
    if (length > L::kImageSize) {
      if (ftruncate(file.get(), static_cast<off_t>(L::kImageSize)) != 0) {
        TraceError(kComponent, "Failed to truncate %s file: %!ERRNO!", path, errno);
        RestoreSimpleStore(file.get(), before, length, kImageBytes);
        return STATUS_INSUFFICIENT_RESOURCES;
      }
      if (fsync(file.get()) != 0) {
        TraceError(kComponent, "Failed to flush file: %!ERRNO!", errno);
        return STATUS_UNSUCCESSFUL;
      }
    }
  }

  std::memset(static_cast<void*>(&gStore.lock), 0, sizeof(gStore.lock));
  (void)pthread_rwlock_init(&gStore.lock, nullptr);
  gStore.image = static_cast<std::uint8_t*>(image.release());
  gStore.before = gStore.image + L::kImageSize;
  gStore.readOnly = readOnly;
  gStore.file = file.release();  // fileLock still unlocks this descriptor on return
  return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS OpenSimpleStore() {
  CloseSimpleStore();
  PoolBuffer image(kImageBufferSize, TAG_SIMPLE_STORE);
  if (!image) {
    TraceError(kComponent, "Failed store buffer allocation");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  const StringObject path(BuildVendorPath(nullptr, &kStoreFileName));
  if (!path) {
    TraceError(kComponent, "Failed retrieving store path");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  Utf8String path8;
  const NTSTATUS status = path8.Convert(path.get());
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed unicode to ansi translation");
    return status;
  }
  return OpenWithImage(std::move(image), path8.c_str());
}

NTSTATUS OpenSimpleStoreAt(const char* path) {
  CloseSimpleStore();
  PoolBuffer image(kImageBufferSize, TAG_SIMPLE_STORE);
  if (!image) {
    TraceError(kComponent, "Failed store buffer allocation");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  return OpenWithImage(std::move(image), path);
}

void CloseSimpleStore() {
  if (gStore.file == kInvalidFile) {
    return;
  }
  (void)CloseFile(gStore.file);
  gStore.file = kInvalidFile;
  gStore.before = nullptr;
  gStore.readOnly = false;
  TvFreePoolWithTag(std::exchange(gStore.image, nullptr), TAG_SIMPLE_STORE);
  (void)pthread_rwlock_destroy(&gStore.lock);
}

NTSTATUS GetSimpleStoreValue(const UNICODE_STRING* name, void* buffer, std::uint32_t* size) {
  if (size == nullptr || (buffer == nullptr && *size != 0)) {
    return STATUS_INVALID_PARAMETER;
  }
  return WithStoreLocked(LOCK_SH, [&]() -> NTSTATUS {
    if (!ValidateName(name)) {
      TraceError(kComponent, "Name is invalid");
      return STATUS_INVALID_PARAMETER_1;
    }
    const NTSTATUS status = LoadImage();
    if (!NT_SUCCESS(status)) {
      return status;
    }
    const int index = FindSlot(gStore.image, *name, L::kFirstSlot);
    if (index == 0) {
      return STATUS_NOT_FOUND;
    }
    const Slot slot(gStore.image, index);
    const std::uint32_t length = slot.DataLength();
    const std::uint32_t copied = std::min(length, *size);
    if (copied != 0) {
      std::memcpy(buffer, slot.Data(), copied);
    }
    const bool tooSmall = *size < length;
    *size = length;
    return tooSmall ? STATUS_BUFFER_TOO_SMALL : STATUS_SUCCESS;
  });
}

NTSTATUS SetSimpleStoreValue(const UNICODE_STRING* name, const void* data, std::uint32_t length) {
  return WithStoreLocked(LOCK_EX, [&]() -> NTSTATUS {
    if (!ValidateName(name)) {
      TraceError(kComponent, "Name is invalid");
      return STATUS_INVALID_PARAMETER_1;
    }
    if (length > L::kDataCapacity || (data == nullptr && length != 0)) {
      TraceError(kComponent, "Data is invalid");
      return STATUS_INVALID_PARAMETER_2;
    }
    const NTSTATUS status = LoadImage();
    if (!NT_SUCCESS(status)) {
      return status;
    }
    // The first empty slot is remembered and skipped; every other slot is
    // compared, so an existing record wins over an earlier empty slot.
    int firstEmpty = 0;
    int match = 0;
    for (int i = L::kFirstSlot; i <= L::kLastSlot && match == 0; ++i) {
      const Slot slot(gStore.image, i);
      if (firstEmpty == 0 && slot.NameLength() == 0) {
        firstEmpty = i;
      } else if (slot.Matches(*name)) {
        match = i;
      }
    }
    const auto dataLength = static_cast<std::uint16_t>(length);
    if (match != 0) {
      Slot(gStore.image, match).SetData(data, dataLength);
    } else if (firstEmpty == 0) {
      TraceError(kComponent, "No empty records in store:%x",
                 static_cast<std::uint32_t>(STATUS_INSUFFICIENT_RESOURCES));
      return STATUS_INSUFFICIENT_RESOURCES;
    } else {
      Slot slot(gStore.image, firstEmpty);
      slot.SetName(*name);
      slot.SetData(data, dataLength);
    }
    return WriteBackImage();
  });
}

NTSTATUS DeleteSimpleStoreValue(const UNICODE_STRING* name) {
  if (!ValidateName(name)) {
    return STATUS_SUCCESS;  // nothing to delete; no lock taken, the file untouched
  }
  return WithStoreLocked(LOCK_EX, [&]() -> NTSTATUS {
    NTSTATUS status = LoadImage();
    if (!NT_SUCCESS(status)) {
      return status;
    }
    bool removed = false;
    for (int i = FindSlot(gStore.image, *name, L::kFirstSlot); i != 0; i = FindSlot(gStore.image, *name, i + 1)) {
      Slot(gStore.image, i).Clear();
      status = WriteBackImage();
      if (!NT_SUCCESS(status)) {
        return status;
      }
      removed = true;
    }
    return removed ? STATUS_SUCCESS : STATUS_NOT_FOUND;
  });
}

UNICODE_STRING* BuildVendorPath(const UNICODE_STRING* subdirectory, const UNICODE_STRING* fileName) {
  std::uint32_t total = kVendorDirectory.Length;
  if (total >= kUnicodeStringMaxBytes) {
    return nullptr;
  }
  // An empty subdirectory counts as none: "<vendor dir>//x" is not what a
  // caller passing "" means.
  const bool hasSubdirectory = subdirectory != nullptr && subdirectory->Length != 0;
  bool addSeparator = false;
  if (hasSubdirectory) {
    const std::u16string_view text = View(*subdirectory);
    addSeparator = text.empty() || text.back() != u'/';
    total += subdirectory->Length + (addSeparator ? 2u : 0u);
    if (total >= kUnicodeStringMaxBytes) {
      return nullptr;
    }
  }
  if (fileName != nullptr) {
    total += fileName->Length;
    if (total > 0xFFFFu) {
      return nullptr;
    }
  }
  // Room for every part and the terminator; a result of 65534 bytes or more is
  // refused by the allocator (capacity of 32768 units).
  StringObject path(TvAllocateUnicodeString((total + 1) / 2 + 1));
  if (!path) {
    return nullptr;
  }
  UNICODE_STRING* s = path.get();
  if (!NT_SUCCESS(RtlAppendUnicodeStringToString(s, &kVendorDirectory)) ||
      (hasSubdirectory && !NT_SUCCESS(RtlAppendUnicodeStringToString(s, subdirectory))) ||
      (addSeparator && !NT_SUCCESS(RtlAppendUnicodeToString(s, u"/"))) ||
      (fileName != nullptr && !NT_SUCCESS(RtlAppendUnicodeStringToString(s, fileName)))) {
    return nullptr;
  }
  s->Buffer[s->Length / 2] = u'\0';
  return path.release();
}
