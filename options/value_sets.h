// The closed sets of values that option handlers accept, in one place: the
// handlers validate against these tables, and the bash completion and the
// manual page list them.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

#include "options/named_value.h"

namespace value_sets {

// What a tag may hold besides the ASCII letters and digits (tags are separated
// by commas).
inline constexpr std::string_view kTagPunctuation = "-./@_";

// Trace levels, compared case-sensitively.
inline constexpr std::array<std::string_view, 5> kTraceLevels{"none", "debug", "info", "warn", "err"};

inline constexpr std::array<NamedValue, 3> kBackends{{{0, "auto"}, {1, "kernel"}, {2, "bpf"}}};

inline constexpr std::array<NamedValue, 2> kBillingTypes{{{0, "default"}, {1, "metered"}}};

// Preferred connection protocol types, compared ignoring case.
inline constexpr std::array<NamedValue, 3> kProtocols{{{0, "auto"}, {4, "ipv4"}, {6, "ipv6"}}};

// The spellings of a switch (apd, fkm, logcounters) offered to users. The
// parser also takes them in any letter case, and "1" and "0".
inline constexpr std::array<std::string_view, 2> kSwitchWords{"true", "false"};

// Words of a comma-separated flag list and what each does to the mask. A
// ShowOnly word names a bit that a get prints but a set does not take.
enum class WordAction : std::uint8_t { kSetBits, kClearBits, kClearAll, kShowOnly };

struct FlagWord {
  std::string_view word;
  WordAction action;
  std::uint32_t bits;
};

// A get prints the words of the set bits in this order.
inline constexpr std::array<FlagWord, 5> kFeatureWords{{
    {"enableLog", WordAction::kSetBits, 0x1},
    {"disableLogBuffer", WordAction::kSetBits, 0x2},
    {"disableOsfm", WordAction::kShowOnly, 0x10000},
    {"emulateUpdate", WordAction::kShowOnly, 0x20000},
    {"none", WordAction::kClearAll, 0},
}};

// A get prints, for each provider bit in this order, its disable word when the
// bit is set and its enable word when not; all four set print "disable", none
// "enable".
inline constexpr std::array<FlagWord, 10> kMetadataQueryWords{{
    {"disableAWS", WordAction::kSetBits, 0x1},   {"enableAWS", WordAction::kClearBits, 0x1},
    {"disableAzure", WordAction::kSetBits, 0x2}, {"enableAzure", WordAction::kClearBits, 0x2},
    {"disableGCP", WordAction::kSetBits, 0x4},   {"enableGCP", WordAction::kClearBits, 0x4},
    {"disableOCI", WordAction::kSetBits, 0x8},   {"enableOCI", WordAction::kClearBits, 0x8},
    {"disable", WordAction::kSetBits, 0xF},      {"enable", WordAction::kClearBits, 0xF},
}};

// The get of a flag set prints words from the same tables the set parses: every
// provider's disable word has its enable word, and no two feature words share
// a bit.
constexpr bool FlagWordsPair() {
  for (const FlagWord& word : kMetadataQueryWords) {
    if (word.action != WordAction::kSetBits || std::popcount(word.bits) != 1) continue;
    int enables = 0;
    for (const FlagWord& other : kMetadataQueryWords) {
      enables += other.action == WordAction::kClearBits && other.bits == word.bits;
    }
    if (enables != 1) return false;
  }
  std::uint32_t seen = 0;
  for (const FlagWord& word : kFeatureWords) {
    if ((seen & word.bits) != 0) return false;
    seen |= word.bits;
  }
  return true;
}
static_assert(FlagWordsPair());

}  // namespace value_sets
