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
// ends it: it writes the final count, removes the PID file and exits 0.
//
// A test therefore waits until <count-file> exists (the daemon is ready and its
// PID file is in place), runs vantorctl ... --update, and reads the count.
// SIGHUP is a standard signal: two sent before the daemon gets to run merge
// into one, so a test waits for each count before it sends the next.

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <thread>

#include "runtime/pidfile.h"
#include "runtime/pidfile_writer.h"

namespace {

// Writes "<count>\n" to path through path.tmp and a rename; false after a
// message on stderr when any step fails.
bool WriteCount(const std::string& path, long count) {
  const std::string temp = path + ".tmp";
  FILE* file = std::fopen(temp.c_str(), "w");
  const bool written = file != nullptr && std::fprintf(file, "%ld\n", count) > 0;
  if (!((file == nullptr || std::fclose(file) == 0) && written && std::rename(temp.c_str(), path.c_str()) == 0)) {
    std::perror("fake_sensor: cannot update the count file");
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
  // SIGHUP and SIGTERM are blocked before the PID file exists and read from a
  // signalfd, so a SIGHUP sent as soon as the PID can be read is counted,
  // never fatal, and never lost.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGHUP);
  sigaddset(&signals, SIGTERM);
  const int fd = sigprocmask(SIG_BLOCK, &signals, nullptr) == 0 ? signalfd(-1, &signals, SFD_CLOEXEC) : -1;
  if (fd < 0 || !NT_SUCCESS(AcquirePidFile())) {
    std::fprintf(stderr, "fake_sensor: cannot block the signals or acquire the PID file %s\n", kPidFilePath);
    return 1;
  }
  long hangups = 0;
  bool running = WriteCount(argv[1], hangups);
  // Read on a second thread, as a daemon's signal thread does: it sees what is
  // sent to the process, not what is sent to the thread whose ID is the PID.
  std::thread([&] {
    for (signalfd_siginfo info{}; running && read(fd, &info, sizeof info) == static_cast<ssize_t>(sizeof info);) {
      running = info.ssi_signo == SIGHUP;
      hangups += running ? 1 : 0;
      if (!WriteCount(argv[1], hangups)) break;
    }
  }).join();
  RemovePidFile();
  return running ? 1 : 0;
}
