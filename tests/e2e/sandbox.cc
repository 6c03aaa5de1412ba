// The sandbox runner behind tests/e2e/sandbox.h.
//
// One run:
//  1. A host work directory (mkdtemp under /tmp) gets seed/ (the seeded files,
//     laid out by absolute path), after/ (the mounts copied back), stdout,
//     stderr, status and setup.log. A script run also gets a second mkdtemp
//     directory for $OUT.
//  2. A child in its own process group execs
//     `unshare -m -p -f --mount-proc /bin/sh -c <script>` with its stdout and
//     stderr on setup.log, so the setup's own noise never reaches the captured
//     streams. The script mounts the tmpfs, copies the seeds in, runs the
//     program with its streams on the stdout/stderr files, writes its exit
//     status to `status` and copies the mounts back with cp -a.
//  3. The parent waits at most timeoutSeconds, then kills the whole process
//     group (killing the namespace's process 1 takes every process in it too).
//  4. Everything is read back as bytes and the work directory is removed.
//
// $OUT: its regular files are also copied into SandboxResult::files under their
// host path (outDir + "/" + relative path), and the directory itself stays on
// disk until the test process exits (an atexit hook removes every one made).
//
// Harness failures (no temp dir, setup script failed, timeout) are reported
// with ADD_FAILURE, carrying setup.log, so a broken sandbox can never pass as a
// tool result.
#include "tests/e2e/sandbox.h"

#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support/files.h"

namespace vt_test {
namespace {

// The directories that get a tmpfs, relative to /. var/run is added at run time
// when it is a real directory rather than a link to /run.
constexpr std::string_view kMountRoots[] = {"opt", "var/log", "run"};

std::string ShellQuote(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  quoted += '\'';
  return quoted;
}

// mkdir -p, each new component 0755.
bool MakeParents(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    const std::string prefix = path.substr(0, slash);
    if (mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST) {
      return false;
    }
  }
  return true;
}

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

void RemoveTree(const std::string& path) {
  if (!path.empty()) {
    nftw(path.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  }
}

// Adds every regular file (as content) and symbolic link (as target) below
// `dir` to the maps, keyed by `prefix` + the path relative to `dir`.
void Collect(const std::string& dir, const std::string& prefix, std::map<std::string, std::string>* files,
             std::map<std::string, std::string>* links) {
  DIR* d = opendir(dir.c_str());
  if (d == nullptr) {
    return;
  }
  while (const dirent* entry = readdir(d)) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    const std::string path = dir + "/" + entry->d_name;
    const std::string key = prefix + "/" + entry->d_name;
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0) {
      continue;
    }
    if (S_ISDIR(st.st_mode)) {
      Collect(path, key, files, links);
    } else if (S_ISREG(st.st_mode)) {
      std::string content;
      if (auto bytes = vt_test::ReadFileBytes(path)) {
        content = std::move(*bytes);
        (*files)[key] = std::move(content);
      }
    } else if (S_ISLNK(st.st_mode) && links != nullptr) {
      char target[4096];
      const ssize_t n = readlink(path.c_str(), target, sizeof target);
      if (n >= 0) {
        (*links)[key] = std::string(target, static_cast<std::size_t>(n));
      }
    }
  }
  closedir(d);
}

// $OUT directories live until the test process exits.
std::mutex gOutDirsLock;
std::vector<std::string>* gOutDirs = nullptr;

void RemoveOutDirs() {
  const std::lock_guard<std::mutex> hold(gOutDirsLock);
  if (gOutDirs != nullptr) {
    for (const std::string& dir : *gOutDirs) {
      RemoveTree(dir);
    }
    delete gOutDirs;
    gOutDirs = nullptr;
  }
}

void KeepOutDirUntilExit(const std::string& dir) {
  const std::lock_guard<std::mutex> hold(gOutDirsLock);
  if (gOutDirs == nullptr) {
    gOutDirs = new std::vector<std::string>;
    std::atexit(RemoveOutDirs);
  }
  gOutDirs->push_back(dir);
}

bool IsRealDirectory(const char* path) {
  struct stat st {};
  return lstat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

std::string BuildScript(const SandboxOptions& options, const std::string& work, const std::string& outDir,
                        const std::vector<std::string>& roots) {
  const std::string w = ShellQuote(work);
  std::string s = "set -e\n";
  for (const std::string& root : roots) {
    s += "mount -t tmpfs tmpfs /" + root + "\n";
  }
  for (const std::string& root : roots) {
    s += "if [ -d " + w + "/seed/" + root + " ]; then cp -a " + w + "/seed/" + root + "/. /" + root + "/; fi\n";
  }
  s += "mkdir -p /opt/Marrowlight\nchmod 0770 /opt/Marrowlight\n";
  for (const std::string& assignment : options.env) {
    s += "export " + ShellQuote(assignment) + "\n";
  }
  s += "cd /\nset +e\n";
  if (!options.script.empty()) {
    s += "VANTORCTL=" + ShellQuote(VantorctlPath()) + " OUT=" + ShellQuote(outDir) + " /bin/sh -c " +
         ShellQuote(options.script);
  } else {
    s += ShellQuote(options.program.empty() ? VantorctlPath() : options.program);
    for (const std::string& arg : options.args) {
      s += " " + ShellQuote(arg);
    }
  }
  s += " <" + std::string("/dev/null") + " >" + w + "/stdout 2>" + w + "/stderr\n";
  s += "echo $? >" + w + "/status\nset -e\n";
  for (const std::string& root : roots) {
    s += "mkdir -p " + w + "/after/" + root + "\ncp -a /" + root + "/. " + w + "/after/" + root + "/\n";
  }
  s += "echo done >" + w + "/finished\n";
  return s;
}

// Runs argv in its own process group with stdout/stderr on `log`; waits at most
// `timeoutSeconds`. Returns the wait status, or -1 on timeout or spawn failure.
int SpawnAndWait(const std::vector<std::string>& argv, const std::string& log, int timeoutSeconds) {
  std::vector<char*> cargv;
  for (const std::string& a : argv) {
    cargv.push_back(const_cast<char*>(a.c_str()));
  }
  cargv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    return -1;
  }
  if (pid == 0) {
    setpgid(0, 0);
    const int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int in = open("/dev/null", O_RDONLY);
    if (fd >= 0 && in >= 0) {
      dup2(in, 0);
      dup2(fd, 1);
      dup2(fd, 2);
    }
    execvp(cargv[0], cargv.data());
    _exit(127);
  }
  setpgid(pid, pid);  // also here, so the kill below cannot race the child's own call
  timespec start{};
  clock_gettime(CLOCK_MONOTONIC, &start);
  for (;;) {
    int status = 0;
    const pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) {
      return status;
    }
    if (r < 0 && errno != EINTR) {
      return -1;
    }
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const long long elapsedMs =
        (now.tv_sec - start.tv_sec) * 1000LL + (now.tv_nsec - start.tv_nsec) / 1000000;
    if (elapsedMs >= timeoutSeconds * 1000LL) {
      kill(-pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    const timespec pause{0, 5 * 1000 * 1000};
    nanosleep(&pause, nullptr);
  }
}

}  // namespace

void SandboxTest::SetUp() {
  static const std::string why = [] {
    if (geteuid() != 0) return std::string("the sandboxed tests need root");
    if (std::system("unshare -m -p -f --mount-proc true >/dev/null 2>&1") != 0) {
      return std::string("unshare -m -p -f --mount-proc does not work here (a plain chroot?)");
    }
    return std::string();
  }();
  if (why.empty()) return;
  const char* require = std::getenv("VANTOR_REQUIRE_SANDBOX");
  if (require != nullptr && std::string_view(require) == "1") FAIL() << why << " (VANTOR_REQUIRE_SANDBOX=1)";
  GTEST_SKIP() << why;
}

// VANTORCTL_UNDER_TEST names another binary to run the suite against, for
// example an older build, to see which tests it fails.
const std::string& VantorctlPath() {
  static const std::string path = [] {
    const char* other = std::getenv("VANTORCTL_UNDER_TEST");
    return std::string(other != nullptr && other[0] != '\0' ? other : VANTORCTL_PATH);
  }();
  return path;
}

std::optional<std::string> SandboxResult::File(const std::string& path) const {
  const auto it = files.find(path);
  if (it == files.end()) {
    return std::nullopt;
  }
  return it->second;
}

SandboxResult RunInSandbox(const SandboxOptions& options) {
  SandboxResult result;
  char workTemplate[] = "/tmp/vt_sandbox.XXXXXX";
  if (mkdtemp(workTemplate) == nullptr) {
    ADD_FAILURE() << "sandbox: mkdtemp failed: " << std::strerror(errno);
    return result;
  }
  const std::string work = workTemplate;

  std::vector<std::string> roots(std::begin(kMountRoots), std::end(kMountRoots));
  if (IsRealDirectory("/var/run")) {
    roots.emplace_back("var/run");
  }

  bool seeded = mkdir((work + "/seed").c_str(), 0755) == 0;
  for (const SeedFile& seed : options.files) {
    const std::string host = work + "/seed" + seed.path;
    if (seed.path.empty() || seed.path[0] != '/' || !MakeParents(host) ||
        !vt_test::WriteFileBytes(host, seed.content, seed.mode) ||
        chmod(host.c_str(), seed.mode) != 0  /* whatever the umask */) {
      ADD_FAILURE() << "sandbox: cannot seed " << seed.path;
      seeded = false;
    }
  }

  if (!options.script.empty()) {
    char outTemplate[] = "/tmp/vt_sandbox_out.XXXXXX";
    if (mkdtemp(outTemplate) != nullptr) {
      result.outDir = outTemplate;
      KeepOutDirUntilExit(result.outDir);
    } else {
      ADD_FAILURE() << "sandbox: mkdtemp for $OUT failed";
      seeded = false;
    }
  }

  if (seeded) {
    const std::string script = BuildScript(options, work, result.outDir, roots);
    const int status = SpawnAndWait({"unshare", "-m", "-p", "-f", "--mount-proc", "/bin/sh", "-c", script},
                                    work + "/setup.log", options.timeoutSeconds);
    const std::string setupLog = vt_test::ReadFileBytes(work + "/setup.log").value_or("");
    const std::optional<std::string> statusText = vt_test::ReadFileBytes(work + "/status");
    if (status == -1) {
      ADD_FAILURE() << "sandbox: timed out after " << options.timeoutSeconds << " s or could not start\n" << setupLog;
    } else if (!statusText || !vt_test::ReadFileBytes(work + "/finished")) {
      ADD_FAILURE() << "sandbox: setup failed (wait status " << status << ")\n" << setupLog;
    }
    if (statusText && !statusText->empty()) {
      result.exitCode = std::atoi(statusText->c_str());
    }
    result.out = vt_test::ReadFileBytes(work + "/stdout").value_or("");
    result.err = vt_test::ReadFileBytes(work + "/stderr").value_or("");
    for (const std::string& root : roots) {
      Collect(work + "/after/" + root, "/" + root, &result.files, &result.links);
    }
    if (!result.outDir.empty()) {
      Collect(result.outDir, result.outDir, &result.files, nullptr);
    }
  }
  RemoveTree(work);
  return result;
}

}  // namespace vt_test
