#include "cli/driver.h"

int main(int argc, char** argv) { return FinishRun(RunDriver(argc, argv)); }
