// The command-line driver: the whole life of one vantorctl process.
#pragma once

// Start-up (namespace switch, trace log, configuration store), parse against
// the option table, mode checks, dispatch in table order. Returns the exit
// status: 0 on success and after the usage text, 1 on every error. It does NOT
// close the store or write the final newline: main's DriverExitScope does that
// on every path.
[[nodiscard]] int RunDriver(int argc, char** argv);

// Ends every run the same way, whatever path RunDriver took: closes the
// configuration store (a no-op when it was never opened) and writes the single
// newline that ends the tool's standard output. Create one in main before
// calling RunDriver.
class DriverExitScope {
 public:
  DriverExitScope() = default;
  DriverExitScope(const DriverExitScope&) = delete;
  DriverExitScope& operator=(const DriverExitScope&) = delete;
  ~DriverExitScope();
};
