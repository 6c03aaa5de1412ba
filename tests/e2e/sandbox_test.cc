// The sandbox runner itself: what goes in comes out byte for byte, and nothing
// leaks to the real system.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/sandbox.h"

namespace vt_test {
namespace {

using Sandbox = ::vt_test::SandboxTest;

TEST_F(Sandbox, CapturesStreamsStatusAndFilesAsBytes) {
  SandboxOptions options;
  options.files = {{"/opt/Marrowlight/vantorstore", std::string("x\0y", 3), 0640}, {"/run/deep/er/file", "", 0444}};
  options.script = "printf 'a\\000b'; stat -c '%a' /opt/Marrowlight/vantorstore /run/deep/er/file; "
                   "printf 'err\\n' >&2; printf new >/var/log/written; ln -s /dev/stdout /var/log/link; exit 3";
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, std::string("a\0b640\n444\n", 11));
  EXPECT_EQ(r.err, "err\n");
  EXPECT_EQ(r.exitCode, 3);
  EXPECT_EQ(r.File("/opt/Marrowlight/vantorstore"), std::string("x\0y", 3));
  EXPECT_EQ(r.File("/run/deep/er/file"), "");
  EXPECT_EQ(r.File("/var/log/written"), "new");
  EXPECT_EQ(r.links.at("/var/log/link"), "/dev/stdout");
  EXPECT_EQ(r.File("/var/log/link"), std::nullopt);
}

TEST_F(Sandbox, MountsArePrivateTmpfsAndProcessOneIsTheSandbox) {
  const std::string name = "vt_sandbox_probe_" + std::to_string(getpid());
  SandboxOptions options;
  options.script = "for d in /opt /var/log /run; do stat -f -c '%T' $d; done; cat /proc/1/comm; "
                   "touch /opt/" + name + " /var/log/" + name + " /run/" + name;
  const SandboxResult r = RunInSandbox(options);
  EXPECT_EQ(r.out, "tmpfs\ntmpfs\ntmpfs\nsh\n");
  EXPECT_TRUE(r.File("/opt/" + name).has_value());
  for (const char* dir : {"/opt/", "/var/log/", "/run/"}) {
    struct stat st {};
    EXPECT_NE(lstat((dir + name).c_str(), &st), 0) << dir << " leaked to the host";
  }
}

}  // namespace
}  // namespace vt_test
