// The registry's file: load (OpenRegistry), flush through "<path>.tmp" and a
// rename, close, and the text dump. The layout lives in registry_format.h.
//
// Process state (no static constructors): the root pointer, the rundown guard,
// the two paths, the directory lock and what a flush must keep of the file.
// OpenRegistry and CloseRegistry are serialised by their caller; everything
// else holds the guard and then the registry lock.
//
// Between processes, the whole cycle of load, query and flush is one process's
// at a time: OpenRegistry takes an exclusive flock on the directory that holds
// the file (which no flush replaces) before it loads, and CloseRegistry lets go
// of it after its flush. The wait is bounded like the store's. A flush renames
// or removes only the temporary file it created itself, and gives the new file
// the mode and owner the loaded one had.
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "registry/registry.h"
#include "registry/registry_format.h"
#include "registry/registry_internal.h"
#include "runtime/file.h"
#include "runtime/little_endian.h"
#include "runtime/pool.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"

namespace {

namespace fmt = registry_format;

constinit std::atomic<RegistryRoot*> gRoot{nullptr};
constinit RundownGuard gGuard{};
// Owned copies, NUL-terminated: the registry file's path and its ".tmp" twin.
// Both empty while no open has been attempted or after a close.
constinit UNICODE_STRING gRegistryPath{0, 0, nullptr};
constinit UNICODE_STRING gTempPath{0, 0, nullptr};
// The registry's directory, open and locked while the registry is open. A
// function's static, constant-initialised, so that nothing runs before main.
UniqueFile& DirectoryLock() {
  static constinit UniqueFile lock;
  return lock;
}
// The loaded file's mode and owner, which the flushed file gets.
struct FileAttributes {
  mode_t mode = 0660;
  uid_t owner = 0;
  gid_t group = 0;
};
constinit FileAttributes gFileAttributes{};
// The temporary file the running flush attempt created; zero when none.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
};
constinit FileIdentity gTempFile{};

constexpr char16_t kDefaultRegistryPath[] = u"" VANTOR_VENDOR_DIR "/Registry.bin";
constexpr UNICODE_STRING kTempSuffixString = TvConstantString(fmt::kTempSuffix);
constexpr std::size_t kRuleLength = 92;
constexpr auto kRule = [] {
  std::array<char, kRuleLength + 1> rule{};
  for (std::size_t i = 0; i < kRuleLength; ++i) {
    rule[i] = '-';
  }
  return rule;
}();
constexpr int kFlushAttempts = 3;

void FreePaths() {
  RtlFreeUnicodeString(&gRegistryPath);
  TvFreePoolWithTag(gTempPath.Buffer, kTagRegistry);
  gTempPath = UNICODE_STRING{0, 0, nullptr};
}

// Remembers `path` and builds "<path>.tmp". On failure both are left empty.
[[nodiscard]] NTSTATUS SetPaths(const UNICODE_STRING* path) {
  FreePaths();
  const std::size_t tempBytes = std::size_t{path->Length} + fmt::kTempPathExtraBytes;
  if (tempBytes >= fmt::kTempPathBufferLimit) {
    return STATUS_INVALID_PARAMETER;
  }
  PoolBuffer temp(tempBytes, kTagRegistry);
  if (!temp) {
    return STATUS_NO_MEMORY;
  }
  UNICODE_STRING tempPath{0, static_cast<std::uint16_t>(tempBytes), temp.as<WCHAR>()};
  RtlCopyUnicodeString(&tempPath, path);
  NTSTATUS status = RtlAppendUnicodeStringToString(&tempPath, &kTempSuffixString);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  status = RtlDuplicateUnicodeString(
      RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE | RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING, path,
      &gRegistryPath);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  (void)temp.release();
  gTempPath = tempPath;
  return STATUS_SUCCESS;
}

// --- parser ----------------------------------------------------------------

// Walks the file image with one position and builds the tree through the
// provider, so nodes are appended in file order. The first damage ends the
// walk with a failure status; what was built before it stays. A node or name
// the pool cannot hold ends it too, but that is no damage: OutOfMemory() tells
// the open, which then drops the tree rather than let a flush write a registry
// that lacks what the file holds.
class Parser {
 public:
  explicit Parser(std::span<const std::uint8_t> bytes) : bytes_(bytes), provider_(GetRegistryProvider()) {}
  bool OutOfMemory() const { return outOfMemory_; }

  [[nodiscard]] NTSTATUS ParseStores() {
    while (Remaining() != 0) {
      if (bytes_[pos_] != fmt::kStoreEntry || Remaining() - fmt::kTypeBytes < fmt::kGuidBytes) {
        return STATUS_FAIL_CHECK;
      }
      const GUID key = TakeGuid();
      RegistryNode* store = nullptr;
      NTSTATUS status = Built(provider_->OpenStore(&key, nullptr, &store));
      if (NT_SUCCESS(status)) {
        status = ParseCollections(store);
      }
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
    return STATUS_SUCCESS;
  }

 private:
  std::size_t Remaining() const { return bytes_.size() - pos_; }
  bool At(std::uint8_t type) const { return Remaining() != 0 && bytes_[pos_] == type; }
  // A provider operation's status; the provider fails with these two only when
  // the pool refuses a block (a node, a name copy, data).
  [[nodiscard]] NTSTATUS Built(NTSTATUS status) {
    outOfMemory_ = outOfMemory_ || status == STATUS_INSUFFICIENT_RESOURCES || status == STATUS_NO_MEMORY;
    return status;
  }

  // Consumes a type byte and the GUID after it (the caller checked the size).
  GUID TakeGuid() {
    pos_ += fmt::kTypeBytes;
    const GUID key = fmt::DecodeGuid(bytes_.subspan(pos_).first<fmt::kGuidBytes>());
    pos_ += fmt::kGuidBytes;
    return key;
  }

  // Consumes a type byte, a u16 length and that many bytes of UTF-16LE name
  // into an aligned copy owned by `storage`.
  [[nodiscard]] NTSTATUS TakeName(PoolBuffer& storage, UNICODE_STRING* name) {
    pos_ += fmt::kTypeBytes;
    if (Remaining() < fmt::kNameLengthBytes) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    const std::uint16_t length = little_endian::Load<std::uint16_t>(bytes_.data() + pos_);
    pos_ += fmt::kNameLengthBytes;
    if (length >= fmt::kNameLengthLimit || length > Remaining()) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    storage = PoolBuffer(length, kTagRegistry);
    if (!storage) {
      return Built(STATUS_INSUFFICIENT_RESOURCES);
    }
    std::memcpy(storage.get(), bytes_.data() + pos_, length);
    pos_ += length;
    *name = UNICODE_STRING{length, length, storage.as<WCHAR>()};
    return STATUS_SUCCESS;
  }

  [[nodiscard]] NTSTATUS ParseCollections(RegistryNode* store) {
    while (At(fmt::kCollectionEntry)) {
      if (Remaining() - fmt::kTypeBytes < fmt::kGuidBytes) {
        return STATUS_FAIL_CHECK;
      }
      const GUID key = TakeGuid();
      RegistryNode* collection = nullptr;
      NTSTATUS status = Built(provider_->OpenCollection(store, 0, &key, &collection));
      if (NT_SUCCESS(status)) {
        status = ParseRecords(collection);
      }
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
    return STATUS_SUCCESS;
  }

  [[nodiscard]] NTSTATUS ParseRecords(RegistryNode* collection) {
    while (At(fmt::kRecordEntry)) {
      PoolBuffer storage;
      UNICODE_STRING name{};
      RegistryNode* record = nullptr;
      NTSTATUS status = TakeName(storage, &name);
      if (NT_SUCCESS(status)) {
        status = Built(provider_->CreateRecord(collection, &name, 0, &record, nullptr));
      }
      if (NT_SUCCESS(status)) {
        status = ParseAttributes(record);
      }
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
    return STATUS_SUCCESS;
  }

  [[nodiscard]] NTSTATUS ParseAttributes(RegistryNode* record) {
    while (At(fmt::kAttributeEntry)) {
      PoolBuffer storage;
      UNICODE_STRING name{};
      NTSTATUS status = TakeName(storage, &name);
      if (!NT_SUCCESS(status)) {
        return status;
      }
      if (Remaining() < fmt::kDataLengthBytes) {
        return STATUS_INSUFFICIENT_RESOURCES;
      }
      const std::uint32_t length = little_endian::Load<std::uint32_t>(bytes_.data() + pos_);
      pos_ += fmt::kDataLengthBytes;
      if (length > Remaining()) {
        return STATUS_INSUFFICIENT_RESOURCES;
      }
      // SetAttribute copies the data; the image is only read.
      AttributeValue value{const_cast<std::uint8_t*>(bytes_.data() + pos_), length, 0, STATUS_SUCCESS};
      pos_ += length;
      status = Built(provider_->SetAttribute(record, &name, &value));
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
    return STATUS_SUCCESS;
  }

  std::span<const std::uint8_t> bytes_;
  std::size_t pos_ = 0;
  const RegistryProvider* provider_;
  bool outOfMemory_ = false;
};

// --- serialization ---------------------------------------------------------

[[nodiscard]] NTSTATUS WriteField(FileHandle file, const void* data, std::size_t length) {
  if (length == 0) {
    return STATUS_SUCCESS;
  }
  std::uint32_t written = 0;
  const NTSTATUS status = WriteFile(file, data, static_cast<std::uint32_t>(length), &written);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed write: %!STATUS!", status);
  }
  return status;
}

[[nodiscard]] NTSTATUS WriteGuidEntry(FileHandle file, std::uint8_t type, const GUID& guid) {
  NTSTATUS status = WriteField(file, &type, fmt::kTypeBytes);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  std::array<std::uint8_t, fmt::kGuidBytes> bytes{};
  fmt::EncodeGuid(guid, bytes);
  return WriteField(file, bytes.data(), bytes.size());
}

// Type byte, u16 name length and the name. Names longer than the file's limit
// are not expected here: every writer of the tree uses short names.
[[nodiscard]] NTSTATUS WriteNamedEntry(FileHandle file, std::uint8_t type, const UNICODE_STRING& name) {
  NTSTATUS status = WriteField(file, &type, fmt::kTypeBytes);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  std::uint8_t length[fmt::kNameLengthBytes];
  little_endian::Store<std::uint16_t>(length, name.Length);
  status = WriteField(file, length, sizeof(length));
  if (!NT_SUCCESS(status)) {
    return status;
  }
  return WriteField(file, name.Buffer, name.Length);
}

// Depth-first, in sibling order. A node that asks for its children to be
// skipped (a volatile one) is left out with everything below it; its later
// siblings are still written, as volatility belongs to the node alone.
[[nodiscard]] NTSTATUS SerializeList(const RegistryNode* first, FileHandle file) {
  for (const RegistryNode* node = first; node != nullptr; node = node->Next) {
    bool skipChildren = false;
    NTSTATUS status = node->Serialize(node, file, &skipChildren);
    if (!NT_SUCCESS(status)) {
      return status;
    }
    if (!skipChildren) {
      status = SerializeList(node->FirstChild, file);
      if (!NT_SUCCESS(status)) {
        return status;
      }
    }
  }
  return STATUS_SUCCESS;
}

// --- dump ----------------------------------------------------------------

constexpr char kStoreLine[] =
    "(Store) GUID: {0x%08X, 0x%04X, 0x%04X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X}\n";
constexpr char kCollectionLine[] =
    "(Collection) GUID: {0x%08X, 0x%04X, 0x%04X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, "
    "0x%02X} Volatile: %d\n";

// Prints `format` with the GUID's eleven fields and, for formats that take it, a
// trailing flag (ignored by formats that do not).
void PrintGuidLine(RegistryPrinter printer, const char* format, const GUID& g, int flag) {
  printer(format, static_cast<unsigned>(g.Data1), static_cast<unsigned>(g.Data2), static_cast<unsigned>(g.Data3),
          static_cast<unsigned>(g.Data4[0]), static_cast<unsigned>(g.Data4[1]), static_cast<unsigned>(g.Data4[2]),
          static_cast<unsigned>(g.Data4[3]), static_cast<unsigned>(g.Data4[4]), static_cast<unsigned>(g.Data4[5]),
          static_cast<unsigned>(g.Data4[6]), static_cast<unsigned>(g.Data4[7]), flag);
}

void DumpChildren(const RegistryNode* parent, int depth, RegistryPrinter printer) {
  for (const RegistryNode* node = parent->FirstChild; node != nullptr; node = node->Next) {
    printer("|");
    for (int i = 0; i <= depth; ++i) {
      printer("     ");
    }
    node->Dump(node, printer);
    DumpChildren(node, depth + 1, printer);
  }
}

}  // namespace

// --- node operations used by the tree -------------------------------------

NTSTATUS SerializeStoreNode(const RegistryNode* node, FileHandle file, bool* skipChildren) {
  *skipChildren = false;
  return WriteGuidEntry(file, fmt::kStoreEntry, node->Guid);
}

NTSTATUS SerializeCollectionNode(const RegistryNode* node, FileHandle file, bool* skipChildren) {
  *skipChildren = node->Volatile != 0;
  if (*skipChildren) {
    return STATUS_SUCCESS;
  }
  return WriteGuidEntry(file, fmt::kCollectionEntry, node->Guid);
}

NTSTATUS SerializeRecordNode(const RegistryNode* node, FileHandle file, bool* skipChildren) {
  *skipChildren = node->Volatile != 0;
  if (*skipChildren) {
    return STATUS_SUCCESS;
  }
  return WriteNamedEntry(file, fmt::kRecordEntry, node->Name);
}

NTSTATUS SerializeAttributeNode(const RegistryNode* node, FileHandle file, bool* skipChildren) {
  *skipChildren = false;
  NTSTATUS status = WriteNamedEntry(file, fmt::kAttributeEntry, node->Name);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  std::uint8_t length[fmt::kDataLengthBytes];
  little_endian::Store<std::uint32_t>(length, node->DataLength);
  status = WriteField(file, length, sizeof(length));
  if (!NT_SUCCESS(status)) {
    return status;
  }
  return WriteField(file, node->Data, node->DataLength);
}

void DumpStoreNode(const RegistryNode* node, RegistryPrinter printer) {
  PrintGuidLine(printer, kStoreLine, node->Guid, 0);
}

void DumpCollectionNode(const RegistryNode* node, RegistryPrinter printer) {
  PrintGuidLine(printer, kCollectionLine, node->Guid, node->Volatile);
}

void DumpRecordNode(const RegistryNode* node, RegistryPrinter printer) {
  OwnedAnsiString name;
  const NTSTATUS status = RtlUnicodeStringToAnsiString(name.ptr(), &node->Name, true);
  if (NT_SUCCESS(status)) {
    const ANSI_STRING& text = name.get();
    printer("(Record) IndexName: %.*s Volatile: %d\n", static_cast<int>(text.Length),
            text.Buffer != nullptr ? text.Buffer : "", static_cast<int>(node->Volatile));
  } else {
    // A name that cannot be shown as 8-bit text: logged and left out of the
    // line, the same way as for attributes.
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to allocate IndexName: %!STATUS!", status);
    printer("(Record) IndexName Volatile: %d\n", static_cast<int>(node->Volatile));
  }
}

void DumpAttributeNode(const RegistryNode* node, RegistryPrinter printer) {
  OwnedAnsiString name;
  const NTSTATUS status = RtlUnicodeStringToAnsiString(name.ptr(), &node->Name, true);
  if (NT_SUCCESS(status)) {
    const ANSI_STRING& text = name.get();
    printer("(Attribute) AttributeName: %.*s Length: %d Data: ", static_cast<int>(text.Length),
            text.Buffer != nullptr ? text.Buffer : "", static_cast<int>(node->DataLength));
  } else {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to allocate AttributeName: %!STATUS!", status);
    printer("(Attribute) AttributeName Length: %d Data: ", static_cast<int>(node->DataLength));
  }
  for (std::uint32_t i = 0; i < node->DataLength; ++i) {
    printer("%02X", static_cast<unsigned>(node->Data[i]));
  }
  printer("\n");
}

// --- shared with the tree ------------------------------------------------

RegistryRoot* LoadedRegistry() { return gRoot.load(); }
RundownGuard* RegistryRundownGuard() { return &gGuard; }

// Reads all `length` bytes of the registry file into a new buffer. A file too
// large for one buffer, a failed allocation, a failed read or a file that ends
// early fails (logged); the caller then writes nothing back.
[[nodiscard]] NTSTATUS ReadWholeFile(FileHandle file, std::uint64_t length, PoolBuffer* image) {
  if (length > std::numeric_limits<std::uint32_t>::max()) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Registry file too large: %llu bytes",
               static_cast<unsigned long long>(length));
    return STATUS_FILE_INVALID;
  }
  PoolBuffer buffer(static_cast<std::size_t>(length), kTagRegistry);
  if (!buffer) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to allocate the registry image: %!STATUS!", STATUS_NO_MEMORY);
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  const auto size = static_cast<std::uint32_t>(length);
  std::uint32_t done = 0;
  while (done < size) {
    std::uint32_t count = 0;
    const std::uint64_t offset = done;
    const NTSTATUS status = ReadFileAtOffset(file, buffer.as<std::uint8_t>() + done, size - done, &count, &offset);
    if (!NT_SUCCESS(status)) {
      TraceError(TRACE_COMPONENT_REGISTRY, "Failed to read the registry file: %!STATUS!", status);
      return status;
    }
    done += count;
  }
  *image = std::move(buffer);
  return STATUS_SUCCESS;
}

// Locks the registry's directory for the cycle of this open (see the top of
// the file). A directory that is a link to another (vendor data moved to a
// larger volume) is followed, as every path through it is; the files inside
// are still opened without following a final link.
[[nodiscard]] NTSTATUS LockRegistryDirectory() {
  Utf8String path;
  NTSTATUS status = path.Convert(&gRegistryPath);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  const std::string_view text(path.c_str(), path.size());
  const std::size_t slash = text.rfind('/');
  PoolBuffer copy(slash == std::string_view::npos ? 2 : slash + 2, kTagRegistry);
  if (!copy) {
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  auto* directory = copy.as<char>();
  if (slash == std::string_view::npos) {
    std::memcpy(directory, ".", 2);
  } else {
    std::memcpy(directory, text.data(), slash == 0 ? 1 : slash);
    directory[slash == 0 ? 1 : slash] = '\0';
  }
  FileOpen lock = OpenFile(directory, FILE_ACCESS_READ, OPEN_DIRECTORY);
  status = lock.status;
  if (NT_SUCCESS(status)) {
    status = LockFileBounded(lock.file.get(), LOCK_EX, "registry");
  }
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Could not lock the registry's directory %s: %!STATUS!", directory, status);
    return status;
  }
  DirectoryLock() = std::move(lock.file);
  return STATUS_SUCCESS;
}

// Closing the directory lets go of its lock.
void UnlockRegistryDirectory() { DirectoryLock().reset(); }

// Whether `path` still names the temporary file this flush attempt created.
bool IsOwnTempFile(const char* path) {
  struct stat st {};
  return gTempFile.inode != 0 && lstat(path, &st) == 0 && S_ISREG(st.st_mode) &&
         st.st_dev == gTempFile.device && st.st_ino == gTempFile.inode;
}

// Removes the temporary file if it is the one this attempt created (a failed
// flush's own leftover); anything else there is left alone.
void RemoveOwnTempFile() {
  Utf8String path;
  if (!NT_SUCCESS(path.Convert(&gTempPath))) {
    return;
  }
  if (IsOwnTempFile(path.c_str()) && unlink(path.c_str()) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Could not remove %s: %!ERRNO!", path.c_str(), errno);
  }
  gTempFile = FileIdentity{};
}

// Gives the new file the loaded file's mode and owner, and remembers which file
// it is.
[[nodiscard]] NTSTATUS AdoptTempFile(FileHandle file, const char* path) {
  struct stat st {};
  if (fstat(file, &st) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to stat %s: %!ERRNO!", path, errno);
    return STATUS_UNSUCCESSFUL;
  }
  gTempFile = FileIdentity{st.st_dev, st.st_ino};
  if ((st.st_uid != gFileAttributes.owner || st.st_gid != gFileAttributes.group) &&
      fchown(file, gFileAttributes.owner, gFileAttributes.group) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to set the owner of %s: %!ERRNO!", path, errno);
    return STATUS_UNSUCCESSFUL;
  }
  if ((st.st_mode & 07777) != gFileAttributes.mode && fchmod(file, gFileAttributes.mode) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to set the mode of %s: %!ERRNO!", path, errno);
    return STATUS_UNSUCCESSFUL;
  }
  return STATUS_SUCCESS;
}

// One attempt at writing the tree to a new temporary file, fsynced and closed.
// A stale temporary file is unlinked first (unlink never follows a link): under
// the directory lock no other run is flushing, so it is a dead run's. The new
// one is created exclusively, so nothing planted there is ever written to.
[[nodiscard]] NTSTATUS WriteTempFile(RegistryRoot* root) {
  Utf8String path;
  NTSTATUS status = path.Convert(&gTempPath);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Could not remove stale %s: %!ERRNO!", path.c_str(), errno);
  }
  FileOpen opened = OpenRegularFile(path.c_str(), FILE_ACCESS_READ_WRITE, OPEN_CREATE | OPEN_EXCLUSIVE);
  if (!NT_SUCCESS(opened.status)) {
    return opened.status;
  }
  UniqueFile& file = opened.file;
  status = AdoptTempFile(file.get(), path.c_str());
  if (!NT_SUCCESS(status)) {
    return status;
  }
  if (root->FirstStore != nullptr) {
    status = SerializeList(root->FirstStore, file.get());
  }
  if (NT_SUCCESS(status) && fsync(file.get()) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to flush %s: %!ERRNO!", path.c_str(), errno);
    status = STATUS_UNSUCCESSFUL;
  }
  if (file.Close() != 0 && NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to close %s", path.c_str());
    status = STATUS_UNSUCCESSFUL;
  }
  // Renamed only while the path still names this file.
  if (NT_SUCCESS(status) && !IsOwnTempFile(path.c_str())) {
    TraceError(TRACE_COMPONENT_REGISTRY, "%s was replaced by another process; not renamed", path.c_str());
    status = STATUS_UNSUCCESSFUL;
  }
  return status;
}

// --- public operations ---------------------------------------------------

namespace {

// OpenRegistry but the drop of a tree the pool could not hold whole, which
// must wait until this open's reference on the guard is gone. Sets *dropTree
// then, with the tree published and marked clean.
[[nodiscard]] NTSTATUS LoadRegistry(const UNICODE_STRING* path, bool* dropTree) {
  if (gRoot.load() != nullptr) {
    return STATUS_FAIL_CHECK;
  }
  NTSTATUS status = SetPaths(path);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  InitializeRundownGuard(&gGuard);
  RundownReference reference(&gGuard);
  status = LockRegistryDirectory();
  if (!NT_SUCCESS(status)) {
    FreePaths();  // back to the closed state
    return status;
  }

  PoolBuffer rootMemory(sizeof(RegistryRoot), kTagRegistry);
  if (!rootMemory) {
    UnlockRegistryDirectory();
    FreePaths();  // back to the closed state
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  std::memset(rootMemory.get(), 0, sizeof(RegistryRoot));
  auto* root = new (rootMemory.get()) RegistryRoot{};
  InitializeRecursiveLockBlock(&root->Lock);

  std::uint64_t length = 0;
  PoolBuffer image;
  FileOpen opened = OpenRegularFileUnicode(&gRegistryPath, FILE_ACCESS_READ_WRITE, OPEN_CREATE);
  const UniqueFile& file = opened.file;
  status = opened.status;
  if (NT_SUCCESS(status)) {
    status = GetFileLength(file.get(), &length);
  }
  struct stat st {};
  if (NT_SUCCESS(status) && fstat(file.get(), &st) != 0) {
    TraceError(TRACE_COMPONENT_REGISTRY, "Failed to stat the registry file: %!ERRNO!", errno);
    status = STATUS_UNSUCCESSFUL;
  }
  // The whole file is read before the registry counts as open: a file that
  // cannot be read whole fails the open, so a tree that lacks what the file
  // holds is never flushed over it.
  if (NT_SUCCESS(status) && length != 0) {
    status = ReadWholeFile(file.get(), length, &image);
  }
  if (!NT_SUCCESS(status)) {
    DestroyRecursiveLockBlock(&root->Lock);
    UnlockRegistryDirectory();
    FreePaths();  // back to the closed state
    return status;
  }
  gFileAttributes = FileAttributes{static_cast<mode_t>(st.st_mode & 07777), st.st_uid, st.st_gid};
  gRoot.store(static_cast<RegistryRoot*>(rootMemory.release()));  // open from here on
  if (length != 0) {
    // The parse status is not passed on: a damaged file loads up to the damage.
    Parser parser(std::span<const std::uint8_t>(image.as<const std::uint8_t>(), static_cast<std::size_t>(length)));
    (void)parser.ParseStores();
    if (parser.OutOfMemory()) {
      TraceError(TRACE_COMPONENT_REGISTRY, "Failed to load the registry: %!STATUS!", STATUS_INSUFFICIENT_RESOURCES);
      RecursiveLockGuard lock(&root->Lock);
      root->Dirty = 0;
      *dropTree = true;
      return STATUS_INSUFFICIENT_RESOURCES;
    }
  }
  return STATUS_SUCCESS;
}

}  // namespace

// An open registry is refused before its paths or guard are touched, so the
// open tree keeps flushing to its own file.
NTSTATUS OpenRegistry(const UNICODE_STRING* path) {
  bool dropTree = false;
  const NTSTATUS status = LoadRegistry(path, &dropTree);
  if (dropTree) {
    CloseRegistry();  // the tree is clean: nothing is written
  }
  return status;
}

NTSTATUS EnsureRegistryOpen() {
  if (gRoot.load() != nullptr) {
    return STATUS_SUCCESS;
  }
  const UNICODE_STRING path = TvConstantString(kDefaultRegistryPath);
  return OpenRegistry(&path);
}

NTSTATUS FlushRegistry() {
  RegistryRoot* root = gRoot.load();
  if (root == nullptr) {
    return STATUS_INVALID_HANDLE;
  }
  RundownReference reference(&gGuard);
  if (!reference) {
    return STATUS_TOO_LATE;
  }
  RecursiveLockGuard lock(&root->Lock);
  if (root->Dirty == 0) {
    return STATUS_SUCCESS;
  }

  NTSTATUS status = STATUS_UNSUCCESSFUL;
  for (int attempt = 0; attempt < kFlushAttempts; ++attempt) {
    status = WriteTempFile(root);
    if (NT_SUCCESS(status)) {
      status = RenameFile(&gTempPath, &gRegistryPath, true);
      if (NT_SUCCESS(status)) {
        gTempFile = FileIdentity{};
        root->Dirty = 0;
        return STATUS_SUCCESS;
      }
    }
    RemoveOwnTempFile();
  }

  // Three failures: the registry file keeps what it held (it is never deleted
  // or cut), the tree stays in memory, and the failure is returned.
  TraceError(TRACE_COMPONENT_REGISTRY, "Failed flush store: %!STATUS!", status);
  root->Dirty = 0;
  return status;
}

void CloseRegistry() {
  RegistryRoot* root = gRoot.load();
  if (root == nullptr) {
    return;
  }
  (void)FlushRegistry();
  WaitForRundown(&gGuard);
  {
    RecursiveLockGuard lock(&root->Lock);
    DestroyRegistryTree(root);
  }
  DestroyRecursiveLockBlock(&root->Lock);
  gRoot.store(nullptr);
  root->~RegistryRoot();
  TvFreePoolWithTag(root, kTagRegistry);
  FreePaths();
  UnlockRegistryDirectory();
}

void DumpRegistry(RegistryPrinter printer) {
  RegistryRoot* root = gRoot.load();
  if (root == nullptr) {
    printer("Registry is null\n");
    return;
  }
  RundownReference reference(&gGuard);
  if (!reference) {
    return;
  }
  printer("Registry\n");
  printer("%s\n", kRule.data());
  RecursiveLockGuard lock(&root->Lock);
  for (const RegistryNode* store = root->FirstStore; store != nullptr; store = store->Next) {
    printer("|");
    printer("     ");
    store->Dump(store, printer);
    DumpChildren(store, 1, printer);
  }
}

bool IsRegistryDirty() {
  RegistryRoot* root = gRoot.load();
  if (root == nullptr) {
    return false;
  }
  RecursiveLockGuard lock(&root->Lock);
  return root->Dirty != 0;
}
