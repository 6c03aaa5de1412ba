#include "cli/driver.h"

int main(int argc, char** argv) {
  // Destroyed after RunDriver's result is taken, before the exit handlers run.
  const DriverExitScope exitScope;
  return RunDriver(argc, argv);
}
