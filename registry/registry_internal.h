// Shared between the tree (registry.cc) and the file side (registry_file.cc),
// and seen by the registry's own tests: the node and root records behind the
// handles of registry.h. Not for other users.
#pragma once

#include "registry/registry.h"
#include "runtime/sync.h"

// Per-kind node operations.
// Frees what the node owns and the node itself.
using RegistryDestroyOp = void (*)(RegistryNode* node);
// Whether `key` (a GUID* for stores and collections, a UNICODE_STRING* for
// records and attributes) is this node's key.
using RegistryMatchOp = bool (*)(const RegistryNode* node, const void* key);
// Writes the node's own file entry; *skipChildren tells whether its children are
// to be left out. Returns the first failed write's status.
using RegistrySerializeOp = NTSTATUS (*)(const RegistryNode* node, FileHandle file, bool* skipChildren);
// Prints the node's dump line.
using RegistryDumpOp = void (*)(const RegistryNode* node, RegistryPrinter printer);

enum class RegistryNodeKind : std::uint8_t { kStore, kCollection, kRecord, kAttribute };

// The one record type of all four kinds.
struct RegistryNode {
  RegistryNode* Previous;
  RegistryNode* Next;
  RegistryNode* Parent;  // null for a Store: stores hang off the RegistryRoot
  RegistryNode* FirstChild;
  RegistryDestroyOp Destroy;
  RegistryMatchOp Match;
  RegistrySerializeOp Serialize;
  RegistryDumpOp Dump;
  RecursiveLockBlock* Lock;  // the RegistryRoot's lock
  RegistryRoot* Registry;    // whose dirty flag changes set
  RegistryNodeKind Kind;
  GUID Guid;                  // Store, Collection
  UNICODE_STRING Name;        // Record (IndexName), Attribute (AttributeName); owned, NUL-terminated
  std::uint8_t Volatile;      // Collection, Record: fixed at creation
  std::uint32_t DataLength;   // Attribute
  std::uint8_t* Data;         // Attribute: owned, DataLength bytes (null when none)
};

// One per process while the registry is open.
struct RegistryRoot {
  RegistryNode* FirstStore;
  RecursiveLockBlock Lock;
  std::uint8_t Dirty;  // set by every change, cleared by a successful flush
};

// The state of one walk over a node's children.
struct RegistryEnumeration {
  RegistryNode* Parent;
  RegistryNode* Current;  // null before the first step
  std::uint8_t Done;
};

// Whether the open registry has unflushed changes (false when not open).
[[nodiscard]] bool IsRegistryDirty();

// The open registry's root, or null. Published by OpenRegistry, cleared by
// CloseRegistry.
RegistryRoot* LoadedRegistry();
// The registry's rundown guard: held by OpenRegistry, OpenStore, FlushRegistry
// and DumpRegistry; run down by CloseRegistry.
RundownGuard* RegistryRundownGuard();

// Destroys every node of the tree, children before parents, and clears the
// root's store list. The caller holds the registry lock.
void DestroyRegistryTree(RegistryRoot* root);

// Per-kind file entries (registry_file.cc). Each logs "Failed write: %!STATUS!"
// once on a failed write and returns that status.
[[nodiscard]] NTSTATUS SerializeStoreNode(const RegistryNode* node, FileHandle file, bool* skipChildren);
[[nodiscard]] NTSTATUS SerializeCollectionNode(const RegistryNode* node, FileHandle file, bool* skipChildren);
[[nodiscard]] NTSTATUS SerializeRecordNode(const RegistryNode* node, FileHandle file, bool* skipChildren);
[[nodiscard]] NTSTATUS SerializeAttributeNode(const RegistryNode* node, FileHandle file, bool* skipChildren);

// Per-kind dump lines (registry_file.cc).
void DumpStoreNode(const RegistryNode* node, RegistryPrinter printer);
void DumpCollectionNode(const RegistryNode* node, RegistryPrinter printer);
void DumpRecordNode(const RegistryNode* node, RegistryPrinter printer);
void DumpAttributeNode(const RegistryNode* node, RegistryPrinter printer);
