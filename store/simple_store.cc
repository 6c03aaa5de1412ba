// The configuration store. See simple_store.h for the contracts; the byte layout
// lives in store_layout.h, the write-back and its journal in journal.h.
#include "store/simple_store.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>
#include <utility>

#include "runtime/file.h"
#include "runtime/little_endian.h"
#include "runtime/pool.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"
#include "store/journal.h"
#include "store/store_layout.h"

namespace {

namespace J = store_journal;
namespace L = store_layout;

constexpr std::uint32_t kComponent = TRACE_COMPONENT_CORE;
constexpr std::uint32_t kImageBytes = static_cast<std::uint32_t>(L::kImageSize);

constexpr UNICODE_STRING kVendorDirectory = TvConstantString(u"" VANTOR_VENDOR_DIR "/");
constexpr UNICODE_STRING kStoreFileName = TvConstantString(u"vantorstore");

// The one allocation of an open store (kTagSimpleStore): the journal record,
// whose replaced image is the image the file held before a change and whose
// intended image is the one being worked on; a scratch image for finishing a
// cut write-back; and the store's path, the journal's path and their
// directory, each terminated.
constexpr std::size_t kScratchOffset = J::kJournalSize;
constexpr std::size_t kPathsOffset = kScratchOffset + L::kImageSize;

// The one store of the process. Constant-initialised (all zero, descriptor -1):
// nothing runs before main. Everything but `lock` is set by OpenStore and
// cleared by CloseSimpleStore; `lock` is initialised at open and destroyed at
// close.
struct StoreState {
  std::uint8_t* buffer = nullptr;  // the allocation above; null while closed
  StoreFiles files;                // the descriptor (borrowed from StoreFile()), the journal's path, the directory
  const char* path = nullptr;
  bool readOnly = false;  // the file could only be opened for reading
  int readOnlyBecause = 0;  // then the errno of the open for writing
  pthread_rwlock_t lock{};
};
constinit StoreState gStore;
// The owner of the store's descriptor while it is open; gStore.files.store
// borrows it. A function's static, constant-initialised, so that nothing runs
// before main.
UniqueFile& StoreFile() {
  static constinit UniqueFile file;
  return file;
}
// The errno behind the last failed open of the store file (SimpleStoreOpenError).
constinit int gOpenError = 0;

JournalRecord Record() { return JournalRecord(gStore.buffer, J::kJournalSize); }
std::uint8_t* Image() { return gStore.buffer + J::kIntendedOffset; }
std::uint8_t* Before() { return gStore.buffer + J::kReplacedOffset; }
std::span<std::uint8_t, L::kImageSize> Scratch() {
  return std::span<std::uint8_t, L::kImageSize>(gStore.buffer + kScratchOffset, L::kImageSize);
}

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

// Opens the store file at `path` (options: OPEN_CREATE or 0) into the store,
// closing the descriptor it had. A file that cannot be opened for writing
// (EROFS, EACCES, EPERM: a read-only mount, an immutable or append-only file) is
// opened for reading, and every change is refused later through its own
// failure path.
[[nodiscard]] NTSTATUS OpenStoreFile(std::uint32_t options) {
  FileOpen opened = OpenRegularFile(gStore.path, FILE_ACCESS_READ_WRITE, options);
  bool readOnly = false;
  const int writeError = opened.error;
  if (!NT_SUCCESS(opened.status) && (writeError == EROFS || writeError == EACCES || writeError == EPERM)) {
    opened = OpenRegularFile(gStore.path, FILE_ACCESS_READ, 0);
    readOnly = NT_SUCCESS(opened.status);
    if (readOnly) {
      TraceError(kComponent, "The store %s cannot be opened for writing; opened read-only", gStore.path);
    }
  }
  if (!NT_SUCCESS(opened.status)) {
    // A store that could not be created is missing to the open for reading:
    // the reason to report is the creation's.
    gOpenError = opened.status == STATUS_FILE_INVALID ? 0 : opened.error == ENOENT && writeError != 0 ? writeError
                                                                                                     : opened.error;
    TraceError(kComponent, "Failed opening simple store file %s: %!STATUS!", gStore.path, opened.status);
    return opened.status;
  }
  StoreFile() = std::move(opened.file);  // closes the old descriptor, if any
  gStore.files.store = StoreFile().get();
  gStore.readOnly = readOnly;
  gStore.readOnlyBecause = readOnly ? writeError : 0;
  return STATUS_SUCCESS;
}

// What the store's path names, against the open descriptor.
enum class PathNames { kLockedFile, kOtherFile, kUnknown };

// Whether the store's path still names the open file: the same device and
// inode (the path itself, not a link's target) and the file still linked.
PathNames WhatPathNames() {
  struct stat held {};
  struct stat named {};
  if (fstat(gStore.files.store, &held) != 0) {
    TraceError(kComponent, "Couldn't stat the store: %!ERRNO!", errno);
    return PathNames::kUnknown;
  }
  if (fstatat(AT_FDCWD, gStore.path, &named, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) {
      return PathNames::kOtherFile;
    }
    TraceError(kComponent, "Couldn't stat %s: %!ERRNO!", gStore.path, errno);
    return PathNames::kUnknown;
  }
  return held.st_nlink > 0 && held.st_dev == named.st_dev && held.st_ino == named.st_ino ? PathNames::kLockedFile
                                                                                        : PathNames::kOtherFile;
}

// The store's flock, on the file its path names, held from a successful Lock()
// to the guard's end. After each flock the path is checked (WhatPathNames): a
// store renamed over or removed while the tool waited is let go, the path is
// opened again (created again only at the store's open) and locked again, all
// within one kFileLockWaitSeconds bound. The store is never read for a change
// or written without the lock, and never written through a descriptor the path
// no longer names.
class StoreFileLock {
 public:
  explicit StoreFileLock(std::uint32_t reopenOptions) : reopenOptions_(reopenOptions) {}
  ~StoreFileLock() {
    if (locked_ && flock(gStore.files.store, LOCK_UN) != 0) {
      TraceError(kComponent, "Unlock attempt failed:%d", errno);
    }
  }
  StoreFileLock(const StoreFileLock&) = delete;
  StoreFileLock& operator=(const StoreFileLock&) = delete;

  [[nodiscard]] NTSTATUS Lock(int operation) {
    const std::int64_t deadline = FileLockDeadline();
    for (;;) {
      NTSTATUS status = LockFileUntil(gStore.files.store, operation, "store", deadline);
      if (!NT_SUCCESS(status)) {
        return status;
      }
      const PathNames named = WhatPathNames();
      if (named == PathNames::kLockedFile) {
        locked_ = true;
        return STATUS_SUCCESS;
      }
      (void)flock(gStore.files.store, LOCK_UN);  // closing the descriptor below drops it anyway
      if (named == PathNames::kUnknown) {
        return STATUS_UNSUCCESSFUL;
      }
      TraceError(kComponent, "The store %s was replaced or removed while waiting for its lock; opening it again",
                 gStore.path);
      if (FileLockDeadlinePassed(deadline)) {
        TraceError(kComponent, "The store %s keeps being replaced; gave up after %d seconds", gStore.path,
                   kFileLockWaitSeconds);
        return STATUS_LOCK_NOT_GRANTED;
      }
      status = OpenStoreFile(reopenOptions_);
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
  }

 private:
  std::uint32_t reopenOptions_;
  bool locked_ = false;
};

// Reads the whole image (or its first `length` bytes) from offset 0 with
// positioned reads, looping over short reads; a file that ends early gives
// STATUS_END_OF_FILE.
[[nodiscard]] NTSTATUS ReadSimpleStore(std::uint8_t* image, std::uint32_t length = kImageBytes) {
  NTSTATUS status = STATUS_SUCCESS;
  std::uint32_t done = 0;
  while (done < length) {
    std::uint32_t count = 0;
    const std::uint64_t offset = done;
    status = ReadFileAtOffset(gStore.files.store, image + done, length - done, &count, &offset);
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
  const NTSTATUS status = ReadSimpleStore(Image());
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "ReadSimpleStore failed:%!STATUS!", status);
    return status;
  }
  if (!ValidateSimpleStore(Image())) {
    TraceError(kComponent, "ValidateSimpleStore failed");
    return STATUS_DATA_ERROR;
  }
  std::memcpy(Before(), Image(), L::kImageSize);
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
  const NTSTATUS status = WriteSimpleStore(gStore.files, Record(), L::kImageSize);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed write to store:%x", static_cast<std::uint32_t>(status));
    return status;
  }
  std::memcpy(Before(), Image(), L::kImageSize);
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
// released in reverse order by the guards. A change first finishes a
// write-back another run left cut (a get only reads, and what it reads of such
// a store is what the file holds until the next change or open finishes it).
template <typename Work>
[[nodiscard]] NTSTATUS WithStoreLocked(int flockOperation, Work&& work) {
  // Open and close never race with operations (see the header), so the closed
  // check needs no lock; taking the lock of a closed store would use a
  // destroyed lock.
  if (gStore.buffer == nullptr) {
    return STATUS_INVALID_HANDLE;
  }
  const StoreLockGuard storeLock;
  StoreFileLock fileLock(0);
  NTSTATUS status = fileLock.Lock(flockOperation);
  if (NT_SUCCESS(status) && flockOperation == LOCK_EX) {
    status = FinishInterruptedWriteBack(gStore.files, Record(), Scratch(), gStore.readOnly);
  }
  if (!NT_SUCCESS(status)) {
    return status;
  }
  return std::forward<Work>(work)();
}

// Sets up the allocation and the paths for `path`: the journal's is the path
// with "-journal" appended, the directory the path up to its last "/" ("."
// when it has none, "/" for a file in the root).
[[nodiscard]] NTSTATUS AllocateStore(const char* path) {
  const std::size_t length = std::strlen(path);
  const std::size_t slash = std::string_view(path, length).rfind('/');
  const std::size_t directoryLength = slash == std::string_view::npos ? 1 : slash == 0 ? 1 : slash;
  const std::size_t size = kPathsOffset + (length + 1) + (length + sizeof J::kPathSuffix) + (directoryLength + 1);
  auto* buffer = static_cast<std::uint8_t*>(TvAllocatePoolWithTag(size, kTagSimpleStore));
  if (buffer == nullptr) {
    TraceError(kComponent, "Failed store buffer allocation");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  char* text = reinterpret_cast<char*>(buffer + kPathsOffset);
  gStore.path = std::strcpy(text, path);
  text += length + 1;
  gStore.files.journalPath = std::strcat(std::strcpy(text, path), J::kPathSuffix);
  text += length + sizeof J::kPathSuffix;
  if (slash == std::string_view::npos) {
    std::strcpy(text, ".");
  } else {
    std::memcpy(text, path, directoryLength);
    text[directoryLength] = '\0';
  }
  gStore.files.directory = text;
  gStore.buffer = buffer;
  std::memset(static_cast<void*>(&gStore.lock), 0, sizeof(gStore.lock));
  (void)pthread_rwlock_init(&gStore.lock, nullptr);
  return STATUS_SUCCESS;
}

// Opens, locks, finishes a cut write-back, validates and if need be repairs
// the store file at `path`. On failure the caller closes what is open.
[[nodiscard]] NTSTATUS OpenStore(const char* path) {
  NTSTATUS status = AllocateStore(path);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  status = OpenStoreFile(OPEN_CREATE);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  // Released before the caller closes the descriptor on a failure.
  StoreFileLock fileLock(OPEN_CREATE);
  status = fileLock.Lock(gStore.readOnly ? LOCK_SH : LOCK_EX);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  status = FinishInterruptedWriteBack(gStore.files, Record(), Scratch(), gStore.readOnly);
  if (!NT_SUCCESS(status)) {
    return status;
  }

  std::uint64_t length = 0;
  status = GetFileLength(gStore.files.store, &length);
  if (!NT_SUCCESS(status)) {
    TraceError(kComponent, "Failed to retrievefile %s length: %!STATUS!", path, status);
    return status;
  }
  bool valid = false;
  std::uint64_t reported = length;  // an image of the right size that fails validation is reported as 0
  if (length == L::kImageSize) {
    status = ReadSimpleStore(Image());
    if (!NT_SUCCESS(status)) {
      return status;
    }
    valid = ValidateSimpleStore(Image());
    if (!valid) {
      TraceError(kComponent, "ValidateData failed");
      reported = 0;
    }
  }
  if (valid) {
    return STATUS_SUCCESS;
  }
  TraceError(kComponent, "Invalid file %s length: %d", path,
             static_cast<int>(std::min<std::uint64_t>(reported, INT_MAX)));
  if (gStore.readOnly) {
    TraceError(kComponent, "The store %s cannot be repaired: it is opened read-only", path);
    gOpenError = gStore.readOnlyBecause;
    return STATUS_ACCESS_DENIED;
  }
  // The repair is a write-back like any other: the image the file held (its
  // first bytes, zero past its end) is the one replaced.
  if (length == L::kImageSize) {
    std::memcpy(Before(), Image(), L::kImageSize);
  } else {
    std::memset(Before(), 0, L::kImageSize);
    const auto kept = static_cast<std::uint32_t>(std::min<std::uint64_t>(length, L::kImageSize));
    if (kept != 0 && !NT_SUCCESS(status = ReadSimpleStore(Before(), kept))) {
      return status;
    }
  }
  ResetImage(Image());
  return WriteSimpleStore(gStore.files, Record(), length);
}

}  // namespace

NTSTATUS OpenSimpleStore() {
  CloseSimpleStore();
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
  return OpenSimpleStoreAt(path8.c_str());
}

NTSTATUS OpenSimpleStoreAt(const char* path) {
  CloseSimpleStore();
  gOpenError = 0;
  const NTSTATUS status = OpenStore(path);
  if (!NT_SUCCESS(status)) {
    CloseSimpleStore();
  }
  return status;
}

int SimpleStoreOpenError() { return gOpenError; }

void CloseSimpleStore() {
  if (gStore.buffer == nullptr) {
    return;
  }
  StoreFile().reset();
  gStore.files.store = kInvalidFile;
  gStore.files.journalPath = nullptr;
  gStore.files.directory = nullptr;
  gStore.path = nullptr;
  gStore.readOnly = false;
  gStore.readOnlyBecause = 0;
  TvFreePoolWithTag(std::exchange(gStore.buffer, nullptr), kTagSimpleStore);
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
    const int index = FindSlot(Image(), *name, L::kFirstSlot);
    if (index == 0) {
      return STATUS_NOT_FOUND;
    }
    const Slot slot(Image(), index);
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
      const Slot slot(Image(), i);
      if (firstEmpty == 0 && slot.NameLength() == 0) {
        firstEmpty = i;
      } else if (slot.Matches(*name)) {
        match = i;
      }
    }
    const auto dataLength = static_cast<std::uint16_t>(length);
    if (match != 0) {
      Slot(Image(), match).SetData(data, dataLength);
    } else if (firstEmpty == 0) {
      TraceError(kComponent, "No empty records in store:%x",
                 static_cast<std::uint32_t>(STATUS_INSUFFICIENT_RESOURCES));
      return STATUS_INSUFFICIENT_RESOURCES;
    } else {
      Slot slot(Image(), firstEmpty);
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
    for (int i = FindSlot(Image(), *name, L::kFirstSlot); i != 0; i = FindSlot(Image(), *name, i + 1)) {
      Slot(Image(), i).Clear();
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
