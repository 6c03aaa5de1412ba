// interrupt_walk: kills `vantorctl -s` runs at random moments and sorts the
// store images they leave behind. Run it only inside the sandbox.
//
//   interrupt_walk <kills-per-signal> <image-A> <store> <out-dir> <vantorctl> <args...>
//
// <args> are single-dash flags, kept on every run, then long options in the
// order of the option table (the order the tool runs them in); each long
// option is one write-back of the whole store image.
//
// 1. Steps: image A is read from <image-A>. For k = 1..n, an uninterrupted run
//    with the first k long options, started from A, gives step image k; step n
//    is image B, the complete result. Each run must exit 0 and change the image.
// 2. Timing: kTimingRuns uninterrupted full runs from A, each ending in B; their
//    mean duration T gives the delay range and the sets per second.
// 3. For SIGTERM, SIGINT and SIGKILL, <kills-per-signal> times: the store is
//    reset to A, the tool started, and the signal sent at a random moment;
//    once the tool is reaped the store is compared byte for byte with A, the
//    intermediate steps and B. An image whose first 4096-byte page is that of
//    step k and whose second page is that of step k-1 is cut: step k's
//    write-back was stopped at the page boundary. The kernel copies a write
//    into the page cache page by page and gives up between two pages once the
//    process is being killed, so a deadly signal that is not held off can cut;
//    the store holds off SIGTERM and SIGINT while it writes, and nothing holds
//    off SIGKILL. Anything else is torn. Odd is an exit other than status 0
//    or 1 or death by the signal sent, and status 0 with an image other than B.
//    The write-backs take a small part of a run, most of which is start-up, so
//    the moments are drawn three ways in turn: 0 to 1.2 T after the start;
//    within the window where the outcomes change (from the shortest delay that
//    did not leave A to the longest that did not leave B, so far, widened by
//    T/20 each way); and 0 to 50 us after the k-th write to the store (k
//    random; the writes are seen as inotify events, and writes that follow
//    each other before the walk reads them merge into one event, so the k-th
//    event may come after a later write).
// Prints one line per signal and a total:
//   SIGTERM kills=N A=N mid=N B=N cut=N torn=N odd=N
//   total kills=N A=N mid=N B=N cut=N torn=N odd=N sets/s=X run-us=N window-us=N..N seed=N
// and writes B to <out-dir>/B. The first few cut and torn images and odd
// statuses are described on stderr. Exit 0 when the figures were gathered
// (judging them is the caller's part), 2 when the harness itself failed.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/files.h"

namespace {

constexpr int kTimingRuns = 20;
constexpr std::size_t kImageSize = 8192;
constexpr std::size_t kPageSize = 4096;
constexpr int kReportLimit = 5;  // of each: cut and torn images and odd statuses described on stderr
constexpr long long kAfterWriteNanoseconds = 50'000;

[[noreturn]] void Fail(const char* what, const std::string& detail = "") {
  std::fprintf(stderr, "interrupt_walk: %s%s%s\n", what, detail.empty() ? "" : ": ", detail.c_str());
  std::exit(2);
}

long long NowNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// The whole file (a torn image may have any size).
std::string ReadFile(const std::string& path) {
  std::optional<std::string> bytes = vt_test::ReadFileBytes(path);
  if (!bytes) {
    Fail("cannot read", path + ": " + std::strerror(errno));
  }
  return std::move(*bytes);
}

void WriteFile(const std::string& path, const std::string& bytes) {
  if (!vt_test::WriteFileBytes(path, bytes)) {
    Fail("cannot write", path + ": " + std::strerror(errno));
  }
}

struct Run {
  int status = 0;             // wait status
  long long nanoseconds = 0;  // fork to reap
};

// When to send what: `delay` after the start, or with `afterWrites` set, after
// the tool's afterWrites-th write to the store.
struct Kill {
  int sig = 0;  // 0: none, the run is left alone
  long long delay = 0;
  int afterWrites = 0;
};

// Writes to the store, through inotify (non-blocking descriptor).
class WriteWatch {
 public:
  explicit WriteWatch(const std::string& path) : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (fd_ < 0 || inotify_add_watch(fd_, path.c_str(), IN_MODIFY) < 0) {
      Fail("inotify failed", std::strerror(errno));
    }
  }
  ~WriteWatch() { close(fd_); }
  WriteWatch(const WriteWatch&) = delete;
  WriteWatch& operator=(const WriteWatch&) = delete;

  // The writes seen since the last call.
  int Take() {
    alignas(inotify_event) char buf[4096];
    int writes = 0;
    ssize_t n = 0;
    while ((n = read(fd_, buf, sizeof buf)) > 0) {
      for (const char* p = buf; p < buf + n;) {
        const auto* event = reinterpret_cast<const inotify_event*>(p);
        writes += (event->mask & IN_MODIFY) != 0 ? 1 : 0;
        p += sizeof(inotify_event) + event->len;
      }
    }
    if (n < 0 && errno != EAGAIN && errno != EINTR) {
      Fail("inotify read failed", std::strerror(errno));
    }
    return writes;
  }
  // Until `count` writes were seen or the process has ended (it is not reaped).
  void AwaitWrites(int count, pid_t pid) {
    for (int seen = 0; (seen += Take()) < count;) {
      siginfo_t info{};
      if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == pid) {
        return;
      }
      pollfd wait{fd_, POLLIN, 0};
      (void)poll(&wait, 1, 1);
    }
  }

 private:
  int fd_;
};

void SleepUntil(long long at) {
  const timespec when{static_cast<time_t>(at / 1'000'000'000), static_cast<long>(at % 1'000'000'000)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &when, nullptr) == EINTR) {
  }
}

// Runs the tool to its end, interrupted as `plan` says.
Run RunTool(const std::vector<std::string>& argv, WriteWatch& watch, const Kill& plan) {
  std::vector<char*> cargv;
  for (const std::string& a : argv) {
    cargv.push_back(const_cast<char*>(a.c_str()));
  }
  cargv.push_back(nullptr);
  (void)watch.Take();  // the walk's own writes
  const long long start = NowNanoseconds();
  const pid_t pid = fork();
  if (pid < 0) {
    Fail("fork failed", std::strerror(errno));
  }
  if (pid == 0) {
    // A shell hands background jobs SIGINT ignored; the tool gets the defaults.
    for (const int s : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
      if (std::signal(s, SIG_DFL) == SIG_ERR) _exit(126);
    }
    sigset_t none;
    sigemptyset(&none);
    const int null = open("/dev/null", O_RDWR);
    if (null < 0 || sigprocmask(SIG_SETMASK, &none, nullptr) != 0 || dup2(null, 0) < 0 || dup2(null, 1) < 0 ||
        dup2(null, 2) < 0) {
      _exit(126);
    }
    execv(cargv[0], cargv.data());
    _exit(127);
  }
  if (plan.sig != 0) {
    if (plan.afterWrites > 0) {
      watch.AwaitWrites(plan.afterWrites, pid);
    }
    SleepUntil((plan.afterWrites > 0 ? NowNanoseconds() : start) + plan.delay);
    if (kill(pid, plan.sig) != 0) {  // the tool is at worst a zombie here, never reaped
      Fail("kill failed", std::strerror(errno));
    }
  }
  Run run;
  while (waitpid(pid, &run.status, 0) < 0) {
    if (errno != EINTR) {
      Fail("waitpid failed", std::strerror(errno));
    }
  }
  run.nanoseconds = NowNanoseconds() - start;
  return run;
}

std::string DescribeStatus(int status) {
  if (WIFEXITED(status)) {
    return "exit " + std::to_string(WEXITSTATUS(status));
  }
  return WIFSIGNALED(status) ? std::string("killed by ") + strsignal(WTERMSIG(status)) : "stopped";
}

struct Counts {
  unsigned long kills = 0, a = 0, mid = 0, b = 0, cut = 0, torn = 0, odd = 0;
  void Add(const Counts& o) {
    kills += o.kills, a += o.a, mid += o.mid, b += o.b, cut += o.cut, torn += o.torn, odd += o.odd;
  }
  void Print(const char* label) const {
    std::printf("%s kills=%lu A=%lu mid=%lu B=%lu cut=%lu torn=%lu odd=%lu", label, kills, a, mid, b, cut, torn, odd);
  }
};

// The step k whose write-back, stopped after the first page, left `image`; 0
// when none did.
std::size_t CutStep(const std::string& image, const std::vector<std::string>& steps) {
  for (std::size_t k = 1; k < steps.size() && image.size() == kImageSize; ++k) {
    if (image.compare(0, kPageSize, steps[k], 0, kPageSize) == 0 &&
        image.compare(kPageSize, std::string::npos, steps[k - 1], kPageSize, std::string::npos) == 0) {
      return k;
    }
  }
  return 0;
}

// Where an image differs from A and from B: first differing offset and size.
std::string DescribeTorn(const std::string& image, const std::string& a, const std::string& b) {
  const auto firstDifference = [&](const std::string& other) {
    std::size_t i = 0;
    while (i < image.size() && i < other.size() && image[i] == other[i]) ++i;
    return std::to_string(i);
  };
  return std::to_string(image.size()) + " bytes, first difference from A at " + firstDifference(a) +
         ", from B at " + firstDifference(b);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 7) {
    Fail("usage: interrupt_walk <kills-per-signal> <image-A> <store> <out-dir> <vantorctl> <args...>");
  }
  const unsigned long killsPerSignal = std::strtoul(argv[1], nullptr, 10);
  const std::string imageA = ReadFile(argv[2]);
  const std::string store = argv[3];
  const std::string outDir = argv[4];
  if (imageA.size() != kImageSize) {
    Fail("image A is not 8192 bytes");
  }
  std::vector<std::string> flags = {argv[5]};
  std::vector<std::string> options;
  for (int i = 6; i < argc; ++i) {
    (std::strncmp(argv[i], "--", 2) == 0 ? options : flags).emplace_back(argv[i]);
  }

  WriteFile(store, imageA);
  WriteWatch watch(store);
  // Sleeps as short as asked (the default slack is 50 us).
  if (prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL) != 0) {
    Fail("prctl failed", std::strerror(errno));
  }

  // 1. The images an uninterrupted run passes through: A, one per option, B.
  std::vector<std::string> steps = {imageA};
  for (std::size_t k = 1; k <= options.size(); ++k) {
    std::vector<std::string> argvK = flags;
    argvK.insert(argvK.end(), options.begin(), options.begin() + static_cast<long>(k));
    WriteFile(store, imageA);
    const Run run = RunTool(argvK, watch, {});
    steps.push_back(ReadFile(store));
    if (!WIFEXITED(run.status) || WEXITSTATUS(run.status) != 0 || steps.back() == steps[k - 1]) {
      Fail("uninterrupted run failed or changed nothing", DescribeStatus(run.status) + " with " + options[k - 1]);
    }
  }
  const std::string& imageB = steps.back();
  WriteFile(outDir + "/B", imageB);
  std::vector<std::string> all = flags;
  all.insert(all.end(), options.begin(), options.end());

  // 2. Timing.
  long long total = 0;
  for (int i = 0; i < kTimingRuns; ++i) {
    WriteFile(store, imageA);
    const Run run = RunTool(all, watch, {});
    if (!WIFEXITED(run.status) || WEXITSTATUS(run.status) != 0 || ReadFile(store) != imageB) {
      Fail("an uninterrupted run did not end in B", DescribeStatus(run.status));
    }
    total += run.nanoseconds;
  }
  const long long mean = total / kTimingRuns;

  // 3. Kills.
  const std::random_device::result_type seed = std::random_device{}();
  std::mt19937_64 random(seed);
  const long long longest = mean + mean / 5;
  long long firstNotA = longest, lastNotB = 0;  // the window, as the kills find it
  const auto draw = [&](long long lo, long long hi) {
    return std::uniform_int_distribution<long long>(lo, hi)(random);
  };
  const auto plan = [&](int sig, unsigned long i) -> Kill {
    switch (i % 3) {
      case 0:
        return {sig, draw(0, longest), 0};
      case 1:
        return {sig,
                draw(std::max(0LL, std::min(firstNotA, lastNotB) - mean / 20),
                     std::min(longest, std::max(firstNotA, lastNotB) + mean / 20)),
                0};
      default:
        return {sig, draw(0, kAfterWriteNanoseconds),
                static_cast<int>(draw(1, static_cast<long long>(options.size())))};
    }
  };
  Counts sum;
  int cutReports = 0, tornReports = 0, oddReports = 0;
  for (const int sig : {SIGTERM, SIGINT, SIGKILL}) {
    Counts counts;
    for (unsigned long i = 0; i < killsPerSignal; ++i) {
      WriteFile(store, imageA);
      const Kill kill = plan(sig, i);
      const Run run = RunTool(all, watch, kill);
      const std::string image = ReadFile(store);
      ++counts.kills;
      if (kill.afterWrites == 0 && image != imageA) firstNotA = std::min(firstNotA, kill.delay);
      if (kill.afterWrites == 0 && image != imageB) lastNotB = std::max(lastNotB, kill.delay);
      const std::string when = std::to_string(kill.delay / 1000) + " us after " +
                               (kill.afterWrites == 0 ? "the start" : "write " + std::to_string(kill.afterWrites));
      if (image == imageA) {
        ++counts.a;
      } else if (image == imageB) {
        ++counts.b;
      } else if (std::find(steps.begin(), steps.end(), image) != steps.end()) {
        ++counts.mid;
      } else if (const std::size_t k = CutStep(image, steps); k != 0) {
        ++counts.cut;
        if (cutReports++ < kReportLimit) {
          std::fprintf(stderr, "write-back %zu cut at the page boundary by SIG%s %s\n", k, sigabbrev_np(sig),
                       when.c_str());
        }
      } else {
        ++counts.torn;
        if (tornReports++ < kReportLimit) {
          std::fprintf(stderr, "torn image after SIG%s %s: %s\n", sigabbrev_np(sig), when.c_str(),
                       DescribeTorn(image, imageA, imageB).c_str());
        }
      }
      const bool expected = (WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0 && image == imageB) ||
                            (WIFEXITED(run.status) && WEXITSTATUS(run.status) == 1) ||
                            (WIFSIGNALED(run.status) && WTERMSIG(run.status) == sig);
      if (!expected) {
        ++counts.odd;
        if (oddReports++ < kReportLimit) {
          std::fprintf(stderr, "odd status after SIG%s %s: %s\n", sigabbrev_np(sig), when.c_str(),
                       DescribeStatus(run.status).c_str());
        }
      }
    }
    counts.Print((std::string("SIG") + sigabbrev_np(sig)).c_str());
    std::printf("\n");
    sum.Add(counts);
  }
  sum.Print("total");
  std::printf(" sets/s=%.1f run-us=%lld window-us=%lld..%lld seed=%lu\n", 1e9 / static_cast<double>(mean),
              mean / 1000, firstNotA / 1000, lastNotB / 1000, static_cast<unsigned long>(seed));
  return 0;
}
