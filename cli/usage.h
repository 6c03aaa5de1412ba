// The usage text, generated from the option table.
#pragma once

#include <cstdint>
#include <cstdio>

#include "cli/option_table.h"

// Writes the usage header and the GET, SET, DEL and HELP blocks to `stream`
// (stdio; the caller owns the stream and adds the final newline).
void PrintUsage(FILE* stream);

// The text a block for `mask` shows after the row's name, or null when the
// block leaves the row out: the help text when the mask has a get, delete or
// help bit, else the value syntax, for rows whose modes meet the low 8 bits of
// the mask. Completion lists exactly the rows the usage lists.
[[nodiscard]] const char* UsageBlockText(const OptionEntry& row, std::uint32_t mask);

// Writes one block: "where <heading> := { --row<text> |\n<23 blanks>--row<text> }\n"
// over the rows whose allowed modes meet the low 8 bits of `mask`. The text is
// the help text when the mask has a get, delete or help bit, else the value
// syntax; rows whose chosen text is null are left out.
void PrintUsageBlock(const char* heading, std::uint32_t mask, FILE* stream);
