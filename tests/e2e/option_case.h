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

// What the driver writes after a handler's diagnostic when the handler fails.
inline std::string HandlerFailure(const std::string& diagnostic, const std::string& option) {
  return diagnostic + "ERROR: failed to process the option --" + option + "\n" + kUsageHint;
}

// A record expected after the run: data, or nullopt for "absent".
using Record = std::pair<std::string, std::optional<std::string>>;

struct OptionCase {
  const char* name;
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

inline SeedFile StoreSeed(const StoreImage& image) { return {kStorePath, image.bytes(), 0660}; }

// Runs vantorctl on a seeded store and returns the result; the store after the
// run is in result.File(kStorePath).
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

inline void ExpectCase(const OptionCase& c) {
  SCOPED_TRACE(c.name);
  const SandboxResult r = RunOnStore(c.seed, c.args);
  EXPECT_EQ(r.out, c.out);
  EXPECT_EQ(r.err, c.err);
  EXPECT_EQ(r.exitCode, c.exitCode);
  const StoreImage after = StoreAfter(r);
  if (c.unchanged) {
    EXPECT_EQ(after.bytes(), c.seed.bytes()) << "store must be byte-identical";
  }
  for (const Record& record : c.records) {
    EXPECT_EQ(after.Get(record.first), record.second) << "record " << record.first;
  }
}

}  // namespace vt_test
