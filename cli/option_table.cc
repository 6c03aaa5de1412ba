#include "cli/option_table.h"

#include "options/handlers.h"
#include "options/settings.h"

namespace {

constexpr std::uint8_t kSetGetDel = kModeSet | kModeGet | kModeDelete;
constexpr std::uint8_t kGetDel = kModeGet | kModeDelete;
constexpr std::uint8_t kSetGet = kModeSet | kModeGet;

constexpr OptionEntry Row(const char* name, int hasArg, int index, std::uint8_t modes, const char* help,
                          const char* syntax, OptionHandler handler) {
  return OptionEntry{0, nullptr, option{name, hasArg, nullptr, index}, modes, help, syntax, handler};
}

}  // namespace

constinit OptionEntry gOptionTable[kOptionCount] = {
    Row("cid", optional_argument, kRowCid, kSetGetDel, " for CustomerId", "=\"{<uuid string>}\"", HandleCid),
    Row("aid", optional_argument, kRowAid, kGetDel, " for AgentId", nullptr, HandleAid),
    Row("apd", optional_argument, kRowApd, kSetGetDel, " for App Proxy Disable", "=true | --apd=false", HandleStoredSetting),
    Row("aph", optional_argument, kRowAph, kSetGetDel, " for App Proxy Host", "=<app proxy host name>", HandleStoredSetting),
    Row("app", optional_argument, kRowApp, kSetGetDel, " for App Proxy Port", "=<app proxy port>", HandleStoredSetting),
    Row("trace", optional_argument, kRowTrace, kSetGetDel, " for determining the configured trace level",
        "=[none|err|warn|info|debug]", HandleStoredSetting),
    Row("pcpt", optional_argument, kRowPcpt, kSetGet, " preferred connection protocol type", "=[auto|ipv4|ipv6]",
        HandleStoredSetting),
    Row("feature", optional_argument, kRowFeature, kSetGet, " to determine the configured sensor feature flags",
        "=[none,[enableLog[,disableLogBuffer[,disableOsfm[,emulateUpdate]]]]]", HandleFeature),
    Row("metadata-query", optional_argument, kRowMetadataQuery, kSetGet,
        " to determine the configured sensor cloud provider metadata query flags",
        "=[[dis|en]able|[dis|en]ableAWS[,[dis|en]ableAzure[,[dis|en]ableGCP]]]", HandleMetadataQuery),
    Row("version", optional_argument, kRowVersion, kModeGet, " for version of sensor currently running", nullptr,
        HandleVersion),
    Row("update", no_argument, kRowUpdate, kModeSet, nullptr, " SIGHUP the sensor for immediate trace/feature update",
        nullptr),
    Row("billing", optional_argument, kRowBilling, kSetGetDel, " to configure the sensor billing type",
        "=[default|metered]", HandleStoredSetting),
    Row("tags", optional_argument, kRowTags, kSetGetDel, " for sensor grouping tags",
        "=<comma separated list of tags for sensor grouping> (allowed characters: all alphanumerics, '/', '-', "
        "'_', '@', and '.')",
        HandleTags),
    Row("provisioning-token", optional_argument, kRowProvisioningToken, kSetGetDel, " for Provisioning Token",
        "=<provisioning token value>", HandleProvisioningToken),
    Row("systags", optional_argument, kRowSystags, kModeGet, " for system tags currently applied to a running sensor",
        nullptr, HandleSystags),
    Row("backend", optional_argument, kRowBackend, kSetGetDel, " for sensor backend",
        "=auto | --backend=bpf | --backend=kernel", HandleStoredSetting),
    Row("rfm-state", optional_argument, kRowRfmState, kModeGet,
        " for indicating whether the sensor is in Reduced Functionality Mode", nullptr, HandleRfmState),
    Row("rfm-reason", optional_argument, kRowRfmReason, kModeGet,
        " to determine reason for sensor running in Reduced Functionality Mode", nullptr, HandleRfmReason),
    Row("rfm-history", no_argument, kRowRfmHistory, kModeGet,
        " to show history of sensor Reduced Functionality Mode reasons", nullptr, HandleRfmHistory),
    // Deliberately undocumented: no texts, so no usage block lists it.
    Row("fkm", optional_argument, kRowFkm, kSetGetDel, nullptr, nullptr, HandleStoredSetting),
    Row("logcounters", optional_argument, kRowLogCounters, kSetGetDel,
        " for determining if Telemetry logging is enabled", "=true | --logcounters=false", HandleStoredSetting),
    Row("loginterval", optional_argument, kRowLogInterval, kSetGetDel, " for setting the interval of file logging",
        "=<seconds>", HandleLogInterval),
    Row("logduration", optional_argument, kRowLogDuration, kSetGetDel, " for setting the duration of file logging",
        "=<seconds>", HandleLogDuration),
    Row("help", no_argument, kRowHelp, kModeHelp, " for usage help", nullptr, nullptr),
};

