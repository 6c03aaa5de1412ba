// Sensor status queries: --version, --systags and the three RFM options. None of
// them changes a setting; --systags on a registry that holds no tag store yet
// writes the registry file once, because opening the store creates it.
// --version and --systags print whole lines and leave `remaining` alone; the
// RFM options end their output with the separator.
#include "options/status_queries.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "options/handlers.h"
#include "options/rfm_reasons.h"
#include "options/value_print.h"
#include "registry/registry.h"
#include "runtime/file.h"
#include "runtime/little_endian.h"
#include "runtime/pool.h"
#include "runtime/rtl_string.h"
#include "runtime/trace.h"
#include "runtime/utf8.h"
#include "store/simple_store.h"

namespace {

// A narrow literal widened unit by unit at compile time (ASCII only).
template <std::size_t N>
struct WideLiteral {
  char16_t text[N];
};

template <std::size_t N>
constexpr WideLiteral<N> Widen(const char (&narrow)[N]) {
  WideLiteral<N> wide{};
  for (std::size_t i = 0; i < N; ++i) {
    wide.text[i] = static_cast<char16_t>(static_cast<unsigned char>(narrow[i]));
  }
  return wide;
}

template <std::size_t N>
constexpr bool IsAscii(const char (&narrow)[N]) {
  for (char c : narrow) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}
static_assert(IsAscii(VANTOR_VERSION), "the version must be ASCII");

constexpr WideLiteral kVersionText = Widen(VANTOR_VERSION);
constexpr UNICODE_STRING kVersionString = TvConstantString(kVersionText.text);

// Written by the sensor, never by the tool: no option stores it.
constexpr UNICODE_STRING kRfmHistory = TvConstantString(u"RFMHistory");

constexpr char kSystagsPath[] = "/proc/vantor_lsm_serviceable/systags";
constexpr std::uint32_t kSystagsReadLimit = 4095;

// Turns the stored little-endian image in place into host-order entries.
void DecodeEntries(void* buffer, std::uint32_t count) {
  auto* bytes = static_cast<std::uint8_t*>(buffer);
  auto* entries = static_cast<RfmHistoryEntry*>(buffer);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint8_t* raw = bytes + static_cast<std::size_t>(i) * kRfmHistoryEntrySize;
    const RfmHistoryEntry entry{little_endian::Load<std::uint32_t>(raw), little_endian::Load<std::uint32_t>(raw + 4),
                                little_endian::Load<std::uint32_t>(raw + 8)};
    std::memcpy(&entries[i], &entry, sizeof(entry));
  }
}

}  // namespace

NTSTATUS ReadRfmHistory(RfmHistoryEntry** entries, std::uint32_t* count) {
  std::uint32_t length = 0;
  NTSTATUS status = GetSimpleStoreValue(&kRfmHistory, nullptr, &length);
  // Absent, stored empty, or unreadable (a damaged store): all read as no history.
  if (status != STATUS_BUFFER_TOO_SMALL || length == 0) return STATUS_NOT_FOUND;

  PoolBuffer buffer(length, kTagTool);
  if (!buffer) {
    TraceError(TRACE_COMPONENT_CORE, "Could not allocate RFM-history buffer");
    return STATUS_INSUFFICIENT_RESOURCES;
  }
  // The sensor may rewrite the value in between; the second read's length
  // counts, and a value that grew fails with STATUS_BUFFER_TOO_SMALL.
  status = GetSimpleStoreValue(&kRfmHistory, buffer.get(), &length);
  if (!NT_SUCCESS(status)) {
    TraceError(TRACE_COMPONENT_CORE, "Could not read RFM history");
    return status;
  }
  const std::uint32_t entryCount = length / kRfmHistoryEntrySize;
  DecodeEntries(buffer.get(), entryCount);
  *entries = static_cast<RfmHistoryEntry*>(buffer.release());
  *count = entryCount;
  return STATUS_SUCCESS;
}

namespace {

// ReadRfmHistory with its array handed to an owner.
[[nodiscard]] NTSTATUS ReadRfmHistoryOwned(PoolBuffer* entries, std::uint32_t* count) {
  RfmHistoryEntry* array = nullptr;
  const NTSTATUS status = ReadRfmHistory(&array, count);
  *entries = PoolBuffer::Adopt(array, kTagTool);
  return status;
}

}  // namespace

// A value of 1 to 11 bytes holds no whole entry; rather than read past it, it
// is reported as no history (the RFM options then print their not-set texts).
NTSTATUS ReadRfmNewestEntry(std::uint32_t* inRfm, std::uint32_t* reasonCode, std::uint32_t* backend) {
  PoolBuffer entries;
  std::uint32_t count = 0;
  const NTSTATUS status = ReadRfmHistoryOwned(&entries, &count);
  if (!NT_SUCCESS(status)) return status;
  if (count == 0) return STATUS_NOT_FOUND;
  const RfmHistoryEntry& newest = entries.as<RfmHistoryEntry>()[0];
  *inRfm = newest.InRfm;
  *reasonCode = newest.ReasonCode;
  *backend = newest.Backend;
  return STATUS_SUCCESS;
}

NTSTATUS HandleVersion(OptionContext* /*context*/, const char* /*value*/) {
  OwnedAnsiString text;
  const NTSTATUS status = RtlUnicodeStringToAnsiString(text.ptr(), &kVersionString, true);
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("could not convert version string to ansi\n");
    return status;
  }
  PrintText("version = %s\n", static_cast<const char*>(text.get().Buffer));
  return STATUS_SUCCESS;
}

NTSTATUS HandleSystags(OptionContext* /*context*/, const char* /*value*/) {
  if (access(kSystagsPath, F_OK) == 0) {
    const FileOpen opened = OpenFile(kSystagsPath, FILE_ACCESS_READ, 0);
    if (!NT_SUCCESS(opened.status)) {
      PrintDiagnostic("Could not open systags (is the sensor stopped or in RFM?)\n");
      return opened.status;
    }
    char buffer[kSystagsReadLimit + 1];
    std::uint32_t count = 0;
    const NTSTATUS status = ReadFile(opened.file.get(), buffer, kSystagsReadLimit, &count);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not read systags\n");
      return status;
    }
    // Printed as a C string: the copy ends at the first NUL byte, if any.
    buffer[count] = '\0';
    PrintText("%s", static_cast<const char*>(buffer));
    return STATUS_SUCCESS;
  }

  NTSTATUS status = EnsureRegistryOpen();
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not read systags\n");
    return status;
  }
  // One line per tag, as PrintSystemTags prints them, through the handlers'
  // output. Lines printed before a failure stay printed; the enumeration logs it.
  status = EnumerateSystemTags(
      [](std::uint64_t tag, void*) {
        PrintText("%lu\n", static_cast<unsigned long>(tag));
        return STATUS_SUCCESS;
      },
      nullptr);
  CloseRegistry();
  return status;
}

NTSTATUS HandleRfmState(OptionContext* context, const char* /*value*/) {
  std::uint32_t inRfm = 0, reason = 0, backend = 0;
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadRfmNewestEntry(&inRfm, &reason, &backend), "rfm-state",
                     "Could not read RFM state from config file\n", &result)) {
    return result;
  }
  switch (inRfm) {
    case 0:
      PrintValue(context, "rfm-state=false");
      return STATUS_SUCCESS;
    case 1:
      PrintValue(context, "rfm-state=true");
      return STATUS_SUCCESS;
    default:
      PrintDiagnostic("Unknown RFM rfm-state!\n");
      return STATUS_UNSUCCESSFUL;
  }
}

NTSTATUS HandleRfmReason(OptionContext* context, const char* /*value*/) {
  std::uint32_t inRfm = 0, reason = 0, backend = 0;
  NTSTATUS result = STATUS_SUCCESS;
  if (!ReadGaveValue(context, ReadRfmNewestEntry(&inRfm, &reason, &backend), "rfm-reason",
                     "Could not read RFM reason from config file\n", &result)) {
    return result;
  }
  PrintValue(context, "rfm-reason=%s, code=0x%X", RfmReasonText(reason), static_cast<unsigned>(reason));
  return STATUS_SUCCESS;
}

// A value of 1 to 11 bytes reads as zero entries: only the separator is printed.
NTSTATUS HandleRfmHistory(OptionContext* context, const char* /*value*/) {
  PoolBuffer entries;
  std::uint32_t count = 0;
  const NTSTATUS status = ReadRfmHistoryOwned(&entries, &count);
  if (status == STATUS_NOT_FOUND) {
    PrintNotSet(context, "rfm-history");
    return STATUS_SUCCESS;
  }
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not read RFM history from config file\n");
    PrintSeparator(context);
    return status;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    const RfmHistoryEntry& entry = entries.as<RfmHistoryEntry>()[i];
    const bool last = i + 1 == count;
    PrintText("%s[%u%s] %s backend, %sin RFM, rfm-reason=%s, code=0x%X%s", i == 0 ? "rfm-history={" : "",
                static_cast<unsigned>(i), i == 0 ? " (newest)" : "", entry.Backend == 0 ? "kernel" : "bpf",
                entry.InRfm == 1 ? "" : "not ", RfmReasonText(entry.ReasonCode),
                static_cast<unsigned>(entry.ReasonCode), last ? "}" : "; ");
  }
  PrintSeparator(context);
  return STATUS_SUCCESS;
}
