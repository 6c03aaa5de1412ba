// The registry tree: nodes, the provider table and the system-tag query.
// Every tree operation takes the registry lock (recursive) for its whole run;
// OpenStore holds the rundown guard around it. Enumerations take no lock.
#include "registry/registry.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "registry/registry_internal.h"
#include "runtime/little_endian.h"
#include "runtime/pool.h"
#include "runtime/trace.h"

namespace {

// Every name key is copied NUL-terminated (and a null source gives an empty,
// allocated string).
constexpr std::uint32_t kNameCopyFlags =
    RTL_DUPLICATE_UNICODE_STRING_NULL_TERMINATE | RTL_DUPLICATE_UNICODE_STRING_ALLOCATE_NULL_STRING;

// --- per-kind operations ---------------------------------------------------

bool MatchGuid(const RegistryNode* node, const void* key) {
  return std::memcmp(&node->Guid, key, sizeof(GUID)) == 0;
}

bool MatchName(const RegistryNode* node, const void* key) {
  return RtlCompareUnicodeString(&node->Name, static_cast<const UNICODE_STRING*>(key), false) == 0;
}

void DestroyPlainNode(RegistryNode* node) {
  node->~RegistryNode();
  TvFreePoolWithTag(node, kTagRegistry);
}

void DestroyNamedNode(RegistryNode* node) {
  RtlFreeUnicodeString(&node->Name);
  DestroyPlainNode(node);
}

void DestroyAttributeNode(RegistryNode* node) {
  TvFreePoolWithTag(node->Data, kTagRegistry);
  node->Data = nullptr;
  DestroyNamedNode(node);
}

struct NodeOps {
  RegistryDestroyOp destroy;
  RegistryMatchOp match;
  RegistrySerializeOp serialize;
  RegistryDumpOp dump;
};

// Indexed by RegistryNodeKind.
constexpr NodeOps kNodeOps[] = {
    {DestroyPlainNode, MatchGuid, SerializeStoreNode, DumpStoreNode},
    {DestroyPlainNode, MatchGuid, SerializeCollectionNode, DumpCollectionNode},
    {DestroyNamedNode, MatchName, SerializeRecordNode, DumpRecordNode},
    {DestroyAttributeNode, MatchName, SerializeAttributeNode, DumpAttributeNode},
};

// --- node helpers --------------------------------------------------------

struct NodeDestroyer {
  void operator()(RegistryNode* node) const { node->Destroy(node); }
};
// Owns a node that is not linked into the tree yet.
using NodePtr = std::unique_ptr<RegistryNode, NodeDestroyer>;

NodePtr NewNode(RegistryRoot* root, RegistryNodeKind kind, RegistryNode* parent) {
  void* memory = TvAllocatePoolWithTag(sizeof(RegistryNode), kTagRegistry);
  if (memory == nullptr) {
    return NodePtr();
  }
  auto* node = new (memory) RegistryNode{};
  const NodeOps& ops = kNodeOps[static_cast<std::size_t>(kind)];
  node->Destroy = ops.destroy;
  node->Match = ops.match;
  node->Serialize = ops.serialize;
  node->Dump = ops.dump;
  node->Lock = &root->Lock;
  node->Registry = root;
  node->Kind = kind;
  node->Parent = parent;
  return NodePtr(node);
}

RegistryNode* FindSibling(RegistryNode* first, const void* key) {
  for (RegistryNode* node = first; node != nullptr; node = node->Next) {
    if (node->Match(node, key)) {
      return node;
    }
  }
  return nullptr;
}

// Appends at the end of the list headed by *head (creation order is kept).
void AppendSibling(RegistryNode** head, RegistryNode* node) {
  RegistryNode* last = *head;
  if (last == nullptr) {
    *head = node;
    return;
  }
  while (last->Next != nullptr) {
    last = last->Next;
  }
  last->Next = node;
  node->Previous = last;
}

void AppendChild(RegistryNode* parent, RegistryNode* node) {
  AppendSibling(&parent->FirstChild, node);
  node->Registry->Dirty = 1;
}

// Unlinks and destroys one node whose children are already gone. Lock held.
void UnlinkAndDestroy(RegistryNode* node) {
  if (node->Previous != nullptr) {
    node->Previous->Next = node->Next;
  }
  if (node->Next != nullptr) {
    node->Next->Previous = node->Previous;
  }
  if (node->Parent != nullptr) {
    if (node->Parent->FirstChild == node) {
      node->Parent->FirstChild = node->Next;
    }
  } else if (node->Registry->FirstStore == node) {
    node->Registry->FirstStore = node->Next;
  }
  node->Registry->Dirty = 1;
  node->Destroy(node);
}

void DestroySubtree(RegistryNode* node) {
  for (RegistryNode* child = node->FirstChild; child != nullptr;) {
    RegistryNode* next = child->Next;
    DestroySubtree(child);
    child = next;
  }
  node->Destroy(node);
}

// --- provider operations ---------------------------------------------------

[[nodiscard]] NTSTATUS OpenStoreOp(const GUID* key, std::uint8_t* created, RegistryNode** handle) {
  if (created != nullptr) {
    *created = 0;
  }
  RegistryRoot* root = LoadedRegistry();
  if (root == nullptr) {
    return STATUS_INVALID_HANDLE;
  }
  RundownReference reference(RegistryRundownGuard());
  if (!reference) {
    return STATUS_TOO_LATE;
  }
  RecursiveLockGuard lock(&root->Lock);
  if (RegistryNode* found = FindSibling(root->FirstStore, key)) {
    *handle = found;
    return STATUS_SUCCESS;
  }
  NodePtr node = NewNode(root, RegistryNodeKind::kStore, nullptr);
  if (!node) {
    *handle = nullptr;
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  node->Guid = *key;
  *handle = node.get();
  AppendSibling(&root->FirstStore, node.release());
  root->Dirty = 1;
  if (created != nullptr) {
    *created = 1;
  }
  return STATUS_SUCCESS;
}

// Slots 2, 3, 7 and 13: a flush of the whole registry, whatever the handle.
[[nodiscard]] NTSTATUS FlushByHandleOp(RegistryNode*) { return FlushRegistry(); }

// Slots 4, 8 and 14.
[[nodiscard]] NTSTATUS DeleteNodeOp(RegistryNode* node) {
  RecursiveLockGuard lock(node->Lock);
  for (RegistryNode* child = node->FirstChild; child != nullptr;) {
    RegistryNode* next = child->Next;
    (void)DeleteNodeOp(child);
    child = next;
  }
  node->FirstChild = nullptr;
  UnlinkAndDestroy(node);
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS OpenCollectionOp(RegistryNode* store, std::uint8_t isVolatile, const GUID* key,
                                        RegistryNode** handle) {
  RecursiveLockGuard lock(store->Lock);
  if (RegistryNode* found = FindSibling(store->FirstChild, key)) {
    *handle = found;  // keeps the Volatile it was created with
    return STATUS_SUCCESS;
  }
  NodePtr node = NewNode(store->Registry, RegistryNodeKind::kCollection, store);
  if (!node) {
    *handle = nullptr;
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  node->Guid = *key;
  node->Volatile = isVolatile != 0 ? 1 : 0;
  *handle = node.get();
  AppendChild(store, node.release());
  return STATUS_SUCCESS;
}

// The extra argument carries no meaning (no creation options exist); it is
// accepted for table compatibility and ignored.
[[nodiscard]] NTSTATUS OpenCollectionExOp(RegistryNode* store, std::uint8_t isVolatile, const GUID* key, void*,
                                          RegistryNode** handle) {
  return OpenCollectionOp(store, isVolatile, key, handle);
}

[[nodiscard]] NTSTATUS ReferenceCollectionOp(RegistryNode* collection, void*, RegistryNode** out) {
  *out = collection;
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS DereferenceCollectionOp(RegistryNode*) { return STATUS_SUCCESS; }

[[nodiscard]] NTSTATUS CreateRecordOp(RegistryNode* collection, const UNICODE_STRING* indexName,
                                      std::uint8_t isVolatile, RegistryNode** handle, std::uint8_t* created) {
  if (created != nullptr) {
    *created = 0;
  }
  RecursiveLockGuard lock(collection->Lock);
  if (RegistryNode* found = FindSibling(collection->FirstChild, indexName)) {
    *handle = found;
    return STATUS_SUCCESS;
  }
  *handle = nullptr;
  NodePtr node = NewNode(collection->Registry, RegistryNodeKind::kRecord, collection);
  if (!node) {
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  const NTSTATUS status = RtlDuplicateUnicodeString(kNameCopyFlags, indexName, &node->Name);
  if (!NT_SUCCESS(status)) {
    return status;  // the node is freed with its owner
  }
  node->Volatile = isVolatile != 0 ? 1 : 0;
  *handle = node.get();
  AppendChild(collection, node.release());
  if (created != nullptr) {
    *created = 1;
  }
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS OpenRecordOp(RegistryNode* collection, const UNICODE_STRING* indexName,
                                    RegistryNode** handle) {
  RecursiveLockGuard lock(collection->Lock);
  RegistryNode* found = FindSibling(collection->FirstChild, indexName);
  if (found == nullptr) {
    return STATUS_OBJECT_NAME_NOT_FOUND;
  }
  *handle = found;
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS SetAttributeOp(RegistryNode* record, const UNICODE_STRING* attributeName,
                                      AttributeValue* value) {
  RecursiveLockGuard lock(record->Lock);
  RegistryNode* attribute = FindSibling(record->FirstChild, attributeName);
  if (attribute == nullptr) {
    NodePtr node = NewNode(record->Registry, RegistryNodeKind::kAttribute, record);
    if (!node) {
      return STATUS_INSUFFICIENT_RESOURCES;
    }
    // When the name cannot be copied the new node is freed and the copy's
    // failure returned, as CreateRecord does: an attribute without its name
    // could never be found or written again.
    const NTSTATUS status = RtlDuplicateUnicodeString(kNameCopyFlags, attributeName, &node->Name);
    if (!NT_SUCCESS(status)) {
      return status;
    }
    attribute = node.get();
    AppendChild(record, node.release());
  }

  if (attribute->Data != nullptr) {
    TvFreePoolWithTag(attribute->Data, kTagRegistry);
    attribute->Data = nullptr;
    record->Registry->Dirty = 1;  // the stored value is gone
  }
  attribute->DataLength = 0;

  const std::uint32_t size = value->BufferSize;
  PoolBuffer data(size, kTagRegistry);
  if (!data) {
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  if (size != 0) {
    std::memcpy(data.get(), value->Buffer, size);
  }
  attribute->Data = static_cast<std::uint8_t*>(data.release());
  attribute->DataLength = size;
  record->Registry->Dirty = 1;
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS QueryAttributeOp(RegistryNode* record, const UNICODE_STRING* attributeName,
                                        AttributeValue* value) {
  RecursiveLockGuard lock(record->Lock);
  const RegistryNode* attribute = FindSibling(record->FirstChild, attributeName);
  if (attribute == nullptr) {
    return STATUS_OBJECT_NAME_NOT_FOUND;
  }
  value->DataSize = attribute->DataLength;
  if (value->BufferSize < attribute->DataLength) {
    value->Status = STATUS_BUFFER_TOO_SMALL;
    return STATUS_BUFFER_TOO_SMALL;
  }
  if (attribute->DataLength != 0) {
    std::memcpy(value->Buffer, attribute->Data, attribute->DataLength);
  }
  value->Status = STATUS_SUCCESS;
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS DeleteAttributeOp(RegistryNode* record, const UNICODE_STRING* attributeName) {
  RecursiveLockGuard lock(record->Lock);
  if (RegistryNode* attribute = FindSibling(record->FirstChild, attributeName)) {
    UnlinkAndDestroy(attribute);
  }
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS OpenEnumerationOp(RegistryNode* parent, void*, RegistryEnumeration** out) {
  void* memory = TvAllocatePoolWithTag(sizeof(RegistryEnumeration), kTagRegistry);
  if (memory == nullptr) {
    *out = nullptr;
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  *out = new (memory) RegistryEnumeration{parent, nullptr, 0};
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS CloseEnumerationOp(RegistryEnumeration* enumeration) {
  TvFreePoolWithTag(enumeration, kTagRegistry);
  return STATUS_SUCCESS;
}

[[nodiscard]] NTSTATUS EnumerateNextOp(RegistryEnumeration* enumeration, RegistryNode** child) {
  if (enumeration->Done != 0) {
    return STATUS_NOT_FOUND;
  }
  RegistryNode* next =
      enumeration->Current != nullptr ? enumeration->Current->Next : enumeration->Parent->FirstChild;
  if (next == nullptr) {
    enumeration->Done = 1;
    return STATUS_NOT_FOUND;
  }
  enumeration->Current = next;
  *child = next;
  return STATUS_SUCCESS;
}

constexpr RegistryProvider kProvider = {
    kRegistryProviderVersion,
    OpenStoreOp,
    FlushByHandleOp,
    FlushByHandleOp,
    DeleteNodeOp,
    OpenCollectionExOp,
    OpenCollectionOp,
    FlushByHandleOp,
    DeleteNodeOp,
    ReferenceCollectionOp,
    DereferenceCollectionOp,
    CreateRecordOp,
    OpenRecordOp,
    FlushByHandleOp,
    DeleteNodeOp,
    SetAttributeOp,
    QueryAttributeOp,
    DeleteAttributeOp,
    OpenEnumerationOp,
    CloseEnumerationOp,
    nullptr,
    EnumerateNextOp,
};

// --- system tags ---------------------------------------------------------

constexpr UNICODE_STRING kRecordName = TvConstantString(kSystemTagRecordName);
constexpr UNICODE_STRING kBitmapName = TvConstantString(kSystemTagBitmapName);
constexpr UNICODE_STRING kListName = TvConstantString(kSystemTagListName);

// Delivers the bitmap's set bits, then the list's values.
[[nodiscard]] NTSTATUS DeliverTags(const RegistryProvider* provider, RegistryNode* record,
                                   SystemTagCallback callback, void* context) {
  std::uint8_t bitmap[kSystemTagBitmapBytes] = {};
  AttributeValue value{bitmap, sizeof(bitmap), 0, STATUS_SUCCESS};
  NTSTATUS status = provider->QueryAttribute(record, &kBitmapName, &value);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  if (value.DataSize != kSystemTagBitmapBytes) {
    return STATUS_INTERNAL_ERROR;
  }
  for (std::uint32_t byte = 0; byte < kSystemTagBitmapBytes; ++byte) {
    for (std::uint32_t bit = 0; bit < 8; ++bit) {
      if ((bitmap[byte] & (1u << bit)) != 0) {
        status = callback(std::uint64_t{byte} * 8 + bit, context);
        if (!NT_SUCCESS(status)) {
          return status;
        }
      }
    }
  }

  AttributeValue sizeQuery{nullptr, 0, 0, STATUS_SUCCESS};
  status = provider->QueryAttribute(record, &kListName, &sizeQuery);
  if (status != STATUS_SUCCESS && status != STATUS_BUFFER_TOO_SMALL) {
    return status;
  }
  PoolBuffer list(sizeQuery.DataSize, kTagRegistry);
  if (!list) {
    return STATUS_NO_MEMORY;
  }
  AttributeValue listQuery{list.get(), sizeQuery.DataSize, 0, STATUS_SUCCESS};
  status = provider->QueryAttribute(record, &kListName, &listQuery);
  if (!NT_SUCCESS(status)) {
    return status;
  }
  const auto* bytes = list.as<const std::uint8_t>();
  for (std::uint32_t offset = 0; offset + 8 <= listQuery.DataSize; offset += 8) {
    status = callback(little_endian::Load<std::uint64_t>(bytes + offset), context);
    if (!NT_SUCCESS(status)) {
      return status;
    }
  }
  return STATUS_SUCCESS;
}

NTSTATUS PrintTag(std::uint64_t tag, void*) {
  std::printf("%lu\n", static_cast<unsigned long>(tag));
  return STATUS_SUCCESS;
}

}  // namespace

void DestroyRegistryTree(RegistryRoot* root) {
  for (RegistryNode* store = root->FirstStore; store != nullptr;) {
    RegistryNode* next = store->Next;
    DestroySubtree(store);
    store = next;
  }
  root->FirstStore = nullptr;
}

const RegistryProvider* GetRegistryProvider() { return &kProvider; }

NTSTATUS EnumerateSystemTags(SystemTagCallback callback, void* context) {
  const RegistryProvider* provider = GetRegistryProvider();
  RegistryNode* store = nullptr;
  RegistryNode* collection = nullptr;
  RegistryNode* record = nullptr;

  NTSTATUS status = provider->OpenStore(&kSystemTagStoreGuid, nullptr, &store);
  if (NT_SUCCESS(status)) {
    status = provider->OpenCollection(store, 0, &kSystemTagCollectionGuid, &collection);
    if (NT_SUCCESS(status)) {
      status = provider->OpenRecord(collection, &kRecordName, &record);
      if (NT_SUCCESS(status)) {
        status = DeliverTags(provider, record, callback, context);
        // The closes are flushes; their results do not change the query's.
        (void)provider->CloseRecord(record);
      }
      (void)provider->CloseCollection(collection);
    }
    (void)provider->CloseStore(store);
  }
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not enumerate system tags: %!STATUS!", status);
  }
  return status;
}

NTSTATUS PrintSystemTags() { return EnumerateSystemTags(PrintTag, nullptr); }
