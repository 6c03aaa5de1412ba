// Build-time generator: prints the bash completion script (see completion.h).
#include <cstdio>

#include "cli/completion.h"

int main() {
  PrintBashCompletion(stdout);
  return std::fflush(stdout) == 0 ? 0 : 1;
}
