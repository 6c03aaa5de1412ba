// Namespace detection and the switch, exercised in forked children that leave
// this process's namespaces (root is required; refused unshare skips).
#include "runtime/namespace.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>
#include <cstdlib>
#include <string>

namespace {

constexpr int kSkipExit = 77;

int WaitFor(pid_t child) {
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : 100;
}

// Runs `body` in a grandchild whose process 1 is a fresh one of our own (new PID
// and mount namespaces, own /proc), so `body` starts in process 1's namespaces
// and the real process 1, /proc and /var/log are never touched. Returns the
// body's exit code, or kSkipExit when the namespaces are refused.
int RunUnderOwnInit(int (*body)()) {
  const pid_t pid = fork();
  if (pid == 0) {
    if (unshare(CLONE_NEWNS | CLONE_NEWPID) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      _exit(kSkipExit);
    }
    const pid_t init = fork();
    if (init == 0) {
      if (mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        _exit(kSkipExit);
      }
      const pid_t worker = fork();
      if (worker == 0) {
        _exit(body());
      }
      _exit(WaitFor(worker));
    }
    _exit(WaitFor(init));
  }
  return WaitFor(pid);
}

// 0 when every check holds, else the 1-based position of the first that fails.
// The checks are evaluated in order (braced list), side effects included.
int FirstFailed(std::initializer_list<bool> checks) {
  const auto failed = std::find(checks.begin(), checks.end(), false);
  return failed == checks.end() ? 0 : static_cast<int>(failed - checks.begin()) + 1;
}

bool SameAsInit(const char* kind) {
  struct stat own {}, init {};
  return stat((std::string("/proc/self/ns/") + kind).c_str(), &own) == 0 &&
         stat((std::string("/proc/1/ns/") + kind).c_str(), &init) == 0 && own.st_ino == init.st_ino;
}

TEST(Namespace, DetectionAndSwitchToProcessOne) {
#if defined(__SANITIZE_THREAD__)
  // The kernel moves only single-threaded processes into another mount
  // namespace, and ThreadSanitizer restarts its own thread in forked children.
  GTEST_SKIP() << "setns(CLONE_NEWNS) needs a single-threaded process";
#endif
  const int same = RunUnderOwnInit([] {
    return FirstFailed({SameAsInit("mnt") && SameAsInit("uts"), (NamespaceDetect(), !NamespaceIsNamespaced()),
                        !NamespaceSwitchCountAbove(0)});
  });
  const int otherUts = RunUnderOwnInit([] {
    if (unshare(CLONE_NEWUTS) != 0) {
      return kSkipExit;
    }
    return FirstFailed({SameAsInit("mnt"), !SameAsInit("uts"), (NamespaceDetect(), NamespaceIsNamespaced()),
                        !NamespaceSwitchCountAbove(0), NT_SUCCESS(NamespaceSwitchToInit()),
                        NamespaceSwitchCountAbove(1),  // mnt and uts joined, at most cgroup besides
                        !NamespaceSwitchCountAbove(3), SameAsInit("uts"), SameAsInit("mnt")});
  });
  if (same == kSkipExit || otherUts == kSkipExit) {
    // CI, which runs as root, asks for every such test to run.
    const char* require = std::getenv("VANTOR_REQUIRE_SANDBOX");
    if (require != nullptr && std::string(require) == "1") FAIL() << "no private PID, mount or UTS namespaces";
    GTEST_SKIP() << "no private PID, mount or UTS namespaces (not root, or a plain chroot)";
  }
  EXPECT_EQ(same, 0) << "first failed check, same namespaces as process 1";
  EXPECT_EQ(otherUts, 0) << "first failed check, other UTS namespace";
}

}  // namespace
