// Fuzz target over the whole command line: option table, parser, mode checks,
// every option's value parser and handler, against a store image taken from the
// input.
//
// Input: the arguments after the program name, each ended by a NUL, then one
// more NUL; everything after that is the store file (no store file at all when
// the input has no empty argument to end the list). At most 32 arguments.
//
// Each run must end with status 0 or 1 and leave a store file of the right
// size and version, whatever it was given.
//
// The handlers work on the real paths (/opt/Marrowlight, /run, /var/log), so
// the process first moves into a mount namespace of its own with tmpfs over
// those three; where it cannot (no privilege, or other threads), it stops with
// status 77 before touching anything. The namespace detection and switch of a
// real start-up are left out: they would move the process back onto the host's
// files.
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cli/driver.h"
#include "registry/registry.h"
#include "store/simple_store.h"
#include "tests/support/files.h"

namespace {

constexpr char kStorePath[] = "/opt/Marrowlight/vantorstore";
constexpr char kRegistryPath[] = "/opt/Marrowlight/Registry.bin";
constexpr std::size_t kMaxArguments = 32;

[[noreturn]] void Stop(const char* what, int status) {
  std::fprintf(stderr, "command_line_fuzz: %s: %s\n", what, std::strerror(errno));
  std::exit(status);
}

void RemoveIfPresent(const char* path) {
  if (unlink(path) != 0 && errno != ENOENT) Stop("cannot remove a file of the last run", 1);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Without private propagation, the tmpfs mounts below would show up on the
  // host; it fails where "/" is no mount point (a plain chroot).
  if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    // 77 lets the replay test skip; CI, which runs as root, asks for it to run.
    const char* require = std::getenv("VANTOR_REQUIRE_SANDBOX");
    Stop("no private mount namespace, not run", require != nullptr && *require == '1' ? 1 : 77);
  }
  for (const char* dir : {"/opt", "/run", "/var/log"}) {
    if (mount("fuzz", dir, "tmpfs", MS_NOSUID | MS_NODEV, "size=16m") != 0) Stop(dir, 1);
  }
  if (mkdir("/opt/Marrowlight", 0770) != 0) Stop("vendor directory", 1);
  // The tool's output is of no interest here, and a run may print a lot.
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null < 0 || dup2(null, STDOUT_FILENO) < 0) Stop("standard output", 1);
  (void)close(null);  // dup2 holds it
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> arguments{"vantorctl"};
  std::size_t pos = 0;
  bool haveStore = false;
  while (pos < input.size() && arguments.size() <= kMaxArguments) {
    const std::size_t end = input.find('\0', pos);
    if (end == std::string::npos) {
      arguments.push_back(input.substr(pos));
      pos = input.size();
    } else if (end == pos) {
      haveStore = true;
      ++pos;
      break;
    } else {
      arguments.push_back(input.substr(pos, end - pos));
      pos = end + 1;
    }
  }
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);

  RemoveIfPresent(kRegistryPath);
  if (haveStore) {
    if (!vt_test::WriteFileBytes(kStorePath, std::string_view(input).substr(pos))) Stop("store file", 1);
  } else {
    RemoveIfPresent(kStorePath);
  }
  if (OpenSimpleStore() != STATUS_SUCCESS) Stop("the store did not open", 1);
  const int status = RunCommandLine(static_cast<int>(argv.size() - 1), argv.data());
  CloseSimpleStore();
  CloseRegistry();
  if (std::fflush(stdout) != 0) Stop("standard output", 1);

  if (status != 0 && status != 1) std::abort();
  const auto store = vt_test::ReadFileBytes(kStorePath);
  if (!store || store->size() != 8192 || (*store)[0] != 2 || (*store)[1] != 0) {
    std::fprintf(stderr, "command_line_fuzz: the run left a damaged store\n");
    std::abort();
  }
  return 0;
}
