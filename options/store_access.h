// The configuration-store calls the option handlers make, as a table of
// functions reached through their OptionContext: the store's own functions,
// or a table a unit test of a handler hands it (to make a read, write or
// delete fail on demand). Same contracts as store/simple_store.h.
#pragma once

#include <cstdint>

#include "runtime/rtl_string.h"
#include "runtime/status.h"
#include "store/simple_store.h"

struct StoreAccess {
  NTSTATUS (*get)(const UNICODE_STRING* name, void* buffer, std::uint32_t* size);
  NTSTATUS (*set)(const UNICODE_STRING* name, const void* data, std::uint32_t length);
  NTSTATUS (*remove)(const UNICODE_STRING* name);
};

inline constexpr StoreAccess kSimpleStoreAccess{GetSimpleStoreValue, SetSimpleStoreValue, DeleteSimpleStoreValue};
