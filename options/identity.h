// Text forms of the identity settings, shared by the cid, aid and
// provisioning-token handlers. Nothing here touches the store or prints.
#pragma once

#include <array>
#include <cstdint>

#include "runtime/status.h"

// The 16 stored bytes of CU / AG: the memory image of a GUID with little-endian
// fields. Its text form is the bytes in memory order, two hex digits each.
using Identifier = std::array<std::uint8_t, 16>;

// Identifier text: 32 hex digits and a terminator.
using IdentifierText = std::array<char, 33>;

// Converts the two characters at `pair` (both must be readable) to one byte
// with strtol in base 16. STATUS_SUCCESS only when strtol reports no error and
// consumes both characters (a leading blank or sign is tolerated, as strtol
// allows); the byte is the low 8 bits of the result. Otherwise
// STATUS_UNSUCCESSFUL and *byte is untouched.
[[nodiscard]] NTSTATUS ParseHexPair(const char* pair, std::uint8_t* byte);

// Converts 32 characters, pair k into byte k. Stops at the first pair that fails
// and returns its status; bytes before it are already written.
[[nodiscard]] NTSTATUS HexTextToIdentifier(const char* text, Identifier* identifier);

enum class CidParseResult {
  kValid,
  kMalformed,       // fewer than 34 characters that are not "-"
  kChecksumFailed,  // a pair is not hex, or the bytes do not sum to 0 mod 256
};

// Parses a checksum CID: the first 34 characters that are not "-" (anything
// after them is ignored) are 32 identifier digits and 2 checksum digits; the
// 16 identifier bytes plus the checksum byte must sum to 0 modulo 256. On
// kValid, *identifier holds the bytes; `digits` always receives the (up to) 32
// identifier characters as typed, terminated, for messages.
[[nodiscard]] CidParseResult ParseChecksumCid(const char* text, Identifier* identifier, IdentifierText* digits);

// 32 lowercase hex digits of the bytes in memory order.
IdentifierText FormatIdentifier(const Identifier& identifier);

// Parses a provisioning token: at least 8 characters and an even count, read by
// strtoull in base 16 (leading blanks, a sign and "0x" accepted; conversion stops
// at the first non-hex character) with no error, at least one character
// consumed, and a result neither 0 nor all ones. Returns false on any violation.
[[nodiscard]] bool ParseProvisioningToken(const char* text, std::uint64_t* token);
