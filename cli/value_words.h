// Which option rows take a value from a closed set, and the words of that set,
// taken from the tables the handlers validate against (options/value_sets.h).
// The bash completion and the manual page list values through this.
#pragma once

#include <string_view>

#include "cli/option_table.h"
#include "options/value_sets.h"

// Whether the row's value is a comma-separated list of its words.
constexpr bool TakesWordList(int row) { return row == kRowFeature || row == kRowMetadataQuery; }

// Calls emit(std::string_view) for each word the row accepts, in table order;
// rows with free-form values (host, port, identifiers, tags, numbers) emit none.
template <typename Emit>
constexpr void ForEachValueWord(int row, Emit&& emit) {
  using namespace value_sets;
  switch (row) {
    case kRowApd:
    case kRowFkm:
    case kRowLogCounters:
      for (std::string_view word : kSwitchWords) emit(word);
      break;
    case kRowTrace:
      for (std::string_view word : kTraceLevels) emit(word);
      break;
    case kRowPcpt:
      for (const NamedValue& value : kProtocols) emit(std::string_view(value.name));
      break;
    case kRowBackend:
      for (const NamedValue& value : kBackends) emit(std::string_view(value.name));
      break;
    case kRowBilling:
      for (const NamedValue& value : kBillingTypes) emit(std::string_view(value.name));
      break;
    case kRowFeature:
      for (const FlagWord& word : kFeatureWords) {
        if (word.action != value_sets::WordAction::ShowOnly) emit(word.word);
      }
      break;
    case kRowMetadataQuery:
      for (const FlagWord& word : kMetadataQueryWords) emit(word.word);
      break;
    default:
      break;
  }
}
