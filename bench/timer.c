/* timer RUNS WARMUP CMD1 [ARGS...] -- CMD2 [ARGS...] -- ...
 *
 * Runs the commands round-robin (so drift and cache state hit all of them
 * alike), each RUNS times after WARMUP untimed rounds, with stdout and stderr
 * sent to /dev/null. Wall time per run is taken from fork to reap with the
 * monotonic clock. Prints one line per command: its median in microseconds,
 * then the paired ratio of the first command to it (the median, over the
 * rounds, of the first command's time divided by its time in the same round,
 * which cancels what drifts from round to round). Exits 1 if any run fails. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#define MAX_COMMANDS 8

static double now_us(void) {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return (double)ts.tv_sec * 1e6 + (double)ts.tv_nsec / 1e3;
}

static double run_once(char** argv) {
  const double start = now_us();
  const pid_t pid = fork();
  if (pid == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    dup2(null, 2);
    execv(argv[0], argv);
    _exit(127);
  }
  int status = 0;
  if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    fprintf(stderr, "timer: %s failed (status %d)\n", argv[0], status);
    exit(1);
  }
  return now_us() - start;
}

static int by_value(const void* a, const void* b) {
  const double x = *(const double*)a, y = *(const double*)b;
  return (x > y) - (x < y);
}

/* Sorts the values in place. */
static double median(double* values, int n) {
  qsort(values, (size_t)n, sizeof(double), by_value);
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

int main(int argc, char** argv) {
  if (argc < 4) {
    fprintf(stderr, "usage: timer RUNS WARMUP CMD [ARGS...] [-- CMD [ARGS...]]...\n");
    return 2;
  }
  const int runs = atoi(argv[1]), warmup = atoi(argv[2]);
  char** commands[MAX_COMMANDS];
  int count = 0;
  commands[count++] = &argv[3];
  for (int i = 3; i < argc; ++i) {
    if (strcmp(argv[i], "--") == 0 && count < MAX_COMMANDS) {
      argv[i] = NULL; /* ends the previous command's argv */
      commands[count++] = &argv[i + 1];
    }
  }
  double* times = calloc((size_t)(runs * count), sizeof(double));
  if (runs < 1 || times == NULL) return 2;
  for (int round = -warmup; round < runs; ++round) {
    for (int c = 0; c < count; ++c) {
      const double t = run_once(commands[c]);
      if (round >= 0) times[c * runs + round] = t;
    }
  }
  double* ratios = calloc((size_t)runs, sizeof(double));
  if (ratios == NULL) return 2;
  for (int c = 0; c < count; ++c) {
    double* mine = &times[c * runs];
    for (int round = 0; round < runs; ++round) ratios[round] = times[round] / mine[round];
    printf("%.1f %.3f\n", median(mine, runs), median(ratios, runs));
  }
  free(ratios);
  free(times);
  return 0;
}
