// The option table's own consistency and the usage text generated from it.
#include "cli/option_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "cli/usage.h"
#include "cli/usage_test_text.h"

namespace {

// Runs `print` against a memory stream and returns what it wrote.
template <typename Print>
std::string Capture(Print print) {
  char* buffer = nullptr;
  std::size_t size = 0;
  FILE* stream = open_memstream(&buffer, &size);
  EXPECT_NE(stream, nullptr);
  print(stream);
  std::fclose(stream);
  std::string text(buffer, size);
  std::free(buffer);
  return text;
}

// The option names a usage block lists, in order: each line of the block holds
// one row, after the "where X := { " opening or the continuation indent.
std::vector<std::string> BlockNames(const std::string& block) {
  std::vector<std::string> names;
  std::size_t lineStart = 0;
  while (lineStart < block.size()) {
    std::size_t lineEnd = block.find('\n', lineStart);
    if (lineEnd == std::string::npos) {
      lineEnd = block.size();
    }
    const std::string line = block.substr(lineStart, lineEnd - lineStart);
    const std::size_t dashes = line.find("--");
    if (dashes != std::string::npos) {
      std::size_t end = dashes + 2;
      while (end < line.size() && (std::isalnum(static_cast<unsigned char>(line[end])) || line[end] == '-')) {
        ++end;
      }
      names.push_back(line.substr(dashes + 2, end - dashes - 2));
    }
    lineStart = lineEnd + 1;
  }
  return names;
}

TEST(OptionTable, RowsAreConsistent) {
  ASSERT_EQ(OptionTable().size(), 24u);
  std::set<std::string> names;
  std::set<std::string> withoutHandler;
  for (std::size_t i = 0; i < kOptionCount; ++i) {
    const OptionEntry& row = gOptionTable[i];
    SCOPED_TRACE(row.longOption.name);
    EXPECT_EQ(row.longOption.val, static_cast<int>(i));
    EXPECT_TRUE(names.insert(row.longOption.name).second) << "duplicate name";
    EXPECT_TRUE(row.longOption.has_arg == no_argument || row.longOption.has_arg == optional_argument);
    EXPECT_EQ(row.longOption.flag, nullptr);
    EXPECT_EQ(row.specified, 0);
    EXPECT_EQ(row.value, nullptr);
    EXPECT_NE(row.allowedModes, 0);
    EXPECT_EQ(row.allowedModes & ~(kModeSet | kModeGet | kModeDelete | kModeHelp), 0);
    // Every row that does something in some mode has a handler; the only
    // exception is the update marker, which other handlers read.
    if (row.handler == nullptr) {
      withoutHandler.insert(row.longOption.name);
    } else {
      EXPECT_NE(row.allowedModes & (kModeSet | kModeGet | kModeDelete), 0);
    }
  }
  EXPECT_EQ(withoutHandler, (std::set<std::string>{"update", "help"}));
  EXPECT_STREQ(gOptionTable[kOptionCount - 1].longOption.name, "help");
  EXPECT_EQ(gOptionTable[kRowHelp].allowedModes, kModeHelp);
  EXPECT_EQ(gOptionTable[kRowFkm].helpText, nullptr);
  EXPECT_EQ(gOptionTable[kRowFkm].valueSyntax, nullptr);
}

TEST(OptionTable, RowConstantsNameTheirRows) {
  const struct {
    int row;
    const char* name;
    int hasArg;
    std::uint8_t modes;
  } kRows[] = {
      {kRowCid, "cid", optional_argument, 7},
      {kRowAid, "aid", optional_argument, 6},
      {kRowApd, "apd", optional_argument, 7},
      {kRowAph, "aph", optional_argument, 7},
      {kRowApp, "app", optional_argument, 7},
      {kRowTrace, "trace", optional_argument, 7},
      {kRowPcpt, "pcpt", optional_argument, 3},
      {kRowFeature, "feature", optional_argument, 3},
      {kRowMetadataQuery, "metadata-query", optional_argument, 3},
      {kRowVersion, "version", optional_argument, 2},
      {kRowUpdate, "update", no_argument, 1},
      {kRowBilling, "billing", optional_argument, 7},
      {kRowTags, "tags", optional_argument, 7},
      {kRowProvisioningToken, "provisioning-token", optional_argument, 7},
      {kRowSystags, "systags", optional_argument, 2},
      {kRowBackend, "backend", optional_argument, 7},
      {kRowRfmState, "rfm-state", optional_argument, 2},
      {kRowRfmReason, "rfm-reason", optional_argument, 2},
      {kRowRfmHistory, "rfm-history", no_argument, 2},
      {kRowFkm, "fkm", optional_argument, 7},
      {kRowLogCounters, "logcounters", optional_argument, 7},
      {kRowLogInterval, "loginterval", optional_argument, 7},
      {kRowLogDuration, "logduration", optional_argument, 7},
      {kRowHelp, "help", no_argument, 0x20},
  };
  ASSERT_EQ(std::size(kRows), kOptionCount);
  for (const auto& expected : kRows) {
    const OptionEntry& row = gOptionTable[expected.row];
    EXPECT_STREQ(row.longOption.name, expected.name);
    EXPECT_EQ(row.longOption.has_arg, expected.hasArg) << expected.name;
    EXPECT_EQ(row.allowedModes, expected.modes) << expected.name;
  }
}

TEST(OptionTable, UpdateRequestedFollowsTheUpdateRow) {
  EXPECT_FALSE(UpdateRequested());
  gOptionTable[kRowUpdate].specified = 1;
  EXPECT_TRUE(UpdateRequested());
  gOptionTable[kRowUpdate].specified = 0;
  gOptionTable[kRowTrace].specified = 1;  // another row must not count
  EXPECT_FALSE(UpdateRequested());
  gOptionTable[kRowTrace].specified = 0;
}

TEST(Usage, TextIsExact) { EXPECT_EQ(Capture([](FILE* s) { PrintUsage(s); }), vt_test::kExpectedUsage); }

TEST(Usage, BlocksListTheRightRows) {
  const auto block = [](const char* heading, std::uint32_t mask) {
    return BlockNames(Capture([&](FILE* s) { PrintUsageBlock(heading, mask, s); }));
  };
  const std::vector<std::string> get = block("GET_OPTIONS", kModeGet);
  const std::vector<std::string> set = block("SET_OPTIONS", kModeSet);
  const std::vector<std::string> del = block("DEL_OPTIONS", kModeDelete);
  EXPECT_EQ(get.size(), 21u);
  EXPECT_EQ(set.size(), 16u);
  EXPECT_EQ(del, (std::vector<std::string>{"cid", "aid", "apd", "aph", "app", "trace", "billing", "tags",
                                           "provisioning-token", "backend", "logcounters", "loginterval",
                                           "logduration"}));
  EXPECT_EQ(block("HELP_OPTIONS", kModeHelp), std::vector<std::string>{"help"});
  for (const auto* names : {&get, &set, &del}) {
    EXPECT_EQ(std::count(names->begin(), names->end(), "fkm"), 0);
    EXPECT_EQ(std::count(names->begin(), names->end(), "help"), 0);
  }
  EXPECT_EQ(std::count(set.begin(), set.end(), "update"), 1);
  EXPECT_EQ(std::count(get.begin(), get.end(), "update"), 0);
  EXPECT_EQ(std::count(set.begin(), set.end(), "aid"), 0);
}

TEST(Usage, BlockPrinterUsesOnlyTheLowMaskByteAndPicksTextByMask) {
  const auto print = [](const char* heading, std::uint32_t mask) {
    return Capture([&](FILE* s) { PrintUsageBlock(heading, mask, s); });
  };
  EXPECT_EQ(print("X", 0x100 | kModeHelp), "where X := { --help for usage help }\n");
  EXPECT_EQ(print("X", 0x100), "where X := {  }\n");
  // Set and get together: the help texts win, and update (set only, no help
  // text) is left out.
  const std::string both = print("X", kModeSet | kModeGet);
  EXPECT_EQ(both.find("--update"), std::string::npos);
  EXPECT_NE(both.find("--cid for CustomerId |\n"), std::string::npos);
}

}  // namespace
