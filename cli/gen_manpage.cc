// Build-time generator: prints the manual page vantorctl(8) (see manpage.h).
#include <cstdio>

#include "cli/manpage.h"

int main() {
  PrintManPage(stdout, VANTOR_VERSION);
  return std::fflush(stdout) == 0 ? 0 : 1;
}
