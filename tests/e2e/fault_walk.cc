// fault_walk: runs vantorctl under strace, failing one system call at a time,
// and checks that every run ends in a state the tool may leave. Run it only
// inside the sandbox (tests/e2e/sandbox.h), as its process 1: it rewrites the
// store and registry under /opt/Marrowlight and starts a stand-in sensor.
//
//   fault_walk <vantorctl> <fake_sensor> [exhaustive]
//
// For each scenario a clean run (strace, no fault) counts the calls of every
// kind walked and records the output; the images a clean run passes through
// (one per option, in table order) are learned from clean runs of each prefix of
// the options. Then, for every kind, every call N of it and every error of the
// kind's list, one run fails call N with that error; for EINTR (and, in the
// exhaustive set, for every error) another run fails call N and every later
// one. Each run must:
//   - end with status 0 or 1 within 5 seconds, not by a signal;
//   - leave the store equal to one of the learned images (never torn or mixed;
//     after a repair the repaired empty image is one of them);
//   - leave Registry.bin, when there was one, as it was or as a clean run
//     rewrites it: never deleted or cut;
//   - with status 0, have stored everything (the final image) and printed all
//     of the clean run's output.
// The clean run's trace also shows whether each store write-back (a pwrite64
// and the fsync after it) ran with SIGTERM, SIGINT, SIGHUP and SIGQUIT blocked,
// and a run whose fsync was failed must have logged it ("Failed to flush").
// Then eight --systags runs at once, again and again: one of them is held up
// at one step of its run in turn (strace's delay_enter on each of its calls of
// openat, write, fsync, rename and unlink), and the seven others start while
// it waits, each with every write slowed a little, so that their loads and
// flushes fall into every gap of its own. Afterwards Registry.bin must be as a
// clean run rewrites it (every tag and store it held), no temporary file may be
// left, no run may have found its temporary file replaced (logged "not
// renamed"), and every run must have printed the whole tag list or failed with
// status 1.
// Prints one line per violation, one figures line per scenario and the totals
// "N runs, M calls covered, V violations"; exits 1 when V > 0.
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "runtime/trace.h"
#include "tests/support/files.h"
#include "tests/support/registry_image.h"
#include "tests/support/store_image.h"

namespace {

constexpr char kStore[] = "/opt/Marrowlight/vantorstore";
constexpr char kRegistry[] = "/opt/Marrowlight/Registry.bin";
constexpr char kRegistryTemp[] = "/opt/Marrowlight/Registry.bin.tmp";
constexpr char kWork[] = "/run/fault-walk";
constexpr int kRunSeconds = 5;

// The calls walked and the errors each may fail with, the likeliest first.
struct Kind {
  const char* name;
  std::vector<const char*> errors;
};
const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kinds = {
      {"openat", {"EACCES", "EIO", "EINTR", "ENOSPC"}},
      {"read", {"EIO", "EINTR"}},
      {"pread64", {"EIO", "EINTR"}},
      {"write", {"ENOSPC", "EIO", "EINTR"}},
      {"pwrite64", {"ENOSPC", "EIO", "EINTR"}},
      {"fsync", {"EIO", "ENOSPC"}},
      {"flock", {"ENOLCK", "EINTR"}},
      {"fstat", {"EIO", "EACCES"}},
      {"newfstatat", {"EIO", "EACCES"}},
      {"lseek", {"EIO"}},
      {"fchmod", {"EPERM", "EIO"}},
      {"rename", {"EIO", "ENOSPC", "EACCES"}},
      {"unlink", {"EIO", "EACCES"}},
      {"symlink", {"EACCES", "ENOSPC"}},
      {"setns", {"EPERM", "EINVAL"}},
      {"kill", {"EPERM", "ESRCH"}},
      {"pidfd_send_signal", {"EPERM", "ESRCH"}},
  };
  return kinds;
}

struct Scenario {
  const char* name;
  std::vector<std::string> flags;    // mode and other flags, always given
  std::vector<std::string> options;  // in table order: the tool stores them one by one
  std::string store;                 // seeded store bytes; empty: no store file
  std::string registry;              // seeded Registry.bin; empty: none
  bool daemon = false;               // a stand-in sensor holds the PID file
  bool namespaced = false;           // started in a mount namespace of its own
  bool repairs = false;              // the store is damaged: the empty image may stay
};

struct Outcome {
  int status = -1;  // exit status; 128 + signal; -1 for a hang
  std::string out;
  std::string log;  // the trace log (a namespaced run's is part of `out`)
  std::string store;
  std::optional<std::string> registry;
};

struct Figures {
  unsigned long runs = 0, calls = 0, violations = 0;
};

[[noreturn]] void Die(const std::string& what) {
  std::fprintf(stderr, "fault_walk: %s%s%s\n", what.c_str(), errno != 0 ? ": " : "", errno != 0 ? std::strerror(errno) : "");
  std::exit(2);
}

void Reset(const Scenario& s) {
  for (const char* path : {kStore, kRegistry, kRegistryTemp, kToolLogPath}) {
    if (unlink(path) != 0 && errno != ENOENT) Die(path);
  }
  if (!s.store.empty() && !vt_test::WriteFileBytes(kStore, s.store)) Die("seeding the store");
  if (!s.registry.empty() && !vt_test::WriteFileBytes(kRegistry, s.registry)) Die("seeding the registry");
}

std::string OutPath(int run) { return std::string(kWork) + "/out" + (run == 0 ? "" : std::to_string(run)); }

// Starts argv with stdout and stderr in files under kWork (run 0: out and err;
// run k: outk and errk) in a process group of its own.
pid_t Spawn(const std::vector<std::string>& args, bool namespaced, int run = 0) {
  const pid_t pid = fork();
  if (pid < 0) Die("fork");
  if (pid == 0) {
    const std::string errPath = std::string(kWork) + "/err" + (run == 0 ? "" : std::to_string(run));
    const int out = open(OutPath(run).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (out < 0 || err < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0 || setpgid(0, 0) != 0) _exit(120);
    // A container's own /opt: the tool must find its way back to process 1's.
    if (namespaced && (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                       mount("container", "/opt", "tmpfs", 0, nullptr) != 0)) {
      _exit(121);
    }
    std::vector<char*> argv;
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(122);
  }
  return pid;
}

// Waits for a spawned run; status as in Outcome.
int Wait(pid_t pid, int seconds = kRunSeconds) {
  const int pidfd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  if (pidfd < 0) Die("pidfd_open");
  pollfd p{pidfd, POLLIN, 0};
  int ready;
  while ((ready = poll(&p, 1, seconds * 1000)) < 0 && errno == EINTR) {
  }
  const bool hung = ready == 0;
  if (hung) (void)kill(-pid, SIGKILL);  // the whole group: strace and the tool
  (void)close(pidfd);
  int wstatus = 0;
  if (waitpid(pid, &wstatus, 0) != pid) Die("waitpid");
  if (hung) return -1;
  return WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
}

int Run(const std::vector<std::string>& args, bool namespaced) { return Wait(Spawn(args, namespaced)); }

std::vector<std::string> StraceCommand(const std::string& tool, const Scenario& s, std::size_t optionCount,
                                       const std::vector<std::string>& straceArgs) {
  std::vector<std::string> argv = {"strace", "-f", "-qq"};
  argv.insert(argv.end(), straceArgs.begin(), straceArgs.end());
  argv.push_back(tool);
  argv.insert(argv.end(), s.flags.begin(), s.flags.end());
  argv.insert(argv.end(), s.options.begin(), s.options.begin() + static_cast<long>(optionCount));
  return argv;
}

Outcome RunOnce(const std::string& tool, const Scenario& s, std::size_t optionCount,
                const std::vector<std::string>& straceArgs) {
  Reset(s);
  Outcome o;
  o.status = Run(StraceCommand(tool, s, optionCount, straceArgs), s.namespaced);
  o.out = vt_test::ReadFileBytes("/run/fault-walk/out").value_or("");
  o.log = vt_test::ReadFileBytes(kToolLogPath).value_or("") + (s.namespaced ? o.out : "");
  o.store = vt_test::ReadFileBytes(kStore).value_or("<no store>");
  o.registry = vt_test::ReadFileBytes(kRegistry);
  return o;
}

// What a run printed, without the trace lines that a namespaced run writes to
// its standard output as well (their time stamps differ from run to run).
std::string Printed(const std::string& out, bool namespaced) {
  if (!namespaced) return out;
  std::string kept;
  std::size_t pos = 0;
  while (pos < out.size()) {
    std::size_t end = out.find('\n', pos);
    end = end == std::string::npos ? out.size() : end + 1;
    const std::string line = out.substr(pos, end - pos);
    // Trace lines start with the time, as in "Tue Nov 24 12:11:28 2026 ".
    const bool traced = line.size() > 25 && line[3] == ' ' && line[7] == ' ' && line[13] == ':' && line[16] == ':';
    if (!traced) kept += line;
    pos = end;
  }
  return kept;
}

// Call counts per kind from a clean run's strace log. The same log shows
// whether every store write-back (each pwrite64 and the fsync after it) ran
// with the termination signals blocked; a violation is printed and counted.
std::map<std::string, unsigned> CountCalls(const std::string& tool, const Scenario& s, Figures* f) {
  std::string names = "rt_sigprocmask";
  for (const Kind& k : Kinds()) names += std::string(",") + k.name;
  const Outcome o = RunOnce(tool, s, s.options.size(), {"-o", "/run/fault-walk/calls", "-e", "trace=" + names});
  if (o.status != 0) {
    errno = 0;
    Die(std::string("the clean run of ") + s.name + " failed with status " + std::to_string(o.status) + ": " +
        vt_test::ReadFileBytes("/run/fault-walk/err").value_or(""));
  }
  std::map<std::string, unsigned> counts;
  const std::string log = vt_test::ReadFileBytes("/run/fault-walk/calls").value_or("");
  bool blocked = false, writing = false;
  std::size_t pos = 0;
  while (pos < log.size()) {
    std::size_t end = log.find('\n', pos);
    if (end == std::string::npos) end = log.size();
    std::string line = log.substr(pos, end - pos);
    pos = end + 1;
    const std::size_t space = line.find(' ');
    if (space != std::string::npos && line.find_first_not_of("0123456789") == space) line.erase(0, space + 1);
    while (!line.empty() && line[0] == ' ') line.erase(0, 1);
    if (line.rfind("<...", 0) == 0) continue;  // the second half of an interrupted call
    const std::size_t paren = line.find('(');
    if (paren == std::string::npos) continue;
    const std::string call = line.substr(0, paren);
    ++counts[call];
    if (line.rfind("rt_sigprocmask(SIG_BLOCK, [HUP INT QUIT TERM]", 0) == 0) blocked = true;
    if (line.rfind("rt_sigprocmask(SIG_SETMASK", 0) == 0) blocked = false;
    if (call == "pwrite64" || (call == "fsync" && writing)) {
      writing = call == "pwrite64";
      if (!blocked) {
        std::printf("VIOLATION %s: a store write-back with the termination signals not held off: %s\n", s.name,
                    line.c_str());
        ++f->violations;
      }
    }
  }
  return counts;
}

// One run with `fault` injected, checked against what clean runs left.
void Check(const std::string& tool, const Scenario& s, const std::string& fault, const Outcome& clean,
           const std::set<std::string>& images, const std::set<std::string>& registries, Figures* f) {
  const Outcome o = RunOnce(tool, s, s.options.size(), {"-o", "/dev/null", "-e", "inject=" + fault});
  ++f->runs;
  std::vector<std::string> wrong;
  if (o.status != 0 && o.status != 1) {
    wrong.push_back(o.status < 0 ? "no end within 5 s" : "status " + std::to_string(o.status));
  }
  if (images.count(o.store) == 0) wrong.push_back("the store is none of the images a run passes through");
  if (!s.registry.empty() && (!o.registry || registries.count(*o.registry) == 0)) {
    wrong.push_back(o.registry ? "Registry.bin was rewritten with other bytes" : "Registry.bin is gone");
  }
  if (o.status == 0 && o.store != clean.store) wrong.push_back("status 0, but not everything was stored");
  if (o.status == 0 && Printed(o.out, s.namespaced) != Printed(clean.out, s.namespaced)) {
    wrong.push_back("status 0, but the output is not all there");
  }
  // A failed fsync (store or registry) is never taken for a success.
  if (fault.rfind("fsync:", 0) == 0 && o.log.find("Failed to flush") == std::string::npos) {
    wrong.push_back("the failed fsync went unnoticed");
  }
  for (const std::string& w : wrong) {
    std::printf("VIOLATION %s, %s: %s (status %d)\n", s.name, fault.c_str(), w.c_str(), o.status);
    ++f->violations;
  }
}

Figures Walk(const std::string& tool, const Scenario& s, bool exhaustive) {
  Figures f;
  const std::map<std::string, unsigned> counts = CountCalls(tool, s, &f);
  const Outcome clean = RunOnce(tool, s, s.options.size(), {"-o", "/dev/null"});
  std::set<std::string> images = {s.store.empty() ? vt_test::StoreImage().bytes() : s.store};
  if (s.repairs) images.insert(vt_test::StoreImage().bytes());
  for (std::size_t n = 1; n <= s.options.size(); ++n) {
    images.insert(RunOnce(tool, s, n, {"-o", "/dev/null"}).store);
  }
  std::set<std::string> registries = {s.registry};
  if (clean.registry) registries.insert(*clean.registry);

  std::string perKind;
  for (const Kind& kind : Kinds()) {
    const auto found = counts.find(kind.name);
    const unsigned calls = found == counts.end() ? 0 : found->second;
    if (calls == 0) continue;
    f.calls += calls;
    perKind += std::string(perKind.empty() ? "" : ", ") + kind.name + " " + std::to_string(calls);
    for (unsigned n = 1; n <= calls; ++n) {
      for (const char* error : kind.errors) {
        const std::string fault = std::string(kind.name) + ":error=" + error + ":when=" + std::to_string(n);
        Check(tool, s, fault, clean, images, registries, &f);
        // Failing every later call as well: for an interruption always (a retry
        // loop must still end), for the other errors in the exhaustive set.
        if (exhaustive || std::strcmp(error, "EINTR") == 0) Check(tool, s, fault + "+", clean, images, registries, &f);
      }
    }
  }
  std::printf("%s: %lu runs, %lu calls covered (%s), %lu violations\n", s.name, f.runs, f.calls, perKind.c_str(),
              f.violations);
  std::fflush(stdout);
  return f;
}

// The interleaved --systags runs (see the top of the file).
Figures Interleave(const std::string& tool, const Scenario& s) {
  constexpr int kRuns = 8;
  Figures f;
  const Outcome clean = RunOnce(tool, s, s.options.size(), {"-o", "/dev/null"});
  const std::map<std::string, unsigned> counts = CountCalls(tool, s, &f);
  for (const char* kind : {"openat", "write", "fsync", "rename", "unlink"}) {
    const auto found = counts.find(kind);
    for (unsigned n = 1; found != counts.end() && n <= found->second; ++n) {
      const std::string step = std::string(kind) + ":delay_enter=300000:when=" + std::to_string(n);
      Reset(s);
      std::vector<pid_t> runs = {Spawn(StraceCommand(tool, s, s.options.size(), {"-o", "/dev/null", "-e", "inject=" + step}), false)};
      for (int run = 1; run < kRuns; ++run) {
        usleep(30'000);
        runs.push_back(Spawn(StraceCommand(tool, s, s.options.size(), {"-o", "/dev/null", "-e", "inject=write:delay_enter=2000"}),
                             false, run));
      }
      std::vector<std::string> wrong;
      for (int run = 0; run < kRuns; ++run) {
        const int status = Wait(runs[static_cast<std::size_t>(run)], 30);
        const std::string out = vt_test::ReadFileBytes(OutPath(run)).value_or("");
        if (!(status == 0 && out == clean.out) && status != 1) {
          wrong.push_back("run " + std::to_string(run) + " ended with status " + std::to_string(status) +
                          " and printed " + std::to_string(out.size()) + " bytes");
        }
      }
      if (vt_test::ReadFileBytes(kRegistry) != clean.registry) wrong.push_back("Registry.bin lost what it held");
      if (access(kRegistryTemp, F_OK) == 0) wrong.push_back("a temporary file is left");
      // One run at a time: no flush ever finds its temporary file taken away.
      if (vt_test::ReadFileBytes(kToolLogPath).value_or("").find("not renamed") != std::string::npos) {
        wrong.push_back("a run lost its temporary file to another");
      }
      ++f.runs;
      for (const std::string& w : wrong) {
        std::printf("VIOLATION interleaved %s, %s held up: %s\n", s.name, step.c_str(), w.c_str());
        ++f.violations;
      }
    }
  }
  std::printf("interleaved %s: %lu rounds of %d runs, %lu violations\n", s.name, f.runs, kRuns, f.violations);
  std::fflush(stdout);
  f.runs *= kRuns;
  return f;
}

std::vector<Scenario> Scenarios() {
  using vt_test::StoreImage;
  const std::string settings = StoreImage()
                                   .Add("CU", std::string("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xaa\xbb\xcc\xdd\xee\xff", 16))
                                   .Add("TRACE", vt_test::U32Bytes(2))
                                   .Add("GroupTags", "web,prod")
                                   .Add("APH", "old.example")
                                   .bytes();
  StoreImage damaged(settings);
  damaged.PutU16(0, 7);  // an unknown version
  return {
      {"get", {"-g"}, {"--cid", "--trace", "--tags"}, settings, "", false, false, false},
      {"set one value", {"-s"}, {"--aph=proxy.example"}, settings, "", false, false, false},
      {"set several with --update", {"-s", "-f", "--update"}, {"--trace=info", "--feature=enableLog", "--tags=a,b"}, settings,
       "", true, false, false},
      {"forced delete", {"-d", "-f"}, {"--cid", "--tags"}, settings, "", false, false, false},
      {"system tags", {"-g"}, {"--systags"}, settings,
       // The system tags and a store of some other component.
       vt_test::Registry(vt_test::Bitmap({{0, 0x05}, {63, 0x80}}), {7, 1000}) + "\x01" + std::string(16, '\x42') +
           "\x02" + std::string(16, '\x43'),
       false, false, false},
      {"repair", {"-s"}, {"--trace=warn"}, damaged.bytes(), "", false, false, true},
      {"namespaced set", {"-s"}, {"--apd=true"}, settings, "", false, true, false},
  };
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: fault_walk <vantorctl> <fake_sensor> [exhaustive]\n");
    return 2;
  }
  const std::string tool = argv[1];
  const bool exhaustive = argc > 3 && std::string(argv[3]) == "exhaustive";
  if (mkdir(kWork, 0700) != 0 && errno != EEXIST) Die(kWork);
  Figures total;
  const std::vector<Scenario> scenarios = Scenarios();
  for (const Scenario& s : scenarios) {
    pid_t daemon = -1;
    if (s.daemon) {
      if ((daemon = fork()) == 0) {
        execl(argv[2], argv[2], "/run/fault-walk/hups", static_cast<char*>(nullptr));
        _exit(127);
      }
      // It writes the count file once it holds the PID file.
      while (access("/run/fault-walk/hups", F_OK) != 0) {
        if (daemon < 0 || waitpid(daemon, nullptr, WNOHANG) != 0) Die("the stand-in sensor did not start");
        usleep(1000);
      }
    }
    const Figures f = Walk(tool, s, exhaustive);
    total.runs += f.runs;
    total.calls += f.calls;
    total.violations += f.violations;
    if (daemon > 0) {
      (void)kill(daemon, SIGTERM);
      (void)waitpid(daemon, nullptr, 0);
    }
  }
  for (const Scenario& s : scenarios) {
    if (s.options == std::vector<std::string>{"--systags"}) {
      const Figures f = Interleave(tool, s);
      total.runs += f.runs;
      total.violations += f.violations;
    }
  }
  std::printf("%lu runs, %lu calls covered, %lu violations\n", total.runs, total.calls, total.violations);
  return total.violations == 0 ? 0 : 1;
}
