/* The floor vantorctl is measured against: the system calls a get or a set of
 * one stored value is required to make, and nothing else.
 *
 *   baseline get   stat process 1's and its own mnt, uts and cgroup namespace
 *                  links (six stats); open the trace log for append (no link
 *                  followed, never blocking) and fstat it; open the store the
 *                  same way, fstat it, lock it, read 8192 bytes, print one line
 *   baseline set   the same with an exclusive lock, then write the 8192 bytes
 *                  back and fsync
 *   baseline journal-set
 *                  the set as a journalled write-back must at least make it:
 *                  a new journal file holding the old and the new image,
 *                  written and fsynced, its directory fsynced, then the store
 *                  written in place and fsynced, then the journal removed
 *
 * bench/run builds it twice, linked dynamically and statically. Paths are the
 * tool's own; run it only inside the benchmark's namespaces. */
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#define STORE_SIZE 8192
#define OPEN_FLAGS (O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)
#define VENDOR "/opt/Marrowlight"
#define JOURNAL VENDOR "/vantorstore-journal"

static int same_namespaces(void) {
  static const char* const kinds[] = {"mnt", "uts", "cgroup"};
  int same = 1;
  for (int i = 0; i < 3; ++i) {
    char init[64], own[64];
    struct stat a, b;
    snprintf(init, sizeof init, "/proc/1/ns/%s", kinds[i]);
    snprintf(own, sizeof own, "/proc/%d/ns/%s", (int)getpid(), kinds[i]);
    if (stat(init, &a) != 0 || stat(own, &b) != 0) return -1;
    same = same && a.st_ino == b.st_ino && a.st_dev == b.st_dev;
  }
  return same;
}

static int open_regular(const char* path, int flags) {
  struct stat st;
  const int fd = open(path, flags | OPEN_FLAGS, 0600);
  if (fd < 0 || fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return -1;
  return fd;
}

/* The journal: the old and the new image, and a few bytes of header. */
static int write_journal(const unsigned char* image) {
  static unsigned char record[16 + 2 * STORE_SIZE + 4];
  memcpy(record + 16, image, STORE_SIZE);
  memcpy(record + 16 + STORE_SIZE, image, STORE_SIZE);
  const int journal = open(JOURNAL, O_WRONLY | O_CREAT | O_EXCL | OPEN_FLAGS, 0660);
  const int dir = open(VENDOR, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  return journal >= 0 && pwrite(journal, record, sizeof record, 0) == (ssize_t)sizeof record &&
         fsync(journal) == 0 && close(journal) == 0 && dir >= 0 && fsync(dir) == 0 && close(dir) == 0;
}

int main(int argc, char** argv) {
  const int journalled = argc > 1 && strcmp(argv[1], "journal-set") == 0;
  const int set = journalled || (argc > 1 && strcmp(argv[1], "set") == 0);
  static unsigned char image[STORE_SIZE];
  if (same_namespaces() != 1) {
    fputs("baseline: not in process 1's namespaces\n", stderr);
    return 1;
  }
  const int log = open_regular("/var/log/vantorctl.log", O_WRONLY | O_APPEND | O_CREAT);
  const int fd = open_regular(VENDOR "/vantorstore", O_RDWR);
  if (log < 0 || fd < 0 || flock(fd, (set ? LOCK_EX : LOCK_SH) | LOCK_NB) != 0) {
    perror("baseline");
    return 1;
  }
  if (pread(fd, image, STORE_SIZE, 0) != STORE_SIZE) {
    perror("baseline: read");
    return 1;
  }
  if ((journalled && !write_journal(image)) ||
      (set && (pwrite(fd, image, STORE_SIZE, 0) != STORE_SIZE || fsync(fd) != 0)) ||
      (journalled && unlink(JOURNAL) != 0)) {
    perror("baseline: write");
    return 1;
  }
  flock(fd, LOCK_UN);
  close(fd);
  printf(set ? "\n" : "cid=%02x%02x%02x%02x.\n", image[308], image[309], image[310], image[311]);
  close(log);
  return fflush(stdout) == 0 ? 0 : 1;
}
