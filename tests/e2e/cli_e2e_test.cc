// The command line end to end on the real binary: mode rules in their order,
// parser errors, per-row checks during dispatch, the usage text, the store that
// cannot be opened, and the newline that ends every run's standard output.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/usage_text.h"
#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

std::string Joined(const std::vector<std::string>& args) {
  std::string joined;
  for (const std::string& a : args) joined += a + " ";
  return joined;
}

// Every run on an unseeded store: the store is created empty at start-up and,
// for these lines, never written.
void ExpectUnseededRun(const std::vector<std::string>& args, const std::string& out, const std::string& err,
                       int exitCode) {
  SCOPED_TRACE(Joined(args));
  const SandboxResult r = RunTool(args);
  ExpectRun(r, out, err, exitCode);
  EXPECT_EQ(r.File(kStorePath), StoreImage().bytes());
}

using CliE2e = ::vt_test::SandboxTest;

TEST_F(CliE2e, RejectedCommandLines) {
  const std::string tool = VantorctlPath();
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      // A non-option word is reported first, then a missing mode, then more
      // than one mode, then no long option.
      {{"-s", "--aph", "host"}, "ERROR: unsupported non-option argument 'host'\n"},
      {{"word", "--cid"}, "ERROR: unsupported non-option argument 'word'\n"},
      {{"-g", "-s", "one", "two"}, "ERROR: unsupported non-option argument 'one'\n"},
      {{"-f", "--cid"}, "ERROR: -g or -s or -d must be specified\n"},
      {{"-fv"}, "ERROR: -g or -s or -d must be specified\n"},
      {{"-g", "-s", "--cid"}, "ERROR: -g and -s and -d are mutually exclusive\n"},
      {{"-gd"}, "ERROR: -g and -s and -d are mutually exclusive\n"},
      {{"-g", "-g", "-f", "-v"}, "ERROR: no options specified for -g  \n"},
      {{"-s", "-f"}, "ERROR: no options specified for -s  \n"},
      {{"-d"}, "ERROR: no options specified for -d  \n"},
      // The parser's own messages.
      {{"-g", "--bogus"}, tool + ": unrecognized option '--bogus'\n"},
      {{"-g", "--bogus", "-h"}, tool + ": unrecognized option '--bogus'\n"},
      {{"-x", "-h"}, tool + ": invalid option -- 'x'\n"},
      {{"-s", "--update=x"}, tool + ": option '--update' doesn't allow an argument\n"},
      {{"-g", "--log"},
       tool + ": option '--log' is ambiguous; possibilities: '--logcounters' '--loginterval' '--logduration'\n"},
      // The same row twice, also through an abbreviation.
      {{"-g", "--cid", "--cid"}, "ERROR: --cid specified more than once\n"},
      {{"-s", "--trace=info", "--tra=warn"}, "ERROR: --trace specified more than once\n"},
      // Per-row checks during dispatch; the mode letter is the last mode flag's.
      {{"-s", "--trace"}, "ERROR: --trace requires a value\n"},
      {{"-s", "--aid=x"}, "ERROR: -s with --aid is not supported.\n"},
      {{"-d", "--pcpt"}, "ERROR: -d with --pcpt is not supported.\n"},
      {{"-g", "--update"}, "ERROR: -g with --update is not supported.\n"},
      {{"-d", "-d", "--version"}, "ERROR: -d with --version is not supported.\n"},
  };
  for (const auto& [args, err] : cases) {
    ExpectUnseededRun(args, "\n", err + kUsageHint, 1);
  }
}

TEST_F(CliE2e, UsageTextExitsZeroWithoutRunningAnything) {
  for (const std::vector<std::string>& args : std::initializer_list<std::vector<std::string>>{
           {"-h"}, {"--help"}, {"--he"}, {"-h", "--bogus"}, {"-s", "--apd=true", "-h"}, {"-g", "-s", "--help", "x"}}) {
    ExpectUnseededRun(args, std::string(kExpectedUsage) + "\n", "", 0);
  }
}

TEST_F(CliE2e, StoreThatCannotBeOpenedEndsEveryRun) {
  for (const std::vector<std::string>& args :
       std::initializer_list<std::vector<std::string>>{{"-h"}, {"-g", "--apd"}, {"-g", "--bogus"}, {}}) {
    SCOPED_TRACE(Joined(args));
    SandboxOptions options;
    options.args = args;
    options.createVendorDir = false;
    ExpectRun(RunInSandbox(options), "\n", "ERROR: unable to initialize simple store\n", 1);
  }
}

TEST_F(CliE2e, DispatchRunsRowsInTableOrder) {
  const StoreImage seeded = StoreImage().Add("APH", "proxy.example");
  ExpectCases({
      // cid (row 0) and apd (row 2) run and stay stored before version (row 9)
      // is refused, whatever the command-line order.
      {"disallowed mode after earlier rows", {},
       {"-s", "--version", "--cid=00112233445566778899AABBCCDDEEFF08", "--apd=true"}, "\n",
       std::string("ERROR: -s with --version is not supported.\n") + kUsageHint, 1,
       {{"CU", std::string("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF", 16)},
        {"DP", U32Bytes(1)}}},
      // -f and -v accepted with get, short flags combined, a get's value ignored.
      Shows("combined flags", seeded, {"-gfv", "--aph"}, "aph=proxy.example.\n"),
      Shows("value ignored by get", seeded, {"-g", "--aph=ignored"}, "aph=proxy.example.\n"),
  });
}

}  // namespace
}  // namespace vt_test
