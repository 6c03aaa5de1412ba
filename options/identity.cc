// Customer and agent identity: cid (16 bytes, set from a checksum CID), aid
// (16 bytes, never written by the tool) and provisioning-token (u64). Their
// rows in the settings table give the stored value names and declare them
// protected: each handler starts with its read and GuardStoredValue, which
// refuses to replace or delete a stored value without -f.
#include "options/identity.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "options/handlers.h"
#include "options/stored_value.h"
#include "options/settings.h"
#include "options/value_print.h"

namespace {

constexpr std::size_t kCidDigits = 32;
constexpr std::size_t kChecksumCidDigits = kCidDigits + 2;
constexpr std::size_t kMinTokenLength = 8;

// Reads a 16-byte identifier into a zeroed buffer (a shorter record leaves the
// tail zero). Returns the store's status.
NTSTATUS ReadIdentifier(const UNICODE_STRING* name, Identifier* identifier) {
  *identifier = Identifier{};
  std::uint32_t size = static_cast<std::uint32_t>(identifier->size());
  return GetSimpleStoreValue(name, identifier->data(), &size);
}

void PrintIdentifier(OptionContext* context, const Identifier& identifier) {
  PrintValue(context, "%s=\"%s\"", context->option, FormatIdentifier(identifier).data());
}

NTSTATUS CidNotSet() {
  PrintDiagnostic(SettingOf(OptionId::kCid).unsetFailure);
  return STATUS_UNSUCCESSFUL;
}

NTSTATUS StoreCid(OptionContext* context, const Setting& row, const char* value) {
  Identifier identifier{};
  IdentifierText digits{};
  switch (ParseChecksumCid(value, &identifier, &digits)) {
    case CidParseResult::kMalformed:
      PrintDiagnostic("\"%s\" is not valid value for checksum CID (CCID)\n", value);
      return STATUS_INVALID_PARAMETER;
    case CidParseResult::kChecksumFailed:
      PrintDiagnostic("\"%s\" failed checksum validation\n", value);
      return STATUS_INVALID_PARAMETER;
    case CidParseResult::kValid:
      break;
  }
  const NTSTATUS status =
      SetSimpleStoreValue(&row.name, identifier.data(), static_cast<std::uint32_t>(identifier.size()));
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not write CID \"%s\" to config file\n", digits.data());
    return status;
  }
  if (context->verbose) {
    PrintIdentifier(context, identifier);
  }
  return STATUS_SUCCESS;
}

void PrintToken(OptionContext* context, std::uint64_t token) {
  PrintValue(context, "provisioning-token=%08" PRIx64, token);
}

}  // namespace

NTSTATUS ParseHexPair(const char* pair, std::uint8_t* byte) {
  char text[3] = {pair[0], pair[1], '\0'};
  char* end = nullptr;
  errno = 0;
  const long result = std::strtol(text, &end, 16);
  if (errno != 0 || end != text + 2) {
    return STATUS_UNSUCCESSFUL;
  }
  *byte = static_cast<std::uint8_t>(static_cast<unsigned long>(result) & 0xFFu);
  return STATUS_SUCCESS;
}

NTSTATUS HexTextToIdentifier(const char* text, Identifier* identifier) {
  for (std::size_t k = 0; k < identifier->size(); ++k) {
    const NTSTATUS status = ParseHexPair(text + 2 * k, &(*identifier)[k]);
    if (!NT_SUCCESS(status)) {
      return status;
    }
  }
  return STATUS_SUCCESS;
}

CidParseResult ParseChecksumCid(const char* text, Identifier* identifier, IdentifierText* digits) {
  char compact[kChecksumCidDigits + 1] = {};
  std::size_t copied = 0;
  for (const char* p = text; *p != '\0' && copied < kChecksumCidDigits; ++p) {
    if (*p != '-') {
      compact[copied++] = *p;
    }
  }
  *digits = IdentifierText{};
  std::memcpy(digits->data(), compact, copied < kCidDigits ? copied : kCidDigits);
  // Fewer than 34 characters in all can never yield 34 copied ones, so this
  // covers both length checks.
  if (copied < kChecksumCidDigits) {
    return CidParseResult::kMalformed;
  }

  Identifier parsed{};
  std::uint8_t checksum = 0;
  if (!NT_SUCCESS(HexTextToIdentifier(compact, &parsed)) ||
      !NT_SUCCESS(ParseHexPair(compact + kCidDigits, &checksum))) {
    return CidParseResult::kChecksumFailed;
  }
  unsigned sum = checksum;
  for (std::uint8_t byte : parsed) {
    sum += byte;
  }
  if ((sum & 0xFFu) != 0) {
    return CidParseResult::kChecksumFailed;
  }
  *identifier = parsed;
  return CidParseResult::kValid;
}

IdentifierText FormatIdentifier(const Identifier& identifier) {
  static constexpr char kHex[] = "0123456789abcdef";
  IdentifierText text{};
  for (std::size_t i = 0; i < identifier.size(); ++i) {
    text[2 * i] = kHex[identifier[i] >> 4];
    text[2 * i + 1] = kHex[identifier[i] & 0x0F];
  }
  return text;
}

bool ParseProvisioningToken(const char* text, std::uint64_t* token) {
  const std::size_t length = std::strlen(text);
  if (length < kMinTokenLength || length % 2 != 0) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  const unsigned long long result = std::strtoull(text, &end, 16);
  if (errno != 0 || end == text || result == 0 || result == ~0ULL) {
    return false;
  }
  *token = static_cast<std::uint64_t>(result);
  return true;
}

NTSTATUS HandleCid(OptionContext* context, const char* value) {
  const Setting& row = SettingOf(OptionId::kCid);
  Identifier stored{};
  bool present = false;
  if (const NTSTATUS status = GuardStoredValue(context, row, ReadIdentifier(&row.name, &stored), &present);
      !NT_SUCCESS(status)) {
    return status;
  }
  if (context->set) {
    return StoreCid(context, row, value);
  }
  if (!present) {
    // A missing CID is an error for a get, and for a delete that was asked to
    // show the result.
    return context->get || context->verbose ? CidNotSet() : STATUS_SUCCESS;
  }
  if (context->get) {
    PrintIdentifier(context, stored);
    return STATUS_SUCCESS;
  }
  if (const NTSTATUS deleted = DeleteSimpleStoreValue(&row.name); !NT_SUCCESS(deleted)) {
    PrintDiagnostic("Could not delete CID from config file\n");
    return deleted;
  }
  // The delete worked, yet showing the result reports the now missing CID.
  return context->verbose ? CidNotSet() : STATUS_SUCCESS;
}

// Get and delete only: the option table refuses -s with --aid.
NTSTATUS HandleAid(OptionContext* context, const char*) {
  const Setting& row = SettingOf(OptionId::kAid);
  Identifier stored{};
  bool present = false;
  if (const NTSTATUS status = GuardStoredValue(context, row, ReadIdentifier(&row.name, &stored), &present);
      !NT_SUCCESS(status)) {
    return status;
  }
  if (!present) {
    if (context->get || context->verbose) {
      PrintNotSet(context, context->option);
    }
    return STATUS_SUCCESS;
  }
  if (!context->del) {
    PrintIdentifier(context, stored);
    return STATUS_SUCCESS;
  }
  if (const NTSTATUS deleted = DeleteSimpleStoreValue(&row.name); !NT_SUCCESS(deleted)) {
    PrintDiagnostic("Could not delete AID from config file\n");
    return deleted;
  }
  if (context->verbose) {
    PrintNotSet(context, context->option);
  }
  return STATUS_SUCCESS;
}

NTSTATUS HandleProvisioningToken(OptionContext* context, const char* value) {
  const Setting& row = SettingOf(OptionId::kProvisioningToken);
  std::uint64_t stored = 0;
  bool present = false;
  if (const NTSTATUS status = GuardStoredValue(context, row, ReadU64Value(&row.name, &stored), &present);
      !NT_SUCCESS(status)) {
    return status;
  }
  if (context->set) {
    std::uint64_t token = 0;
    if (!ParseProvisioningToken(value, &token)) {
      PrintDiagnostic("Provisioning token format incorrect\n");
      return STATUS_INVALID_PARAMETER;
    }
    if (const NTSTATUS written = WriteU64Value(&row.name, token); !NT_SUCCESS(written)) {
      PrintDiagnostic("Could not write provisioning token to config file\n");
      return written;
    }
    if (context->verbose) {
      PrintToken(context, token);
    }
    return STATUS_SUCCESS;
  }
  if (context->get) {
    if (present) {
      PrintToken(context, stored);
    } else {
      PrintNotSet(context, context->option);
    }
    return STATUS_SUCCESS;
  }
  if (present) {
    if (const NTSTATUS deleted = DeleteSimpleStoreValue(&row.name); !NT_SUCCESS(deleted)) {
      PrintDiagnostic("Could not delete provisioning token from config file\n");
      return deleted;
    }
  }
  if (context->verbose) {
    PrintNotSet(context, context->option);
  }
  return STATUS_SUCCESS;
}
