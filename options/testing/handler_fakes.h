// Link-time fakes for unit tests of option handlers: an in-memory configuration
// store with injectable failures, a counted reload signal and a settable
// --update flag, plus a runner that captures what a handler prints. A test
// binary that links handler_fakes.cc gets these definitions instead of the real
// store, reload and option table objects.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "options/option_context.h"
#include "runtime/status.h"

namespace vt_test {

struct FakeWorld {
  std::map<std::string, std::string> values;       // value name (ASCII) -> bytes
  std::map<std::string, NTSTATUS> getFailures;     // name -> status returned by a get
  std::map<std::string, NTSTATUS> setFailures;
  std::map<std::string, NTSTATUS> deleteFailures;
  std::vector<std::string> events;                 // "set NAME", "delete NAME", "signal"
  bool update = false;                             // what UpdateRequested() answers
};

// The fakes' state; ResetFakes() clears it.
FakeWorld& Fakes();
void ResetFakes();

struct HandlerRun {
  NTSTATUS status;
  std::string out;
  std::string err;
};

// Runs handler(context, value) with stdout and stderr captured.
HandlerRun RunHandler(OptionHandler handler, OptionContext context, const char* value);

// A context for one mode ('g', 's' or 'd') with `remaining` options counted.
OptionContext Mode(char mode, bool verbose = false, bool force = false, std::uint32_t remaining = 1);

// Little-endian bytes of a stored u32.
std::string U32(std::uint32_t value);

}  // namespace vt_test
