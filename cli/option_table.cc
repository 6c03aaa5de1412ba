#include "cli/option_table.h"

#include <string_view>

#include "options/handlers.h"
#include "options/settings.h"
#include "options/settings_table.h"

namespace {

constexpr std::uint8_t kSetGetDel = kModeSet | kModeGet | kModeDelete;
constexpr std::uint8_t kGetDel = kModeGet | kModeDelete;
constexpr std::uint8_t kSetGet = kModeSet | kModeGet;

constexpr OptionEntry Row(OptionId id, const char* name, int hasArg, std::uint8_t modes, const char* help,
                          const char* syntax, OptionHandler handler) {
  return OptionEntry{id, option{name, hasArg, nullptr, static_cast<int>(id)}, modes, help, syntax, handler, false,
                     false};
}

// A row whose set value may be "@PATH" (see OptionEntry::credential).
constexpr OptionEntry Credential(OptionEntry row) {
  row.credential = true;
  return row;
}

// A row of a query of the sensor's state (see OptionEntry::query).
constexpr OptionEntry Query(OptionEntry row) {
  row.query = true;
  return row;
}

// A plain constant array: in the pages made read-only after relocation.
constexpr OptionEntry kOptionTable[] = {
    Credential(Row(OptionId::kCid, "cid", optional_argument, kSetGetDel, " for CustomerId", "=\"{<uuid string>}\"",
                   HandleCid)),
    Row(OptionId::kAid, "aid", optional_argument, kGetDel, " for AgentId", nullptr, HandleAid),
    Row(OptionId::kApd, "apd", optional_argument, kSetGetDel, " for App Proxy Disable", "=true | --apd=false", HandleStoredSetting),
    Row(OptionId::kAph, "aph", optional_argument, kSetGetDel, " for App Proxy Host", "=<app proxy host name>", HandleStoredSetting),
    Row(OptionId::kApp, "app", optional_argument, kSetGetDel, " for App Proxy Port", "=<app proxy port>", HandleStoredSetting),
    Row(OptionId::kTrace, "trace", optional_argument, kSetGetDel, " for determining the configured trace level",
        "=[none|err|warn|info|debug]", HandleStoredSetting),
    Row(OptionId::kPcpt, "pcpt", optional_argument, kSetGet, " preferred connection protocol type", "=[auto|ipv4|ipv6]",
        HandleStoredSetting),
    Row(OptionId::kFeature, "feature", optional_argument, kSetGet, " to determine the configured sensor feature flags",
        "=[none,[enableLog[,disableLogBuffer[,disableOsfm[,emulateUpdate]]]]]", HandleFeature),
    Row(OptionId::kMetadataQuery, "metadata-query", optional_argument, kSetGet,
        " to determine the configured sensor cloud provider metadata query flags",
        "=[[dis|en]able|[dis|en]ableAWS[,[dis|en]ableAzure[,[dis|en]ableGCP]]]", HandleMetadataQuery),
    Query(Row(OptionId::kVersion, "version", optional_argument, kModeGet, " for version of sensor currently running",
              nullptr, HandleVersion)),
    Row(OptionId::kUpdate, "update", no_argument, kModeSet, nullptr, " SIGHUP the sensor for immediate trace/feature update",
        nullptr),
    Row(OptionId::kBilling, "billing", optional_argument, kSetGetDel, " to configure the sensor billing type",
        "=[default|metered]", HandleStoredSetting),
    Row(OptionId::kTags, "tags", optional_argument, kSetGetDel, " for sensor grouping tags",
        "=<comma separated list of tags for sensor grouping> (allowed characters: all alphanumerics, '/', '-', "
        "'_', '@', and '.')",
        HandleTags),
    Credential(Row(OptionId::kProvisioningToken, "provisioning-token", optional_argument, kSetGetDel,
                   " for Provisioning Token", "=<provisioning token value>", HandleProvisioningToken)),
    Query(Row(OptionId::kSystags, "systags", optional_argument, kModeGet,
              " for system tags currently applied to a running sensor", nullptr, HandleSystags)),
    Row(OptionId::kBackend, "backend", optional_argument, kSetGetDel, " for sensor backend",
        "=auto | --backend=bpf | --backend=kernel", HandleStoredSetting),
    Query(Row(OptionId::kRfmState, "rfm-state", optional_argument, kModeGet,
              " for indicating whether the sensor is in Reduced Functionality Mode", nullptr, HandleRfmState)),
    Query(Row(OptionId::kRfmReason, "rfm-reason", optional_argument, kModeGet,
              " to determine reason for sensor running in Reduced Functionality Mode", nullptr, HandleRfmReason)),
    Query(Row(OptionId::kRfmHistory, "rfm-history", no_argument, kModeGet,
              " to show history of sensor Reduced Functionality Mode reasons", nullptr, HandleRfmHistory)),
    // Deliberately undocumented: no texts, so no usage block lists it.
    Row(OptionId::kFkm, "fkm", optional_argument, kSetGetDel, nullptr, nullptr, HandleStoredSetting),
    Row(OptionId::kLogCounters, "logcounters", optional_argument, kSetGetDel,
        " for determining if Telemetry logging is enabled", "=true | --logcounters=false", HandleStoredSetting),
    Row(OptionId::kLogInterval, "loginterval", optional_argument, kSetGetDel, " for setting the interval of file logging",
        "=<seconds>", HandleLogInterval),
    Row(OptionId::kLogDuration, "logduration", optional_argument, kSetGetDel, " for setting the duration of file logging",
        "=<seconds>", HandleLogDuration),
    Row(OptionId::kHelp, "help", no_argument, kModeHelp, " for usage help", nullptr, nullptr),
};

// Every row's id is its position, and the table is complete.
constexpr bool RowsInOrder() {
  std::size_t i = 0;
  for (const OptionEntry& row : kOptionTable) {
    if (IndexOf(row.id) != i++) {
      return false;
    }
  }
  return i == kOptionCount;
}
static_assert(RowsInOrder(), "the option table's rows must follow options/option_id.h");

// What the driver, the usage text and completion rely on in every row: a name
// of its own, a value that is optional or none, no getopt flag, known mode
// bits, a credential only where a value can be set, and a handler for every
// row but the markers (update, help), each of which has a mode to run in.
constexpr bool RowsAreConsistent() {
  for (std::size_t i = 0; i < kOptionCount; ++i) {
    const OptionEntry& row = kOptionTable[i];
    for (std::size_t j = 0; j < i; ++j) {
      if (std::string_view(row.longOption.name) == kOptionTable[j].longOption.name) return false;
    }
    const bool marker = row.id == OptionId::kUpdate || row.id == OptionId::kHelp;
    if ((row.longOption.has_arg != no_argument && row.longOption.has_arg != optional_argument) ||
        (row.credential && (row.longOption.has_arg == no_argument || (row.allowedModes & kModeSet) == 0)) ||
        row.longOption.flag != nullptr || (row.allowedModes & ~(kModeSet | kModeGet | kModeDelete | kModeHelp)) != 0 ||
        (row.handler == nullptr) != marker || (row.allowedModes == 0)) {
      return false;
    }
  }
  return kOptionTable[IndexOf(OptionId::kHelp)].allowedModes == kModeHelp;
}
#ifndef VANTOR_NO_CONSTANT_FUNCTION_ADDRESSES
static_assert(RowsAreConsistent(), "an option row the driver cannot use");
#endif

constexpr bool SameName(const UNICODE_STRING& a, const UNICODE_STRING& b) {
  if (a.Length != b.Length) return false;
  for (std::size_t i = 0; i < a.Length / sizeof(WCHAR); ++i) {
    if (a.Buffer[i] != b.Buffer[i]) return false;
  }
  return true;
}

// The settings table against this one: every option that keeps a value has a
// row there and only those do, and each row holds what the code reading it
// needs: a value name of its own, a handler here that fits its form, the
// diagnostics of the modes its option takes, a summary for the Ansible
// documentation of what can be set.
constexpr bool SettingsFitTheOptionTable() {
  using settings_table::kSettings;
  for (const OptionEntry& row : kOptionTable) {
    bool stored = false;
    for (const Setting& s : kSettings) stored = stored || s.id == row.id;
    if (stored != (row.handler != nullptr && !row.query) || (row.query && row.allowedModes != kModeGet)) return false;
  }
  for (std::size_t i = 0; i < std::size(kSettings); ++i) {
    const Setting& s = kSettings[i];
    for (std::size_t j = 0; j < i; ++j) {
      if (SameName(s.name, kSettings[j].name)) return false;
    }
    const OptionEntry& row = kOptionTable[IndexOf(s.id)];
    const bool sets = (row.allowedModes & kModeSet) != 0;
    const bool deletes = (row.allowedModes & kModeDelete) != 0;
    if ((row.handler == HandleStoredSetting) != IsGenericForm(s.form) || (sets && s.summary == nullptr)) return false;
    if (s.isProtected && (!s.readFailure || static_cast<bool>(s.protectedSet) != sets ||
                          static_cast<bool>(s.protectedDelete) != deletes)) {
      return false;
    }
    if (IsGenericForm(s.form) &&
        (!s.invalidValue || !s.writeFailure || !s.readFailure || static_cast<bool>(s.deleteFailure) != deletes ||
         static_cast<bool>(s.invalidWord) != !s.words.empty() || (s.form == SettingForm::kNamed) == s.names.empty() ||
         (s.form == SettingForm::kText && (s.maxLength == 0 || s.maxLength >= kTextBufferSize)) ||
         (s.form == SettingForm::kNamed && !s.badStored && !s.badStoredValue))) {
      return false;
    }
    if ((s.unsetFailure && !s.unsetIsError) || (sets && !deletes) != (s.emptyWord != nullptr)) return false;
    bool emptyWordIsAWord = s.emptyWord == nullptr;
    ForEachValueWord(s, [&](std::string_view word) { emptyWordIsAWord = emptyWordIsAWord || word == s.emptyWord; });
    if (!emptyWordIsAWord) return false;
  }
  return true;
}
#ifndef VANTOR_NO_CONSTANT_FUNCTION_ADDRESSES
static_assert(SettingsFitTheOptionTable(), "a settings row that does not fit the option table or its form");
#endif

// The usage text of --tags names every character a tag may hold besides
// letters and digits, each in single quotes.
constexpr bool TagUsageNamesEveryCharacter() {
  const std::string_view syntax = kOptionTable[IndexOf(OptionId::kTags)].valueSyntax;
  for (const char c : value_sets::kTagPunctuation) {
    const char quoted[] = {'\'', c, '\''};
    if (syntax.find(std::string_view(quoted, 3)) == std::string_view::npos) return false;
  }
  return true;
}
static_assert(TagUsageNamesEveryCharacter(), "the usage text of --tags does not name every tag character");

}  // namespace

std::span<const OptionEntry, kOptionCount> OptionTable() { return std::span<const OptionEntry, kOptionCount>(kOptionTable); }
