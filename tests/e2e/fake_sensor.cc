// fake_sensor: a stand-in sensor daemon for end-to-end tests. Run it only inside
// the sandbox, where /run (and so /var/run) is a private tmpfs.
//
//   fake_sensor <count-file> &
//
// It takes the real PID file (/var/run/vantor-sensor.pid) with AcquirePidFile
// and exits 1 if that fails. Then it writes "0\n" to <count-file>, and after
// every SIGHUP rewrites it with the number of SIGHUPs received so far. Each
// update goes to "<count-file>.tmp" first and is renamed over <count-file>, so
// a reader sees either the old or the new number, never a partial one. SIGTERM
// ends it: it removes the PID file, writes the final count and exits 0.
//
// A test therefore waits until <count-file> exists (the daemon is ready and its
// PID file is in place), runs vantorctl ... --update, and reads the count.
// SIGHUP is a standard signal: two sent before the daemon gets to run merge
// into one, so a test waits for each count before it sends the next.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "runtime/pidfile.h"

namespace {

volatile sig_atomic_t gHangups = 0;
volatile sig_atomic_t gTerminate = 0;

void OnHangup(int) { gHangups = gHangups + 1; }
void OnTerminate(int) { gTerminate = 1; }

// Writes "<count>\n" to path through path.tmp and a rename. Returns false (after
// a message on stderr) when any step fails.
bool WriteCount(const char* path, long count) {
  char temp[4096];
  char text[32];
  const int tempLength = std::snprintf(temp, sizeof(temp), "%s.tmp", path);
  const int textLength = std::snprintf(text, sizeof(text), "%ld\n", count);
  if (tempLength < 0 || static_cast<std::size_t>(tempLength) >= sizeof(temp) || textLength < 0) {
    std::fprintf(stderr, "fake_sensor: count file path too long\n");
    return false;
  }
  const int fd = open(temp, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    std::fprintf(stderr, "fake_sensor: cannot create %s: %s\n", temp, std::strerror(errno));
    return false;
  }
  const auto wanted = static_cast<ssize_t>(textLength);
  const bool written = write(fd, text, static_cast<std::size_t>(textLength)) == wanted;
  const bool closed = close(fd) == 0;
  if (!written || !closed || std::rename(temp, path) != 0) {
    std::fprintf(stderr, "fake_sensor: cannot update %s: %s\n", path, std::strerror(errno));
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: fake_sensor <count-file>\n");
    return 1;
  }
  const char* countFile = argv[1];

  // Handlers go in, with both signals blocked, before the PID file exists: a
  // SIGHUP sent as soon as the PID can be read is counted, never fatal, and
  // never lost between the check of the counters and the wait.
  sigset_t handled;
  sigemptyset(&handled);
  sigaddset(&handled, SIGHUP);
  sigaddset(&handled, SIGTERM);
  sigset_t waitMask;
  if (sigprocmask(SIG_BLOCK, &handled, &waitMask) != 0) {
    return 1;
  }
  sigdelset(&waitMask, SIGHUP);
  sigdelset(&waitMask, SIGTERM);
  struct sigaction action {};
  sigemptyset(&action.sa_mask);
  action.sa_handler = OnHangup;
  if (sigaction(SIGHUP, &action, nullptr) != 0) {
    return 1;
  }
  action.sa_handler = OnTerminate;
  if (sigaction(SIGTERM, &action, nullptr) != 0) {
    return 1;
  }

  if (!NT_SUCCESS(AcquirePidFile())) {
    std::fprintf(stderr, "fake_sensor: cannot acquire the PID file %s\n", kPidFilePath);
    return 1;
  }
  long reported = 0;
  if (!WriteCount(countFile, reported)) {
    RemovePidFile();
    return 1;
  }

  while (gTerminate == 0) {
    sigsuspend(&waitMask);  // returns after a handler ran, with the signals blocked again
    if (gHangups != reported) {
      reported = gHangups;
      if (!WriteCount(countFile, reported)) {
        RemovePidFile();
        return 1;
      }
    }
  }

  RemovePidFile();
  return WriteCount(countFile, gHangups) ? 0 : 1;
}
