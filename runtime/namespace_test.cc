// Namespace detection and the switch, exercised in forked children that leave
// this process's namespaces (root is required; refused unshare skips).
#include "runtime/namespace.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "runtime/trace.h"

namespace {

constexpr int kSkipExit = 77;

ino_t Inode(const char* path) {
  struct stat st {};
  return stat(path, &st) == 0 ? st.st_ino : 0;
}

bool SameAsInit(const char* kind) {
  const std::string own = std::string("/proc/self/ns/") + kind;
  const std::string init = std::string("/proc/1/ns/") + kind;
  return Inode(own.c_str()) != 0 && Inode(own.c_str()) == Inode(init.c_str());
}

// Runs `body` in a child whose process 1 is a fresh one of our own: a forked
// child enters new PID and mount namespaces, its first child becomes process 1
// there (with its own /proc), and that one forks the child that runs `body`.
// So `body` starts in process 1's namespaces whatever namespaces this test
// process runs in, and the real /proc, /var/log and process 1 are never
// touched. The body writes its failures, one per line, to a pipe and returns
// an exit code (kSkipExit when a precondition is refused). Returns the
// failures; sets *skipped.
template <typename Body>
std::string RunUnderOwnInit(Body body, bool* skipped) {
  int fds[2];
  if (pipe(fds) != 0) {
    return "pipe failed";
  }
  const auto waitFor = [](pid_t child) {
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
      return 1;
    }
    return WEXITSTATUS(status);
  };
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    if (unshare(CLONE_NEWNS | CLONE_NEWPID) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      _exit(kSkipExit);
    }
    const pid_t init = fork();
    if (init == 0) {
      if (mount("proc", "/proc", "proc", 0, nullptr) != 0) {
        _exit(kSkipExit);
      }
      const pid_t worker = fork();
      if (worker == 0) {
        std::string failures;
        const int code = body(&failures);
        if (!failures.empty()) {
          (void)!write(fds[1], failures.data(), failures.size());
        }
        _exit(code);
      }
      _exit(waitFor(worker));
    }
    _exit(waitFor(init));
  }
  close(fds[1]);
  std::string failures;
  char buf[512];
  ssize_t n;
  while ((n = read(fds[0], buf, sizeof buf)) > 0) {
    failures.append(buf, static_cast<std::size_t>(n));
  }
  close(fds[0]);
  const int code = waitFor(pid);
  *skipped = code == kSkipExit;
  if (code != 0 && !*skipped) {
    failures += "child ended with status " + std::to_string(code) + "\n";
  }
  return failures;
}

void Check(std::string* failures, bool ok, const char* what) {
  if (!ok) {
    *failures += what;
    *failures += '\n';
  }
}

TEST(Namespace, ProcessInInitNamespacesIsNotNamespaced) {
  bool skipped = false;
  const std::string failures = RunUnderOwnInit(
      [](std::string* f) {
        Check(f, SameAsInit("mnt") && SameAsInit("uts"), "the worker does not share process 1's namespaces");
        NamespaceDetect();
        Check(f, !NamespaceIsNamespaced(), "same namespaces as process 1 detected as namespaced");
        Check(f, !NamespaceSwitchCountAbove(0), "count above 0 without a switch");
        return 0;
      },
      &skipped);
  if (skipped) {
    GTEST_SKIP() << "no private PID and mount namespaces";
  }
  EXPECT_EQ(failures, "");
}

TEST(Namespace, OtherUtsNamespaceIsDetectedAndSwitchedBack) {
  bool skipped = false;
  const std::string failures = RunUnderOwnInit(
      [](std::string* f) {
        if (unshare(CLONE_NEWUTS) != 0) {
          return kSkipExit;
        }
        Check(f, SameAsInit("mnt"), "the worker does not share process 1's mount namespace");
        Check(f, !SameAsInit("uts"), "unshare did not change the UTS namespace");
        NamespaceDetect();
        Check(f, NamespaceIsNamespaced(), "a different UTS namespace was not detected");
        Check(f, !NamespaceSwitchCountAbove(0), "count above 0 before any switch");
        Check(f, NT_SUCCESS(NamespaceSwitchToInit()), "the switch failed");
        Check(f, NamespaceSwitchCountAbove(1), "fewer than two namespaces joined (mnt and uts)");
        Check(f, !NamespaceSwitchCountAbove(3), "more than three namespaces joined");
        Check(f, SameAsInit("uts"), "UTS namespace differs from process 1's after the switch");
        Check(f, SameAsInit("mnt"), "mount namespace differs from process 1's after the switch");
        return 0;
      },
      &skipped);
  if (skipped) {
    GTEST_SKIP() << "unshare(CLONE_NEWUTS) refused";
  }
  EXPECT_EQ(failures, "");
}

TEST(Namespace, RedirectReplacesTheLogWithALinkToStdout) {
  bool skipped = false;
  const std::string failures = RunUnderOwnInit(
      [](std::string* f) {
        // Our own mount namespace gets its own /var/log: the real one is never touched.
        if (mount("tmpfs", "/var/log", "tmpfs", 0, nullptr) != 0) {
          return kSkipExit;
        }
        FILE* old = std::fopen(kToolLogPath, "w");
        Check(f, old != nullptr && std::fputs("old", old) >= 0 && std::fclose(old) == 0, "cannot seed the log");
        Check(f, RedirectToolLogToStdout(), "redirect over an existing file failed");
        char target[64] = {};
        Check(f, readlink(kToolLogPath, target, sizeof target - 1) > 0 && std::strcmp(target, "/dev/stdout") == 0,
              "the log is not a link to /dev/stdout");
        Check(f, RedirectToolLogToStdout(), "redirect over the existing link failed");
        // A directory in the way cannot be unlinked: false, and it stays.
        Check(f, unlink(kToolLogPath) == 0 && mkdir(kToolLogPath, 0700) == 0, "cannot put a directory in the way");
        Check(f, !RedirectToolLogToStdout(), "redirect reported success over a directory");
        struct stat st {};
        Check(f, lstat(kToolLogPath, &st) == 0 && S_ISDIR(st.st_mode), "the directory was replaced");
        return 0;
      },
      &skipped);
  if (skipped) {
    GTEST_SKIP() << "no private mount namespace with a tmpfs /var/log";
  }
  EXPECT_EQ(failures, "");
}

}  // namespace
