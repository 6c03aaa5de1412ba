#include "cli/usage.h"

#include "cli/option_table.h"

namespace {

constexpr char kUsageHeader[] =
    "Usage: vantorctl -g GET_OPTIONS\n"
    "       vantorctl -s [ -f ] SET_OPTIONS\n"
    "       vantorctl -d [ -f ] DEL_OPTIONS\n"
    "       vantorctl -h OR vantorctl --help for usage help\n";

// The width of "where GET_OPTIONS := { ": continuation rows line up under the first.
constexpr int kContinuationIndent = 23;

constexpr std::uint8_t kHelpTextModes = kModeGet | kModeDelete | kModeHelp;

}  // namespace

const char* UsageBlockText(const OptionEntry& row, std::uint8_t mask) {
  if ((row.allowedModes & mask) == 0) {
    return nullptr;
  }
  return (mask & kHelpTextModes) != 0 ? row.helpText : row.valueSyntax;
}

void PrintUsageBlock(const char* heading, std::uint8_t mask, FILE* stream) {
  std::fprintf(stream, "where %s := { ", heading);
  bool first = true;
  for (const OptionEntry& row : OptionTable()) {
    const char* text = UsageBlockText(row, mask);
    if (text == nullptr) {
      continue;
    }
    if (!first) {
      std::fprintf(stream, " |\n%*s", kContinuationIndent, "");
    }
    first = false;
    std::fprintf(stream, "--%s%s", row.longOption.name, text);
  }
  std::fputs(" }\n", stream);
}

void PrintUsage(FILE* stream) {
  std::fputs(kUsageHeader, stream);
  PrintUsageBlock("GET_OPTIONS", kModeGet, stream);
  PrintUsageBlock("SET_OPTIONS", kModeSet, stream);
  PrintUsageBlock("DEL_OPTIONS", kModeDelete, stream);
  PrintUsageBlock("HELP_OPTIONS", kModeHelp, stream);
}
