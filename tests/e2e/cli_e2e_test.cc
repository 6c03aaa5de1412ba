// The command line end to end on the real binary: mode rules in their order,
// parser errors, per-row checks during dispatch, the usage text, the store that
// cannot be opened, and the newline that ends every run's standard output.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/usage_test_text.h"
#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace vt_test {
namespace {

constexpr char kHint[] = "Run 'vantorctl -h' OR 'vantorctl --help' for usage help\n";

struct CliCase {
  std::vector<std::string> args;
  std::string err;  // without the usage hint; the hint follows on every failure
};

// Every failing command line: stdout is only the final newline, stderr the
// rule's line and the usage hint, exit status 1. Nothing is stored.
TEST(CliE2e, RejectedCommandLines) {
  const std::string tool = VantorctlPath();
  const CliCase cases[] = {
      // A non-option word is reported first, before the mode rules.
      {{"-s", "--aph", "host"}, "ERROR: unsupported non-option argument 'host'\n"},
      {{"word", "--cid"}, "ERROR: unsupported non-option argument 'word'\n"},
      {{"-g", "-s", "one", "two"}, "ERROR: unsupported non-option argument 'one'\n"},
      // Then a missing mode, then more than one mode, then no long option.
      {{"-f", "--cid"}, "ERROR: -g or -s or -d must be specified\n"},
      {{"-fv"}, "ERROR: -g or -s or -d must be specified\n"},
      {{"-g", "-s", "--cid"}, "ERROR: -g and -s and -d are mutually exclusive\n"},
      {{"-gd"}, "ERROR: -g and -s and -d are mutually exclusive\n"},
      {{"-g"}, "ERROR: no options specified for -g  \n"},
      {{"-g", "-g", "-f", "-v"}, "ERROR: no options specified for -g  \n"},
      {{"-s", "-f"}, "ERROR: no options specified for -s  \n"},
      {{"-d"}, "ERROR: no options specified for -d  \n"},
      // The parser's own messages.
      {{"-g", "--bogus"}, tool + ": unrecognized option '--bogus'\n"},
      {{"-g", "--bogus", "-h"}, tool + ": unrecognized option '--bogus'\n"},
      {{"-x", "-h"}, tool + ": invalid option -- 'x'\n"},
      {{"-s", "--update=x"}, tool + ": option '--update' doesn't allow an argument\n"},
      {{"-g", "--rfm-history=1"}, tool + ": option '--rfm-history' doesn't allow an argument\n"},
      {{"-g", "--log"}, tool + ": option '--log' is ambiguous; possibilities: '--logcounters' '--loginterval' "
                               "'--logduration'\n"},
      {{"-g", "--ap"}, tool + ": option '--ap' is ambiguous; possibilities: '--apd' '--aph' '--app'\n"},
      // The same row twice, also through an abbreviation.
      {{"-g", "--cid", "--cid"}, "ERROR: --cid specified more than once\n"},
      {{"-s", "--trace=info", "--tra=warn"}, "ERROR: --trace specified more than once\n"},
      // Per-row checks during dispatch.
      {{"-s", "--trace"}, "ERROR: --trace requires a value\n"},
      {{"-s", "--aid=x"}, "ERROR: -s with --aid is not supported.\n"},
      {{"-d", "--pcpt"}, "ERROR: -d with --pcpt is not supported.\n"},
      {{"-g", "--update"}, "ERROR: -g with --update is not supported.\n"},
      // The mode letter is that of the last mode flag.
      {{"-d", "-d", "--version"}, "ERROR: -d with --version is not supported.\n"},
  };
  for (const CliCase& c : cases) {
    std::string joined;
    for (const std::string& a : c.args) {
      joined += a + " ";
    }
    SCOPED_TRACE(joined);
    const SandboxResult r = RunTool(c.args);
    EXPECT_EQ(r.err, c.err + kHint);
    EXPECT_EQ(r.out, "\n");
    EXPECT_EQ(r.exitCode, 1);
    // The store was created empty at start-up and nothing was written to it.
    EXPECT_EQ(r.File("/opt/Marrowlight/vantorstore"), StoreImage().bytes());
  }
}

TEST(CliE2e, UsageTextExitsZeroWithoutRunningAnything) {
  const std::vector<std::vector<std::string>> lines = {
      {"-h"}, {"--help"}, {"--he"}, {"-h", "--bogus"}, {"-s", "--apd=true", "-h"}, {"-g", "-s", "--help", "x"}};
  for (const auto& args : lines) {
    SCOPED_TRACE(args[0] + " ... " + args.back());
    const SandboxResult r = RunTool(args);
    EXPECT_EQ(r.out, std::string(kExpectedUsage) + "\n");
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.File("/opt/Marrowlight/vantorstore"), StoreImage().bytes()) << "a row ran before -h";
  }
}

TEST(CliE2e, StoreThatCannotBeOpenedEndsEveryRun) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"-h"}, {"-g", "--apd"}, {"-g", "--bogus"}, {}}) {
    SandboxOptions options;
    options.args = args;
    options.createVendorDir = false;
    const SandboxResult r = RunInSandbox(options);
    EXPECT_EQ(r.err, "ERROR: unable to initialize simple store\n");
    EXPECT_EQ(r.out, "\n");
    EXPECT_EQ(r.exitCode, 1);
  }
}

TEST(CliE2e, LaterRowFailsAfterEarlierRowsWereStored) {
  const SandboxResult r = RunTool({"-s", "--version", "--cid=00112233445566778899AABBCCDDEEFF08", "--apd=true"});
  EXPECT_EQ(r.err, std::string("ERROR: -s with --version is not supported.\n") + kHint);
  EXPECT_EQ(r.exitCode, 1);
  const std::optional<std::string> store = r.File("/opt/Marrowlight/vantorstore");
  ASSERT_TRUE(store.has_value());
  ASSERT_EQ(store->size(), kStoreSize);
  const StoreImage image(*store);
  // cid (row 0) and apd (row 2) ran before version (row 9), whatever the
  // command-line order, and stay stored.
  // The identifier's text is its 16 stored bytes in memory order.
  EXPECT_EQ(image.Get("CU"), std::string("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF", 16));
  EXPECT_EQ(image.Get("DP"), U32Bytes(1));
  EXPECT_EQ(r.out, "\n");
}

TEST(CliE2e, SuccessfulRunsFollowTableOrderAndEndWithOneNewline) {
  const StoreImage seeded = StoreImage().Add("APH", "proxy.example");
  const struct {
    std::vector<std::string> args;
    std::string out;
  } cases[] = {
      // Table order (apd, aph, app), not command-line order; -f and -v accepted
      // with get, short flags combined, long options abbreviated.
      {{"-g", "--app", "--aph", "--apd"}, "apd is not set, aph=proxy.example, app is not set.\n"},
      {{"-gfv", "--aph"}, "aph=proxy.example.\n"},
      {{"-g", "--aph=ignored"}, "aph=proxy.example.\n"},
      // fkm is in no usage block but works.
      {{"-g", "--fkm"}, "fkm is not set.\n"},
      // The update marker alone prints nothing but the newline.
      {{"-s", "--update"}, "\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    const SandboxResult r = RunTool(c.args, {{"/opt/Marrowlight/vantorstore", seeded.bytes(), 0660}});
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.exitCode, 0);
  }
}

}  // namespace
}  // namespace vt_test
