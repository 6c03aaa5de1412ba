// The release binary carries everything it needs: it runs in a root that holds
// nothing but itself, /proc, /dev/null, /dev/stdout and tmpfs directories for
// /opt, /var/log and /run (no C library, no loader), both as a plain run and as
// a namespaced run that joins the enclosing sandbox's process 1.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

// Builds the empty root at $R (a tmpfs under $OUT, so nothing of it is copied
// back with the sandbox's mounts) and leaves $R set for what follows.
constexpr char kMakeRoot[] =
    "R=\"$OUT/root\"; mkdir \"$R\" && mount -t tmpfs -o mode=0755 tmpfs \"$R\" && cd \"$R\" &&\n"
    "mkdir proc dev opt var var/log run && cp \"$VANTORCTL\" vantorctl && mount -t proc proc proc &&\n"
    ": >dev/null && mount --bind /dev/null dev/null && ln -s /proc/self/fd/1 dev/stdout &&\n"
    "for d in opt var/log run; do mount -t tmpfs -o mode=0755 tmpfs \"$d\" || exit 99; done &&\n"
    "mkdir -m 0770 opt/Marrowlight && cd / || exit 99\n"
    "[ \"$(find \"$R\" -path \"$R/proc\" -prune -o -type f -exec test -f {} \\; -print)\" = \"$R/vantorctl\" ] || exit 98\n";

using EmptyRootE2e = ::vt_test::SandboxTest;

TEST_F(EmptyRootE2e, SetAndGetWithNothingButTheBinary) {
  SandboxOptions options;
  options.script = std::string(kMakeRoot) +
                   "chroot \"$R\" /vantorctl -s --trace=info >\"$OUT/set\" 2>&1 || exit 1\n"
                   "chroot \"$R\" /vantorctl -g --trace >\"$OUT/get\" 2>&1 || exit 2\n"
                   "cp \"$R/opt/Marrowlight/vantorstore\" \"$OUT/store\"\n";
  const SandboxResult r = RunInSandbox(options);
  ASSERT_EQ(r.exitCode, 0) << r.err << r.File(r.outDir + "/set").value_or("")
                           << r.File(r.outDir + "/get").value_or("");
  EXPECT_EQ(r.File(r.outDir + "/set"), "\n");
  EXPECT_EQ(r.File(r.outDir + "/get"), "trace=info.\n");
  EXPECT_EQ(StoreImage(r.File(r.outDir + "/store").value_or("")).Get("TRACE"), "info");
  // The sandbox's own store was not the one written.
  EXPECT_FALSE(r.File(kStorePath).has_value());
}

// Started in a mount namespace of its own, inside the empty root, the tool
// joins process 1's namespaces: it writes the sandbox's store, not the root's,
// and its log lines reach its own standard output.
TEST_F(EmptyRootE2e, NamespacedRunJoinsTheSandboxAndLogsToItsOutput) {
  SandboxOptions options;
  options.files = {{kStorePath, "12345"}};
  options.script = std::string(kMakeRoot) +
                   "unshare -m chroot \"$R\" /vantorctl -s -v --apd=true >\"$OUT/out\" 2>\"$OUT/err\"; rc=$?\n"
                   "ls -A \"$R/opt/Marrowlight\" >\"$OUT/inner\"; exit $rc\n";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.File(r.outDir + "/err"), "");
  EXPECT_TRUE(r.File(kStorePath) == StoreImage().Add("DP", U32Bytes(1)).bytes()) << "sandbox store not written";
  EXPECT_EQ(r.File(r.outDir + "/inner"), "");
  const std::string out = r.File(r.outDir + "/out").value_or("");
  EXPECT_NE(out.find("Invalid file /opt/Marrowlight/vantorstore length: 5"), std::string::npos) << out;
  EXPECT_TRUE(out.ends_with("apd=TRUE.\n")) << out;
}

}  // namespace
}  // namespace vt_test
