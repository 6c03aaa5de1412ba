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

constexpr std::uint32_t kHelpTextModes = kModeGet | kModeDelete | kModeHelp;

}  // namespace

void PrintUsageBlock(const char* heading, std::uint32_t mask, FILE* stream) {
  std::fprintf(stream, "where %s := { ", heading);
  const std::uint32_t modes = mask & 0xFFu;
  const bool useHelpText = (modes & kHelpTextModes) != 0;
  bool first = true;
  for (const OptionEntry& row : OptionTable()) {
    if ((row.allowedModes & modes) == 0) {
      continue;
    }
    const char* text = useHelpText ? row.helpText : row.valueSyntax;
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
