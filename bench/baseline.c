/* The floor vantorctl is measured against: the same system calls a get or a set
 * of one stored value needs, and nothing else.
 *
 *   baseline get   open the trace log for append, open the store, shared
 *                  flock, read 8192 bytes, print one line
 *   baseline set   the same with an exclusive flock, then write the 8192
 *                  bytes back and fsync
 *
 * Paths are the tool's own; run it only inside the benchmark's namespaces. */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <unistd.h>

#define STORE_SIZE 8192

int main(int argc, char** argv) {
  const int set = argc > 1 && strcmp(argv[1], "set") == 0;
  static unsigned char image[STORE_SIZE];
  int log = open("/var/log/vantorctl.log", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  int fd = open("/opt/Marrowlight/vantorstore", O_RDWR | O_CLOEXEC);
  if (log < 0 || fd < 0 || flock(fd, set ? LOCK_EX : LOCK_SH) != 0) {
    perror("baseline");
    return 1;
  }
  if (pread(fd, image, STORE_SIZE, 0) != STORE_SIZE) {
    perror("baseline: read");
    return 1;
  }
  if (set && (pwrite(fd, image, STORE_SIZE, 0) != STORE_SIZE || fsync(fd) != 0)) {
    perror("baseline: write");
    return 1;
  }
  flock(fd, LOCK_UN);
  close(fd);
  printf(set ? "\n" : "cid=%02x%02x%02x%02x.\n", image[308], image[309], image[310], image[311]);
  close(log);
  return 0;
}
