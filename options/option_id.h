// The options, one identifier each, in the order in which the driver runs
// their handlers. The option table (cli/option_table.cc) and the settings
// table (options/settings_table.h) both name their rows with these, and each
// checks at compile time that its rows stand in this order, so neither can
// drift from the other or from the positions.
#pragma once

#include <cstddef>
#include <cstdint>

enum class OptionId : std::uint8_t {
  kCid,
  kAid,
  kApd,
  kAph,
  kApp,
  kTrace,
  kPcpt,
  kFeature,
  kMetadataQuery,
  kVersion,
  kUpdate,
  kBilling,
  kTags,
  kProvisioningToken,
  kSystags,
  kBackend,
  kRfmState,
  kRfmReason,
  kRfmHistory,
  kFkm,
  kLogCounters,
  kLogInterval,
  kLogDuration,
  kHelp,
};

inline constexpr std::size_t kOptionCount = static_cast<std::size_t>(OptionId::kHelp) + 1;

constexpr std::size_t IndexOf(OptionId id) { return static_cast<std::size_t>(id); }
