// The registry: a four-level tree (Store > Collection > Record > Attribute) kept
// in memory while open and persisted in one file. Stores and collections are
// named by GUIDs, records and attributes by counted UTF-16 names; only
// attributes carry data. Callers reach the tree through the RegistryProvider
// table and hold plain node references (handles) that stay valid until the node
// is deleted or the registry is closed; close operations never free them.
//
// Locking: every operation that reads or changes the tree takes the registry's
// one recursive lock; OpenStore, FlushRegistry and DumpRegistry additionally hold
// the registry's rundown guard first (guard, then lock), so CloseRegistry waits
// for them. Enumerations take no lock: a caller that enumerates while other
// threads change the same parent must hold those changes off itself.
// OpenRegistry and CloseRegistry must not run concurrently with each other or
// with other users; the caller serialises them.
//
// Memory: the root, nodes, attribute data and enumerations come from
// TvAllocatePoolWithTag with tag index kTagRegistry (684).
#pragma once

#include <cstdint>

#include "runtime/file.h"
#include "runtime/rtl_string.h"
#include "runtime/status.h"
#include "runtime/utf8.h"

// Handles: callers hold pointers to these and reach their contents only through
// the provider table below (registry_internal.h defines them for the
// registry's own code).
struct RegistryNode;
struct RegistryRoot;

// printf-like output used by DumpRegistry (std::printf fits).
using RegistryPrinter = int (*)(const char* format, ...);

// The descriptor passed to SetAttribute (Buffer, BufferSize = length to store)
// and QueryAttribute (BufferSize in; DataSize and Status out).
struct AttributeValue {
  void* Buffer;
  std::uint32_t BufferSize;
  std::uint32_t DataSize;
  NTSTATUS Status;
};

// One walk over a node's children (opened and closed through the provider).
struct RegistryEnumeration;

// The operation table. Version 2; 21 slots; slot 20 holds no operation and must
// not be called. Statuses per slot:
//  1 OpenStore: find or create; STATUS_INVALID_HANDLE (registry not open),
//    STATUS_TOO_LATE (closing), STATUS_INSUFFICIENT_RESOURCES. `created` optional.
//  2,3,7,13 CloseStore/FlushStore/CloseCollection/CloseRecord: each writes the
//    whole registry back to its file (FlushRegistry), whatever the handle; the
//    handle stays valid.
//  4,8,14 DeleteStore/DeleteCollection/DeleteRecord: deletes the node and all
//    below it; STATUS_SUCCESS; the handle is invalid afterwards.
//  5,6 OpenCollectionEx/OpenCollection: find or create; an existing collection
//    keeps the Volatile it was created with. OpenCollectionEx's extra argument
//    is accepted and ignored.
//  9 ReferenceCollection: *out = handle, no count kept. 10 DereferenceCollection:
//    no effect. Both STATUS_SUCCESS.
//  11 CreateRecord: find or create; the name copy's failure status or
//    STATUS_INSUFFICIENT_RESOURCES, *handle null. `created` optional.
//  12 OpenRecord: STATUS_OBJECT_NAME_NOT_FOUND when absent.
//  15 SetAttribute: create or replace; STATUS_INSUFFICIENT_RESOURCES.
//  16 QueryAttribute: STATUS_OBJECT_NAME_NOT_FOUND (value untouched),
//    STATUS_BUFFER_TOO_SMALL (DataSize set, nothing copied) or STATUS_SUCCESS.
//  17 DeleteAttribute: always STATUS_SUCCESS.
//  18 OpenEnumeration: new walk in *out (freed by CloseEnumeration);
//    STATUS_INSUFFICIENT_RESOURCES.
//  19 CloseEnumeration: STATUS_SUCCESS.
//  21 EnumerateNext: next child, or STATUS_NOT_FOUND at the end (and after it).
struct RegistryProvider {
  std::uint32_t Version;
  NTSTATUS (*OpenStore)(const GUID* key, std::uint8_t* created, RegistryNode** handle);
  NTSTATUS (*CloseStore)(RegistryNode* store);
  NTSTATUS (*FlushStore)(RegistryNode* store);
  NTSTATUS (*DeleteStore)(RegistryNode* store);
  NTSTATUS (*OpenCollectionEx)(RegistryNode* store, std::uint8_t isVolatile, const GUID* key, void* ignored,
                               RegistryNode** handle);
  NTSTATUS (*OpenCollection)(RegistryNode* store, std::uint8_t isVolatile, const GUID* key, RegistryNode** handle);
  NTSTATUS (*CloseCollection)(RegistryNode* collection);
  NTSTATUS (*DeleteCollection)(RegistryNode* collection);
  NTSTATUS (*ReferenceCollection)(RegistryNode* collection, void* ignored, RegistryNode** out);
  NTSTATUS (*DereferenceCollection)(RegistryNode* collection);
  NTSTATUS (*CreateRecord)(RegistryNode* collection, const UNICODE_STRING* indexName, std::uint8_t isVolatile,
                           RegistryNode** handle, std::uint8_t* created);
  NTSTATUS (*OpenRecord)(RegistryNode* collection, const UNICODE_STRING* indexName, RegistryNode** handle);
  NTSTATUS (*CloseRecord)(RegistryNode* record);
  NTSTATUS (*DeleteRecord)(RegistryNode* record);
  NTSTATUS (*SetAttribute)(RegistryNode* record, const UNICODE_STRING* attributeName, AttributeValue* value);
  NTSTATUS (*QueryAttribute)(RegistryNode* record, const UNICODE_STRING* attributeName, AttributeValue* value);
  NTSTATUS (*DeleteAttribute)(RegistryNode* record, const UNICODE_STRING* attributeName);
  NTSTATUS (*OpenEnumeration)(RegistryNode* parent, void* ignored, RegistryEnumeration** out);
  NTSTATUS (*CloseEnumeration)(RegistryEnumeration* enumeration);
  void* Reserved20;
  NTSTATUS (*EnumerateNext)(RegistryEnumeration* enumeration, RegistryNode** child);
};

inline constexpr std::uint32_t kRegistryProviderVersion = 2;

// The process's one provider table.
[[nodiscard]] const RegistryProvider* GetRegistryProvider();

// System tags: the bitmap attribute's set bits (byte 0 bit 0 first), then the list
// attribute's 64-bit little-endian values, without removing duplicates. A failing
// callback stops the enumeration with its status. Opening the system-tag store
// and collection creates them when missing; a missing record gives
// STATUS_OBJECT_NAME_NOT_FOUND; a bitmap of other than 64 bytes gives
// STATUS_INTERNAL_ERROR (shorter) or STATUS_BUFFER_TOO_SMALL (longer) before any
// tag; a missing list attribute fails after the bitmap tags were delivered; a
// list buffer that cannot be allocated gives STATUS_NO_MEMORY. Whatever was opened
// is closed again (each close a flush). Failures are logged.
using SystemTagCallback = NTSTATUS (*)(std::uint64_t tag, void* context);
[[nodiscard]] NTSTATUS EnumerateSystemTags(SystemTagCallback callback, void* context);
// "%lu\n" per tag to stdout. Part of the runtime's API; the tool prints the tags
// through its own output path (EnumerateSystemTags).
[[nodiscard]] NTSTATUS PrintSystemTags();

// Loads `path` (created empty, 0660, when missing) into a new tree. A damaged
// file loads up to the damage and still gives STATUS_SUCCESS. A path that is a
// symbolic link or not a regular file, a file that cannot be read whole, and a
// file whose tree the pool cannot hold whole (STATUS_INSUFFICIENT_RESOURCES)
// fail the open and leave the registry closed, so nothing is written back over
// a file whose contents were not loaded. Statuses: STATUS_INVALID_PARAMETER
// (path too long for its ".tmp" twin), STATUS_NO_MEMORY, STATUS_FAIL_CHECK
// (already open; the open tree is left as it is), STATUS_INSUFFICIENT_RESOURCES,
// STATUS_FILE_INVALID, or the file open's, length query's or read's status.
[[nodiscard]] NTSTATUS OpenRegistry(const UNICODE_STRING* path);
// STATUS_SUCCESS if already open, else OpenRegistry on /opt/Marrowlight/Registry.bin.
[[nodiscard]] NTSTATUS EnsureRegistryOpen();
// Flushes (result ignored), runs the guard down, frees everything. Nothing
// happens when the registry is not open.
void CloseRegistry();
// When dirty, writes the tree to a new "<path>.tmp" (a stale one is unlinked
// first, the new one created exclusively and fsynced) and renames it over the
// registry file; three attempts, then the tree is kept in memory, no longer
// dirty, and the registry file is left as it was: it is never deleted or cut.
// A failed attempt removes its own temporary file when that is a regular file.
// STATUS_INVALID_HANDLE (not open), STATUS_TOO_LATE (closing), STATUS_SUCCESS,
// or the last attempt's failure.
[[nodiscard]] NTSTATUS FlushRegistry();
// Prints the tree through `printer`.
void DumpRegistry(RegistryPrinter printer);

// The system-tag location, for writers and readers of the tags.
inline constexpr GUID kSystemTagStoreGuid = {0x733c9a98, 0x7f6b, 0x4538, {0x9a, 0x35, 0x5c, 0x19, 0x5f, 0x22, 0x4c, 0x0d}};
inline constexpr GUID kSystemTagCollectionGuid = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0x0b}};
inline constexpr char16_t kSystemTagRecordName[] = u"00:00:00:00";
// 64 bytes, 512 flags; tag n is bit n % 8 of byte n / 8.
inline constexpr char16_t kSystemTagBitmapName[] = u"{c68df783-ec90-43ab-b6b3-03001700cc2b}";
inline constexpr std::uint32_t kSystemTagBitmapBytes = 64;
// An array of 64-bit little-endian tag values.
inline constexpr char16_t kSystemTagListName[] = u"{f8e11898-7dc7-4025-abc3-b930753f2911}";
