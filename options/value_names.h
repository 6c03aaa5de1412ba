// The names under which settings live in the configuration store, defined once
// for the whole program.
#pragma once

#include "runtime/rtl_string.h"

namespace value_names {
inline constexpr UNICODE_STRING kCustomerId = TvConstantString(u"CU");
inline constexpr UNICODE_STRING kAgentId = TvConstantString(u"AG");
inline constexpr UNICODE_STRING kProvisioningToken = TvConstantString(u"PT");
inline constexpr UNICODE_STRING kAppProxyDisable = TvConstantString(u"DP");
inline constexpr UNICODE_STRING kAppProxyHost = TvConstantString(u"APH");
inline constexpr UNICODE_STRING kAppProxyPort = TvConstantString(u"APP");
inline constexpr UNICODE_STRING kPreferredProtocol = TvConstantString(u"PCPT");
inline constexpr UNICODE_STRING kTraceLevel = TvConstantString(u"TRACE");
inline constexpr UNICODE_STRING kBackend = TvConstantString(u"SenBackend");
inline constexpr UNICODE_STRING kBillingType = TvConstantString(u"BT");
inline constexpr UNICODE_STRING kFuzzyKernelMatch = TvConstantString(u"FKM");
inline constexpr UNICODE_STRING kFeatureFlags = TvConstantString(u"AFLAGS");
inline constexpr UNICODE_STRING kMetadataQueryFlags = TvConstantString(u"IMQF");
inline constexpr UNICODE_STRING kGroupTags = TvConstantString(u"GroupTags");
inline constexpr UNICODE_STRING kLogCounters = TvConstantString(u"LogCounters");
inline constexpr UNICODE_STRING kLogInterval = TvConstantString(u"LogInterval");
inline constexpr UNICODE_STRING kLogDuration = TvConstantString(u"LogDuration");
inline constexpr UNICODE_STRING kRfmHistory = TvConstantString(u"RFMHistory");
}  // namespace value_names
