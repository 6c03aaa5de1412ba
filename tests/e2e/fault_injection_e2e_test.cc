// Fails the system calls of real vantorctl runs one at a time under strace
// (tests/e2e/fault_walk.cc does the walk inside the sandbox) and checks the
// state each run leaves. VANTOR_EXHAUSTIVE=1 also fails every call from the Nth
// on with each error, not only with EINTR.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/e2e/sandbox.h"

namespace vt_test {
namespace {

using FaultInjection = ::vt_test::SandboxTest;

TEST_F(FaultInjection, EveryFailedCallEndsInAValidStoreAndAnHonestStatus) {
  if (std::system("strace -V >/dev/null 2>&1") != 0) GTEST_SKIP() << "strace is not installed";
  const char* exhaustive = std::getenv("VANTOR_EXHAUSTIVE");
  const bool all = exhaustive != nullptr && std::string(exhaustive) == "1";
  SandboxOptions options;
  options.program = FAULT_WALK_PATH;
  options.args = {VantorctlPath(), FAKE_SENSOR_PATH};
  if (all) options.args.push_back("exhaustive");
  options.timeoutSeconds = all ? 7200 : 600;
  const SandboxResult r = RunInSandbox(options);
  std::fputs(r.out.c_str(), stdout);  // the figures
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find(" calls covered, 0 violations\n"), std::string::npos);
}

}  // namespace
}  // namespace vt_test
