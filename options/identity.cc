// Customer and agent identity: cid (16 bytes under CU, set from a checksum CID),
// aid (16 bytes under AG, never written by the tool) and provisioning-token
// (u64 under PT). All three are protected: a stored value is replaced or deleted
// only with -f.
#include "options/identity.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "options/handlers.h"
#include "options/stored_value.h"
#include "options/value_names.h"
#include "options/value_print.h"

namespace {

constexpr std::size_t kCidDigits = 32;
constexpr std::size_t kChecksumCidDigits = kCidDigits + 2;
constexpr std::size_t kMinTokenLength = 8;

// Reads a 16-byte identifier into a zeroed buffer (a shorter record leaves the
// tail zero). Returns the store's status.
NTSTATUS ReadIdentifier(const OptionContext* context, const UNICODE_STRING* name, Identifier* identifier) {
  *identifier = Identifier{};
  std::uint32_t size = static_cast<std::uint32_t>(identifier->size());
  return context->store->get(name, identifier->data(), &size);
}

void PrintIdentifier(OptionContext* context, const char* option, const Identifier& identifier) {
  PrintValue(context, "%s=\"%s\"", option, FormatIdentifier(identifier).data());
}

NTSTATUS CidNotSet() {
  PrintDiagnostic("CID is not set. Use vantorctl to set the CID\n");
  return STATUS_UNSUCCESSFUL;
}

NTSTATUS StoreCid(OptionContext* context, const char* value) {
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
      context->store->set(&value_names::kCustomerId, identifier.data(), static_cast<std::uint32_t>(identifier.size()));
  if (!NT_SUCCESS(status)) {
    PrintDiagnostic("Could not write CID \"%s\" to config file\n", digits.data());
    return status;
  }
  if (context->verbose || context->get) {
    PrintIdentifier(context, "cid", identifier);
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
  Identifier stored{};
  const NTSTATUS status = ReadIdentifier(context, &value_names::kCustomerId, &stored);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not read CID from config file\n");
    return status;
  }

  if (status == STATUS_NOT_FOUND) {
    if (context->set) {
      return StoreCid(context, value);
    }
    // A missing CID is an error for a get, and for a delete that was asked to
    // show the result.
    if (context->get || context->verbose) {
      return CidNotSet();
    }
    return STATUS_SUCCESS;
  }

  if (context->get) {
    PrintIdentifier(context, "cid", stored);
    return STATUS_SUCCESS;
  }
  if (!context->force) {
    PrintDiagnostic("CID is set, but -f was not specified\n");
    return STATUS_INVALID_PARAMETER;
  }
  if (context->set) {
    return StoreCid(context, value);
  }
  const NTSTATUS deleted = context->store->remove(&value_names::kCustomerId);
  if (!NT_SUCCESS(deleted)) {
    PrintDiagnostic("Could not delete CID from config file\n");
    return deleted;
  }
  // The delete worked, yet showing the result reports the now missing CID.
  if (context->verbose || context->get) {
    return CidNotSet();
  }
  return STATUS_SUCCESS;
}

// Get and delete only: the option table refuses -s with --aid.
NTSTATUS HandleAid(OptionContext* context, const char*) {
  Identifier stored{};
  const NTSTATUS status = ReadIdentifier(context, &value_names::kAgentId, &stored);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not read AID from config file\n");
    return status;
  }
  if (status == STATUS_NOT_FOUND) {
    if (context->get || context->verbose) {
      PrintNotSet(context, "aid");
    }
    return STATUS_SUCCESS;
  }
  if (!context->del) {
    PrintIdentifier(context, "aid", stored);
    return STATUS_SUCCESS;
  }
  if (!context->force) {
    PrintDiagnostic("AID is set, but -f was not specified\n");
    return STATUS_INVALID_PARAMETER;
  }
  const NTSTATUS deleted = context->store->remove(&value_names::kAgentId);
  if (!NT_SUCCESS(deleted)) {
    PrintDiagnostic("Could not delete AID from config file\n");
    return deleted;
  }
  if (context->verbose) {
    PrintNotSet(context, "aid");
  }
  return STATUS_SUCCESS;
}

NTSTATUS HandleProvisioningToken(OptionContext* context, const char* value) {
  std::uint64_t stored = 0;
  const NTSTATUS status = ReadU64Value(context, &value_names::kProvisioningToken, &stored);
  if (!NT_SUCCESS(status) && status != STATUS_NOT_FOUND) {
    PrintDiagnostic("Could not read provision token from config file\n");
    return status;
  }
  const bool present = status != STATUS_NOT_FOUND;

  if (context->set) {
    if (present && !context->force) {
      PrintDiagnostic("Provisioning token is set, but -f was not specified\n");
      return STATUS_INVALID_PARAMETER;
    }
    std::uint64_t token = 0;
    if (!ParseProvisioningToken(value, &token)) {
      PrintDiagnostic("Provisioning token format incorrect\n");
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS written = WriteU64Value(context, &value_names::kProvisioningToken, token);
    if (!NT_SUCCESS(written)) {
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
      PrintNotSet(context, "provisioning-token");
    }
    return STATUS_SUCCESS;
  }

  if (present) {
    if (!context->force) {
      PrintDiagnostic("Provisioning token is set, but -f was not specified\n");
      return STATUS_INVALID_PARAMETER;
    }
    const NTSTATUS deleted = context->store->remove(&value_names::kProvisioningToken);
    if (!NT_SUCCESS(deleted)) {
      PrintDiagnostic("Could not delete provisioning token from config file\n");
      return deleted;
    }
  }
  if (context->verbose) {
    PrintNotSet(context, "provisioning-token");
  }
  return STATUS_SUCCESS;
}
