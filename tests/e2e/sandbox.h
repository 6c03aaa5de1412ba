// Runs programs, the real vantorctl above all, in a throw-away sandbox: private
// PID and mount namespaces (unshare -m -p -f --mount-proc) with tmpfs mounted
// over /opt, /var/log and /run (and /var/run when that is not a link to /run),
// so nothing on the real system is touched. Files are seeded into the tmpfs
// before the run; afterwards every regular file and symbolic link under those
// mounts is captured, together with stdout, stderr and the exit status, as
// bytes.
#pragma once

#include <sys/types.h>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vt_test {

// The base of every test that runs something in the sandbox. It needs root and
// a working `unshare -m -p -f --mount-proc`; where it cannot have them (a plain
// chroot, an unprivileged user) the test is skipped with the reason, unless
// VANTOR_REQUIRE_SANDBOX=1 (set by CI, which runs as root) makes that a failure.
class SandboxTest : public ::testing::Test {
 protected:
  void SetUp() override;
};

// Absolute path of the vantorctl binary under test.
const std::string& VantorctlPath();

struct SeedFile {
  std::string path;     // absolute, under /opt, /var/log, /run or /var/run
  std::string content;  // bytes
  mode_t mode = 0660;
};

struct SandboxOptions {
  // argv[1..] of the program; the program is vantorctl unless `program` is set.
  std::vector<std::string> args;
  std::string program;
  // Files created inside the sandbox before the run (parents are created as
  // needed), after /opt/Marrowlight (mode 0770).
  std::vector<SeedFile> files;
  // Instead of one program run: a /bin/sh script run inside the sandbox after
  // seeding, with $VANTORCTL set to the binary and $OUT to a writable host
  // directory for extra results. Its stdout/stderr/exit status are captured.
  std::string script;
  // Environment additions for the program or script (NAME=value).
  std::vector<std::string> env;
  int timeoutSeconds = 60;
};

struct SandboxResult {
  std::string out;   // stdout bytes
  std::string err;   // stderr bytes
  int exitCode = -1;  // exit status, or 128 + signal
  // Every regular file under the tmpfs mounts after the run, by absolute path.
  std::map<std::string, std::string> files;
  // Symbolic links under the mounts, path -> target.
  std::map<std::string, std::string> links;
  std::string outDir;  // the $OUT directory of a script run (removed with the result's owner)

  std::optional<std::string> File(const std::string& path) const;
};

SandboxResult RunInSandbox(const SandboxOptions& options);

}  // namespace vt_test
