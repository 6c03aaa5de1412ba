// The rows of the settings table (options/settings.h says what a row holds).
// Defined in a header so that the option table can check, when it is
// compiled, that the two tables fit each other (cli/option_table.cc).
#pragma once

#include <iterator>

#include "options/settings.h"
#include "options/value_sets.h"

namespace settings_table {

using SF = SettingForm;

// A plain array: GCC 12 places a std::array whose type is deduced in writable
// data, outside the read-only-after-relocation pages.
inline constexpr Setting kSettings[] = {
    Setting{.id = OptionId::kCid,
            .name = TvConstantString(u"CU"),
            .form = SF::kIdentifier,
            .isProtected = true,
            .summary = "Customer identifier.",
            .readFailure = "Could not read CID from config file\n",
            .protectedSet = "CID is set, but -f was not specified\n",
            .protectedDelete = "CID is set, but -f was not specified\n",
            .unsetIsError = true,
            .unsetFailure = "CID is not set. Use vantorctl to set the CID\n"},
    Setting{.id = OptionId::kAid,
            .name = TvConstantString(u"AG"),
            .form = SF::kIdentifier,
            .isProtected = true,
            .summary = "Agent identifier.",
            .readFailure = "Could not read AID from config file\n",
            .protectedDelete = "AID is set, but -f was not specified\n"},
    Setting{.id = OptionId::kApd,
            .name = TvConstantString(u"DP"),
            .form = SF::kSwitch,
            .summary = "Disable the application proxy.",
            .invalidValue = "\"%s\" is not a valid value for --apd\n",
            .writeFailure = "Could not write application proxy disable \"%s\" to config file\n",
            .readFailure = "Could not read app proxy disable from config file\n",
            .deleteFailure = "Could not delete application proxy disable from config file\n"},
    Setting{.id = OptionId::kAph,
            .name = TvConstantString(u"APH"),
            .form = SF::kText,
            .summary = "Application proxy host name.",
            .maxLength = 255,
            .invalidValue = "\"%s\" is not a valid value for --aph\n",
            .writeFailure = "Could not write application proxy host \"%s\" to config\n",
            .readFailure = "Could not read application proxy host from config file\n",
            .deleteFailure = "Could not delete application proxy host from config file\n"},
    Setting{.id = OptionId::kApp,
            .name = TvConstantString(u"APP"),
            .form = SF::kText,
            .summary = "Application proxy port.",
            .numeric = true,
            .maxLength = 5,
            .invalidValue = "\"%s\" is not a valid value for --app\n",
            .writeFailure = "Could not write application proxy port \"%s\" to config\n",
            .readFailure = "Could not read application proxy port from config file\n",
            .deleteFailure = "Could not delete application proxy port from config file\n",
            .readBeforeDelete = true},
    Setting{.id = OptionId::kTrace,
            .name = TvConstantString(u"TRACE"),
            .form = SF::kText,
            .summary = "Trace level of the sensor.",
            .maxLength = 100,
            .words = value_sets::kTraceLevels,
            .invalidValue = "\"%s\" is not a valid value for --trace\n",
            .invalidWord = "not a valid trace option: %s\n",
            .writeFailure = "Could not write trace level \"%s\" to config\n",
            .readFailure = "Could not get trace level from config file\n",
            .deleteFailure = "Could not delete the trace level from config file \n",
            .reloads = true},
    // Never deleted (the option table refuses -d); no value and a number
    // without a row both read as "auto", as the sensor reads them.
    Setting{.id = OptionId::kPcpt,
            .name = TvConstantString(u"PCPT"),
            .form = SF::kNamed,
            .summary = "Preferred connection protocol type.",
            .names = value_sets::kProtocols,
            .match = NameCase::kIgnore,
            .invalidValue = "not a valid pcpt option: %s\n",
            .writeFailure = "Could not write pcpt \"%s\" to config\n",
            .readFailure = "Could not get pcpt from config file\n",
            .badStoredValue = "pcpt=auto",
            .unsetText = "pcpt=auto",
            .emptyWord = "auto"},
    Setting{.id = OptionId::kFeature,
            .name = TvConstantString(u"AFLAGS"),
            .form = SF::kFlagSet,
            .summary = "Sensor feature flags; C([]) or C([none]) clears all.",
            .flagWords = value_sets::kFeatureWords,
            .emptyWord = "none",
            .reloads = true},
    // Read by the sensor at its next start: no reload.
    Setting{.id = OptionId::kMetadataQuery,
            .name = TvConstantString(u"IMQF"),
            .form = SF::kFlagSet,
            .summary = "Cloud provider metadata query flags; C([]) or C([enable]) enables every provider.",
            .flagWords = value_sets::kMetadataQueryWords,
            .unsetText = "metadata-query=enable (unset default)",
            .emptyWord = "enable"},
    Setting{.id = OptionId::kBilling,
            .name = TvConstantString(u"BT"),
            .form = SF::kNamed,
            .summary = "Billing type.",
            .names = value_sets::kBillingTypes,
            .invalidValue = "\"%s\" is not a valid value for --billing\n",
            .writeFailure = "Could not write billing \"%s\" to config file\n",
            .readFailure = "Could not read billing setting from config file\n",
            .deleteFailure = "Could not delete billing from config file\n",
            .badStoredValue = "WARNING: unknown billing type configured (ID = %u)"},
    Setting{.id = OptionId::kTags,
            .name = TvConstantString(u"GroupTags"),
            .form = SF::kTagList,
            .isProtected = true,
            .summary = "Sensor grouping tags.",
            .readFailure = "Could not read the sensor grouping tags from config file\n",
            .protectedSet = "Sensor grouping tags are already set, but -f was not specified\n",
            .protectedDelete = "Sensor grouping tags are set, but -f was not specified\n"},
    Setting{.id = OptionId::kProvisioningToken,
            .name = TvConstantString(u"PT"),
            .form = SF::kToken,
            .isProtected = true,
            .summary = "Provisioning token.",
            .readFailure = "Could not read provision token from config file\n",
            .protectedSet = "Provisioning token is set, but -f was not specified\n",
            .protectedDelete = "Provisioning token is set, but -f was not specified\n"},
    Setting{.id = OptionId::kBackend,
            .name = TvConstantString(u"SenBackend"),
            .form = SF::kNamed,
            .summary = "Sensor backend.",
            .names = value_sets::kBackends,
            .invalidValue = "\"%s\" is not a valid value for --backend\n",
            .writeFailure = "Could not write backend value \"%s\" to config file\n",
            .readFailure = "Could not read backend value from config file\n",
            .deleteFailure = "Could not delete backend value from config file\n",
            .badStored = "Backend value in config file is invalid\n",
            .badStoredStatus = STATUS_INVALID_PARAMETER},
    Setting{.id = OptionId::kFkm,
            .name = TvConstantString(u"FKM"),
            .form = SF::kSwitch,
            .summary = "Fuzzy kernel match.",
            .invalidValue = "\"%s\" is not a valid value for --fkm\n",
            .writeFailure = "Could not write fuzzy kernel match \"%s\" to config file\n",
            .readFailure = "Could not read fuzzy kernel match from config file\n",
            .deleteFailure = "Could not delete fuzzy kernel match from config file\n"},
    // The sensor reads only 0 and 1, and a get of no value fails: the sensor
    // has no default for it.
    Setting{.id = OptionId::kLogCounters,
            .name = TvConstantString(u"LogCounters"),
            .form = SF::kSwitch,
            .summary = "Telemetry logging.",
            .falseText = "false",
            .trueText = "true",
            .invalidValue = "\"%s\" is not a valid value for --logcounters\n",
            .writeFailure = "Could not write log counters \"%s\" to config file\n",
            .readFailure = "Failed to read log settings from config. Status: 0x%X\n",
            .deleteFailure = "Could not delete log counters from config file\n",
            .badStored = "Unknown log counters value!\n",
            .unsetIsError = true,
            .reloads = true,
            .trueNotice = "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off "
                          "telemetry logging, \n          when you are done collecting telemetry data.\n"},
    Setting{.id = OptionId::kLogInterval, .name = TvConstantString(u"LogInterval"), .form = SF::kSeconds,
            .summary = "Interval of file logging."},
    Setting{.id = OptionId::kLogDuration, .name = TvConstantString(u"LogDuration"), .form = SF::kSeconds,
            .summary = "Duration of file logging; longer than the interval."},
};

// The rows follow the option table's order, each option at most once.
constexpr bool RowsInOptionOrder() {
  for (std::size_t i = 1; i < std::size(kSettings); ++i) {
    if (IndexOf(kSettings[i - 1].id) >= IndexOf(kSettings[i].id)) {
      return false;
    }
  }
  return true;
}
static_assert(RowsInOptionOrder(), "settings rows must follow the option table's order");

}  // namespace settings_table
