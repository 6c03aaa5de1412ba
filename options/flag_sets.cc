// --feature (AFLAGS) and --metadata-query (IMQF): 32-bit flag sets given as a
// comma-separated list of switch words and printed back as words plus a
// hexadecimal mask.
//
// Both options run through one parser and one get path. Their settings rows
// give the stored value name, the words, the text for an unset value and
// whether --update signals the sensor; what stays here is how each prints its
// mask as words, and where each copies the value for splitting.
//
// Only -s and -g reach these handlers (the option table refuses -d); any mode
// other than set is served as a get.
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

#include "options/handlers.h"
#include "options/settings.h"
#include "options/stored_value.h"
#include "options/value_print.h"
#include "options/value_sets.h"
#include "runtime/pool.h"

namespace {

// A list longer than this is refused before it is parsed; the metadata-query
// copy buffer holds exactly this much plus the terminator.
constexpr std::size_t kMaxListLength = 255;

using value_sets::FlagWord;
using value_sets::WordAction;

// Longest word text of either printer: four words and three commas.
constexpr std::size_t kWordTextSize = 64;

// Appends `word` to the comma-joined text in `out` (capacity kWordTextSize).
void AppendWord(char* out, std::size_t* length, const char* word) {
  const std::size_t wordLength = std::strlen(word);
  const std::size_t separator = *length != 0 ? 1 : 0;
  if (*length + separator + wordLength >= kWordTextSize) {
    return;  // cannot happen with the tables above
  }
  if (separator != 0) {
    out[(*length)++] = ',';
  }
  std::memcpy(out + *length, word, wordLength);
  *length += wordLength;
  out[*length] = '\0';
}

using Words = std::span<const FlagWord>;

void FormatFeatureWords(Words words, std::uint32_t mask, char* out) {
  std::size_t length = 0;
  out[0] = '\0';
  for (const FlagWord& word : words) {
    if (word.bits != 0 && (mask & word.bits) == word.bits) {
      AppendWord(out, &length, word.word.data());
    }
  }
}

// The enable word undoing `disable` (the word clearing the same bits).
const char* EnableWordOf(Words words, const FlagWord& disable) {
  for (const FlagWord& word : words) {
    if (word.action == WordAction::kClearBits && word.bits == disable.bits) {
      return word.word.data();
    }
  }
  return disable.word.data();  // every disable word has one (value_sets.h asserts it)
}

void FormatMetadataQueryWords(Words words, std::uint32_t mask, char* out) {
  std::size_t length = 0;
  out[0] = '\0';
  // The provider words set one bit; "disable" and "enable" cover all of them.
  std::uint32_t allProviders = 0;
  for (const FlagWord& word : words) {
    if (word.action == WordAction::kSetBits && std::has_single_bit(word.bits)) allProviders |= word.bits;
  }
  for (const FlagWord& word : words) {
    const bool all = word.bits == allProviders;
    if (all && ((word.action == WordAction::kSetBits && mask == allProviders) ||
                (word.action == WordAction::kClearBits && mask == 0))) {
      AppendWord(out, &length, word.word.data());
      return;
    }
  }
  // Bits above the providers' leave the words alone; they show only in the hex mask.
  for (const FlagWord& word : words) {
    if (word.action == WordAction::kSetBits && std::has_single_bit(word.bits)) {
      AppendWord(out, &length, (mask & word.bits) != 0 ? word.word.data() : EnableWordOf(words, word));
    }
  }
}

// One of the two options: its settings row, and how its mask prints as words
// (out: kWordTextSize bytes).
struct FlagOption {
  const Setting& row;
  void (*formatWords)(Words words, std::uint32_t mask, char* out);
};

void PrintMask(OptionContext* context, const FlagOption& option, std::uint32_t mask) {
  char words[kWordTextSize];
  option.formatWords(option.row.flagWords, mask, words);
  PrintValue(context, "%s=%s (hex bitmask: %x)", context->option, words, mask);
}

// Refuses a list over kMaxListLength bytes (measured no further than one past
// it). Returns STATUS_SUCCESS or STATUS_INVALID_PARAMETER after the message.
NTSTATUS CheckListLength(const OptionContext* context, const char* value) {
  if (strnlen(value, kMaxListLength + 1) > kMaxListLength) {
    PrintDiagnostic("\"%s\" is not a valid value for --%s\n", value, context->option);
    return STATUS_INVALID_PARAMETER;
  }
  return STATUS_SUCCESS;
}

// Splits `list` in place at every "," and applies the words left to right to a
// mask that starts at 0. An empty piece is an unknown word. Returns the first
// unknown word (pointing into `list`), or null with *mask set.
const char* ParseSwitchList(Words words, char* list, std::uint32_t* mask) {
  std::uint32_t result = 0;
  char* piece = list;
  for (;;) {
    char* const comma = std::strchr(piece, ',');
    if (comma != nullptr) {
      *comma = '\0';
    }
    const std::string_view word(piece);
    const FlagWord* match = nullptr;
    for (const FlagWord& candidate : words) {
      if (candidate.word == word && candidate.action != WordAction::kShowOnly) {
        match = &candidate;
        break;
      }
    }
    if (match == nullptr) {
      return piece;
    }
    switch (match->action) {
      case WordAction::kSetBits:
        result |= match->bits;
        break;
      case WordAction::kClearBits:
        result &= ~match->bits;
        break;
      case WordAction::kClearAll:
        result = 0;
        break;
      case WordAction::kShowOnly:
        break;  // never matched above
    }
    if (comma == nullptr) {
      break;
    }
    piece = comma + 1;
  }
  *mask = result;
  return nullptr;
}

// Set mode after the length check: `copy` is the caller's writable copy of
// `value`, consumed by the split. Parses, writes the mask, signals the sensor
// when the option's settings row reloads and --update was given, and prints
// with -v. STATUS_SUCCESS; STATUS_UNSUCCESSFUL for an unknown word; the store's
// status.
NTSTATUS ApplySwitchList(OptionContext* context, const FlagOption& option, const char* value, char* copy) {
  std::uint32_t mask = 0;
  if (const char* unknown = ParseSwitchList(option.row.flagWords, copy, &mask); unknown != nullptr) {
    PrintDiagnostic("not a valid %s switch: %s\n", context->option, unknown);
    return STATUS_UNSUCCESSFUL;
  }
  const NTSTATUS status = WriteU32Value(&option.row.name, mask);
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not write %s \"%s\" to config\n", context->option, value);
    return status;
  }
  if (option.row.reloads && context->reload != nullptr) {
    // The signal's own outcome does not change this handler's result.
    context->reload();
  }
  if (context->verbose) {
    PrintMask(context, option, mask);
  }
  return STATUS_SUCCESS;
}

// Get mode: an absent value prints the row's unset text, or "<option> is not
// set". STATUS_SUCCESS or the store's status after the read-failure message.
NTSTATUS ShowMask(OptionContext* context, const FlagOption& option) {
  std::uint32_t mask = 0;
  const NTSTATUS status = ReadU32Value(&option.row.name, &mask);
  if (status == STATUS_NOT_FOUND) {
    if (option.row.unsetText != nullptr) {
      PrintValue(context, "%s", option.row.unsetText);
    } else {
      PrintNotSet(context, context->option);
    }
    return STATUS_SUCCESS;
  }
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not get %s from config file %x\n", context->option, static_cast<unsigned>(status));
    return status;
  }
  PrintMask(context, option, mask);
  return STATUS_SUCCESS;
}

}  // namespace

NTSTATUS HandleFeature(OptionContext* context, const char* value) {
  const FlagOption feature{SettingOf(OptionId::kFeature), FormatFeatureWords};
  if (!context->set) {
    return ShowMask(context, feature);
  }
  if (const NTSTATUS status = CheckListLength(context, value); !NT_SUCCESS(status)) {
    return status;
  }
  // The split works on a heap copy, freed by its owner on every path.
  const std::size_t size = std::strlen(value) + 1;
  PoolBuffer copy(size, kTagTool);
  if (!copy) {
    PrintDiagnostic("Out of Memory, giving up\n");
    return STATUS_NO_MEMORY;
  }
  std::memcpy(copy.get(), value, size);
  return ApplySwitchList(context, feature, value, copy.as<char>());
}

NTSTATUS HandleMetadataQuery(OptionContext* context, const char* value) {
  const FlagOption metadataQuery{SettingOf(OptionId::kMetadataQuery), FormatMetadataQueryWords};
  if (!context->set) {
    return ShowMask(context, metadataQuery);
  }
  if (const NTSTATUS status = CheckListLength(context, value); !NT_SUCCESS(status)) {
    return status;
  }
  char copy[kMaxListLength + 1];
  std::memcpy(copy, value, std::strlen(value) + 1);  // at most 256 bytes after the length check
  return ApplySwitchList(context, metadataQuery, value, copy);
}
