// interrupt_walk: kills vantorctl -s runs at random moments and checks that the
// store is always whole. Run it only inside the sandbox (tests/e2e/sandbox.h):
// it rewrites /opt/Marrowlight/vantorstore.
//
//   interrupt_walk <vantorctl> <kills-per-signal> [disk-directory]
//
// With a disk directory, that directory is bind-mounted over /opt/Marrowlight
// first, so the store lives on a disk-backed file system instead of the
// sandbox's tmpfs. Every run starts from image A and sets one value, which gives
// image B when it completes. Uninterrupted runs time the set; then for each of
// SIGTERM, SIGINT and SIGKILL, runs are killed after a random delay between 0
// and 1.5 times the median run. After each, the store must be A or B, the run
// must have ended by that signal or with status 0, and status 0 must mean B.
// Prints one line per fault and the figures:
//   "<fs>: N kills, A=a, B=b, torn=t, bad status=s, sets/s=r"
// Exits 1 when anything was wrong or when the delays never landed on both sides.
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/store_image.h"

namespace {

constexpr char kVendorDir[] = "/opt/Marrowlight";
constexpr char kStore[] = "/opt/Marrowlight/vantorstore";
constexpr long kTmpfsMagic = 0x01021994;

[[noreturn]] void Die(const char* what) {
  std::fprintf(stderr, "interrupt_walk: %s: %s\n", what, std::strerror(errno));
  std::exit(2);
}

double Now() {
  timespec t{};
  (void)clock_gettime(CLOCK_MONOTONIC, &t);  // cannot fail with a valid clock and pointer
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// Starts the set, waits `delay` seconds (none when negative: the run is left
// to finish), sends `signal` and returns the wait status.
int RunAndKill(const std::string& tool, double delay, int signal) {
  const pid_t pid = fork();
  if (pid < 0) Die("fork");
  if (pid == 0) {
    const int null = open("/dev/null", O_RDWR);
    if (null < 0 || dup2(null, 1) < 0 || dup2(null, 2) < 0) _exit(120);
    execl(tool.c_str(), "vantorctl", "-s", "--aph=proxy.example", static_cast<char*>(nullptr));
    _exit(121);
  }
  if (delay >= 0) {
    timespec t{static_cast<time_t>(delay), static_cast<long>((delay - static_cast<double>(static_cast<time_t>(delay))) * 1e9)};
    while (nanosleep(&t, &t) != 0 && errno == EINTR) {
    }
    (void)kill(pid, signal);  // fails only when it has ended already
  }
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) Die("waitpid");
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: interrupt_walk <vantorctl> <kills-per-signal> [disk-directory]\n");
    return 2;
  }
  const std::string tool = argv[1];
  const int kills = std::atoi(argv[2]);
  if (argc > 3 && mount(argv[3], kVendorDir, nullptr, MS_BIND, nullptr) != 0) Die("bind mount");
  struct statfs fs {};
  if (statfs(kVendorDir, &fs) != 0) Die("statfs");
  const char* fsName = static_cast<long>(fs.f_type) == kTmpfsMagic ? "tmpfs" : "disk";
  if ((argc > 3) != (std::strcmp(fsName, "disk") == 0)) {
    std::fprintf(stderr, "interrupt_walk: the store is on %s, not where it was meant to be\n", fsName);
    return 2;
  }

  const std::string imageA =
      vt_test::StoreImage().Add("TRACE", vt_test::U32Bytes(2)).Add("APH", "old.example").Add("GroupTags", "web").bytes();
  const auto reset = [&] {
    if (!vt_test::WriteFileBytes(kStore, imageA)) Die("seeding the store");
  };

  // Uninterrupted runs: image B and the time a set takes.
  std::vector<double> times;
  std::string imageB;
  for (int i = 0; i < 21; ++i) {
    reset();
    const double start = Now();
    const int status = RunAndKill(tool, -1, 0);
    times.push_back(Now() - start);
    const std::string after = vt_test::ReadFileBytes(kStore).value_or("");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || (!imageB.empty() && after != imageB) || after == imageA) {
      std::fprintf(stderr, "interrupt_walk: an uninterrupted set failed or stored something else\n");
      return 2;
    }
    imageB = after;
  }
  std::sort(times.begin(), times.end());
  const double median = times[times.size() / 2];

  std::mt19937 random(std::random_device{}());
  std::uniform_real_distribution<double> delayOf(0, 1.5 * median);
  unsigned long total = 0, sawA = 0, sawB = 0, torn = 0, badStatus = 0;
  for (const int signal : {SIGTERM, SIGINT, SIGKILL}) {
    for (int i = 0; i < kills; ++i) {
      reset();
      const double delay = delayOf(random);
      const int status = RunAndKill(tool, delay, signal);
      const std::string after = vt_test::ReadFileBytes(kStore).value_or("");
      ++total;
      const bool completed = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == signal;
      if (after == imageA) ++sawA;
      if (after == imageB) ++sawB;
      if (after != imageA && after != imageB) {
        ++torn;
        std::printf("TORN: %s after %.0f us, %zu bytes\n", strsignal(signal), delay * 1e6, after.size());
      }
      if (!(completed || killed) || (completed && after != imageB)) {
        ++badStatus;
        std::printf("BAD STATUS: %s after %.0f us: wait status 0x%x\n", strsignal(signal), delay * 1e6, status);
      }
    }
  }
  std::printf("%s: %lu kills, A=%lu, B=%lu, torn=%lu, bad status=%lu, sets/s=%.0f\n", fsName, total, sawA, sawB, torn,
              badStatus, 1 / median);
  const bool bothSides = sawA > 0 && sawB > 0;
  if (!bothSides) std::printf("the delays never landed on both sides of the write\n");
  return torn == 0 && badStatus == 0 && bothSides ? 0 : 1;
}
