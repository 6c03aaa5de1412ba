// Constant (number, name) tables of the options whose stored number stands for
// a name (pcpt, backend, billing), and their two lookups.
#pragma once

#include <strings.h>

#include <cstdint>
#include <cstring>
#include <span>

struct NamedValue {
  std::uint32_t id;
  const char* name;
};

enum class NameCase { kExact, kIgnore };

// The row whose name equals `text` (ASCII case folded with NameCase::kIgnore),
// or null. A null text matches nothing.
inline const NamedValue* FindNamedValue(std::span<const NamedValue> table, const char* text, NameCase match) {
  if (text == nullptr) {
    return nullptr;
  }
  for (const NamedValue& row : table) {
    const int diff = match == NameCase::kIgnore ? strcasecmp(row.name, text) : std::strcmp(row.name, text);
    if (diff == 0) {
      return &row;
    }
  }
  return nullptr;
}

// The name of the first row with `id`, or null.
constexpr const char* NameOfValue(std::span<const NamedValue> table, std::uint32_t id) {
  for (const NamedValue& row : table) {
    if (row.id == id) {
      return row.name;
    }
  }
  return nullptr;
}
