// The command-line driver: the whole life of one vantorctl process.
#pragma once

// The files of credential values given "@PATH" read (cli/value_file.h; a
// failure ends the run before anything else), start-up (namespace switch,
// trace log, configuration store), parse against the option table, mode
// checks, dispatch in table order. Returns the exit
// status: 0 on success and after the usage text, 1 on every error. It does NOT
// close the store or write the final newline: FinishRun does that.
[[nodiscard]] int RunDriver(int argc, char** argv);

// What RunDriver does after its start-up: parse, mode checks and dispatch,
// against the configuration store that the caller opened. Every run's state is
// its own and the C library's parser is reset first (optind = 0), so a process
// may run several command lines (the command-line fuzzer does). Same exit
// statuses as RunDriver.
[[nodiscard]] int RunCommandLine(int argc, char** argv);

// Ends every run the same way, whatever path RunDriver took: closes the
// configuration store (a no-op when it was never opened), writes the single
// newline that ends the tool's standard output, then flushes and closes
// standard output. If any write to standard output failed, it prints
// "vantorctl: write error: " and the C library's text on standard error and
// returns 1; otherwise it returns `status`. main returns its result.
[[nodiscard]] int FinishRun(int status);
