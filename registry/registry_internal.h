// Shared between the tree (registry.cc) and the file side (registry_file.cc).
// Not for other users.
#pragma once

#include "registry/registry.h"

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
