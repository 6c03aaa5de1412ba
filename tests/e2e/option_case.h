// One vantorctl run against a seeded configuration store, described as data:
// the store before, the arguments, the exact stdout, stderr and exit status, and
// what the store must hold afterwards. Shared by the option end-to-end tests.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace vt_test {

inline constexpr char kStorePath[] = "/opt/Marrowlight/vantorstore";
inline constexpr char kUsageHint[] = "Run 'vantorctl -h' OR 'vantorctl --help' for usage help\n";
inline constexpr char kReminder[] =
    "Logcounters Enabled.\nREMINDER: Run 'vantorctl -s --logcounters=false' to turn off telemetry logging, \n"
    "          when you are done collecting telemetry data.\n";

// What the driver writes after a handler's diagnostic when the handler fails.
inline std::string HandlerFailure(const std::string& diagnostic, const std::string& option) {
  return diagnostic + "ERROR: failed to process the option --" + option + "\n" + kUsageHint;
}
inline std::string Invalid(const std::string& value, const std::string& option) {
  return HandlerFailure("\"" + value + "\" is not a valid value for --" + option + "\n", option);
}

// A record expected after the run: data, or nullopt for "absent".
using Record = std::pair<std::string, std::optional<std::string>>;

struct OptionCase {
  std::string name;
  StoreImage seed;
  std::vector<std::string> args;
  std::string out;
  std::string err;
  int exitCode;
  // Records checked after the run. With `unchanged`, the whole file must be
  // byte-identical to the seed instead.
  std::vector<Record> records;
  bool unchanged = false;
};

// A successful run that must leave the store byte-identical (gets, deletes of nothing).
inline OptionCase Shows(std::string name, StoreImage seed, std::vector<std::string> args, std::string out) {
  return {std::move(name), std::move(seed), std::move(args), std::move(out), "", 0, {}, true};
}
// A refused run: only the final newline on stdout, `err` on stderr, exit 1, and
// the store byte-identical.
inline OptionCase Refused(std::string name, StoreImage seed, std::vector<std::string> args, std::string err) {
  return {std::move(name), std::move(seed), std::move(args), "\n", std::move(err), 1, {}, true};
}

inline SeedFile StoreSeed(const StoreImage& image) { return {kStorePath, image.bytes(), 0660}; }

inline SandboxResult RunOnStore(const StoreImage& seed, std::vector<std::string> args) {
  return RunTool(std::move(args), {StoreSeed(seed)});
}

// The store image after a run (fails the test when the file is gone or resized).
inline StoreImage StoreAfter(const SandboxResult& result) {
  const std::optional<std::string> bytes = result.File(kStorePath);
  EXPECT_TRUE(bytes.has_value()) << "store file missing after the run";
  EXPECT_EQ(bytes.value_or("").size(), kStoreSize);
  return StoreImage(bytes.value_or(std::string(kStoreSize, '\0')));
}

inline void ExpectRun(const SandboxResult& r, const std::string& out, const std::string& err, int exitCode) {
  EXPECT_EQ(r.out, out);
  EXPECT_EQ(r.err, err);
  EXPECT_EQ(r.exitCode, exitCode);
}

inline void ExpectCases(const std::vector<OptionCase>& cases) {
  for (const OptionCase& c : cases) {
    SCOPED_TRACE(c.name);
    const SandboxResult r = RunOnStore(c.seed, c.args);
    ExpectRun(r, c.out, c.err, c.exitCode);
    const StoreImage after = StoreAfter(r);
    if (c.unchanged) {
      EXPECT_EQ(after.bytes(), c.seed.bytes()) << "store must be byte-identical";
    }
    for (const Record& record : c.records) {
      EXPECT_EQ(after.Get(record.first), record.second) << "record " << record.first;
    }
  }
}

}  // namespace vt_test
