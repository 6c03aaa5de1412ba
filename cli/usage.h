// The usage text, generated from the option table.
#pragma once

#include <cstdint>
#include <cstdio>

#include "cli/option_table.h"

// Writes the usage header and the GET, SET, DEL and HELP blocks to `stream`
// (stdio; the caller owns the stream and adds the final newline).
void PrintUsage(FILE* stream);

// The text a block for the modes `mask` (kMode* bits) shows after the row's
// name, or null when the block leaves the row out: for a row whose allowed
// modes meet the mask, its help text when the mask has a get, delete or help
// bit, else its value syntax. Completion and the manual page list exactly the
// rows the usage lists.
[[nodiscard]] const char* UsageBlockText(const OptionEntry& row, std::uint8_t mask);

// Writes one block: "where <heading> := { --row<text> |\n<23 blanks>--row<text> }\n"
// over the rows for which UsageBlockText gives a text.
void PrintUsageBlock(const char* heading, std::uint8_t mask, FILE* stream);
