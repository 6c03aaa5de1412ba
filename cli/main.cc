#include <cstdio>

// PLACEHOLDER until the command-line driver lands.
int main() {
  std::fputs("vantorctl: the command line is not built yet\n", stdout);
  return 0;
}
