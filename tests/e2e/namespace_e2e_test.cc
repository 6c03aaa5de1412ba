// The namespace switch end to end: where the trace log goes and which /opt the
// tool writes, run not namespaced and from another mount namespace.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

constexpr char kLog[] = "/var/log/vantorctl.log";
// The repair of a store seeded with 5 bytes logs this line.
constexpr char kRepairLine[] = "Invalid file /opt/Marrowlight/vantorstore length: 5";

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Same namespaces as process 1, or no /proc/1 to compare with (a tmpfs over
// /proc without it): the log is the regular file, nothing of it reaches stdout.
using NamespaceE2e = ::vt_test::SandboxTest;

TEST_F(NamespaceE2e, NotNamespacedRunLogsToTheLogFile) {
  for (const bool noProcessOne : {false, true}) {
    SCOPED_TRACE(noProcessOne ? "no /proc/1" : "same namespaces");
    SandboxOptions options;
    options.files = {{kStorePath, "12345"}};
    if (noProcessOne) {
      options.procTmpfs = true;
      options.script = "rm /proc/1 && exec \"$VANTORCTL\" -s --apd=true";
    } else {
      options.args = {"-s", "--apd=true"};
    }
    const SandboxResult r = RunInSandbox(options);
    ExpectRun(r, "\n", "", 0);
    EXPECT_EQ(r.links.count(kLog), 0u);
    EXPECT_TRUE(Contains(r.File(kLog).value_or(""), kRepairLine)) << "no regular log file with the repair line";
    EXPECT_EQ(StoreAfter(r).Get("DP"), U32Bytes(1));
  }
}

// The tool starts in a mount namespace of its own with another /opt; it must
// join process 1's (the sandbox shell's) and write the store there, with its
// trace log redirected to its standard output.
TEST_F(NamespaceE2e, NamespacedRunJoinsProcessOneAndLogsToStdout) {
  SandboxOptions options;
  options.files = {{kStorePath, "12345"}, {kLog, "an old regular log\n", 0600}};
  options.script = "unshare -m sh -c 'mount -t tmpfs tmpfs /opt && mkdir -p /opt/Marrowlight && "
                   "\"$VANTORCTL\" -s --apd=true; rc=$?; ls -A /opt/Marrowlight >\"$OUT/inner\"; exit $rc'";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.err, "");
  // The write landed in process 1's store, repaired and then set, and not in
  // the tool's own /opt, which stayed empty.
  EXPECT_EQ(r.File(kStorePath), StoreImage().Add("DP", U32Bytes(1)).bytes());
  EXPECT_EQ(r.File(r.outDir + "/inner"), "");
  // The old log file became the link, and the trace line went to stdout.
  EXPECT_EQ(r.File(kLog), std::nullopt);
  ASSERT_EQ(r.links.count(kLog), 1u);
  EXPECT_EQ(r.links.at(kLog), "/dev/stdout");
  EXPECT_TRUE(Contains(r.out, kRepairLine)) << r.out;
  EXPECT_EQ(r.out.back(), '\n');
}

}  // namespace
}  // namespace vt_test
