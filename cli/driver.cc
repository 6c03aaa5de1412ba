#include "cli/driver.h"

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cli/option_table.h"
#include "cli/usage.h"
#include "options/option_context.h"
#include "options/value_print.h"
#include "options/reload.h"
#include "runtime/namespace.h"
#include "runtime/trace.h"
#include "store/simple_store.h"

namespace {

constexpr int kExitSuccess = 0;
constexpr int kExitFailure = 1;
constexpr char kShortOptions[] = "sgdfvh";

// What the parse leaves behind for the checks and the dispatch: the modes, and
// which rows were given with which value (the table itself is constant).
struct ParseState {
  OptionContext context{};
  std::uint8_t modeSet = 0;  // kMode* bits of every mode flag seen
  char modeLetter = 0;       // the mode flag seen last
  bool given[kOptionCount] = {};
  const char* values[kOptionCount] = {};  // text after "=", or null; owned by argv

  bool Given(OptionId id) const { return given[IndexOf(id)]; }
};

enum class ParseResult { kDone, kUsage, kFailed };

// Set when the tool was started with standard output closed.
bool gStandardOutputWasClosed = false;

// A descriptor 0, 1 or 2 that the caller left closed is taken by /dev/null
// before anything is opened, so that no file the tool opens (the store, above
// all) can become standard output and receive its text. A closed standard
// output is remembered and reported as a write error at the end.
void ReserveStandardDescriptors() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) {
      continue;
    }
    if (fd == 1) {
      gStandardOutputWasClosed = true;
    }
    const int reserved = open("/dev/null", O_RDWR);
    if (reserved != fd && reserved >= 0) {
      (void)close(reserved);  // not the slot we meant to fill: leave things as they were
    }
  }
}

// Writes the usage hint that ends every failed run and returns its status.
int Fail() {
  PrintDiagnostic("Run 'vantorctl -h' OR 'vantorctl --help' for usage help\n");
  return kExitFailure;
}

// Namespace switch and trace log, then the store. Returns false after writing
// the failure's own line (these two failures print no usage hint).
bool StartUp() {
  NamespaceDetect();
  if (NamespaceIsNamespaced()) {
    if (!RedirectToolLogToStdout()) {
      PrintDiagnostic("WARNING: failed to redirect logs to STDOUT\n");
    }
    // Standard output itself, taken before the switch, so the log stays this
    // container's standard output afterwards and shares its file offset.
    TraceOpenToolLogOnStandardOutput();
    if (!NT_SUCCESS(NamespaceSwitchToInit()) && !NamespaceSwitchCountAbove(0)) {
      PrintDiagnostic("ERROR: failed switch to init mount namespace\n");
      return false;
    }
    // A switch that failed part way carries on in the namespaces it reached.
  } else {
    TraceOpenToolLog();
  }
  if (!NT_SUCCESS(OpenSimpleStore())) {
    PrintDiagnostic("ERROR: unable to initialize simple store\n");
    return false;
  }
  return true;
}

void SelectMode(ParseState* state, std::uint8_t* flag, std::uint8_t mode, char letter) {
  *flag = 1;
  state->modeSet = static_cast<std::uint8_t>(state->modeSet | mode);
  state->modeLetter = letter;
}

// Runs getopt_long to the end, marking the table rows given. The parser itself
// reports unknown options and forbidden arguments (opterr stays on).
ParseResult Parse(int argc, char** argv, ParseState* state) {
  // The parser's own copy of the table's long-option records, plus the
  // all-zero terminator.
  option longOptions[kOptionCount + 1] = {};
  for (std::size_t i = 0; i < kOptionCount; ++i) {
    longOptions[i] = OptionTable()[i].longOption;
  }

  for (;;) {
    const int c = getopt_long(argc, argv, kShortOptions, longOptions, nullptr);
    switch (c) {
      case -1:
        return ParseResult::kDone;
      case 's':
        SelectMode(state, &state->context.set, kModeSet, 's');
        continue;
      case 'g':
        SelectMode(state, &state->context.get, kModeGet, 'g');
        continue;
      case 'd':
        SelectMode(state, &state->context.del, kModeDelete, 'd');
        continue;
      case 'f':
        state->context.force = 1;
        continue;
      case 'v':
        state->context.verbose = 1;
        continue;
      case 'h':
      case static_cast<int>(OptionId::kHelp):
        return ParseResult::kUsage;
      default:
        break;
    }
    if (c < 0 || c >= static_cast<int>(kOptionCount)) {
      return ParseResult::kFailed;  // '?': already reported by the parser
    }
    const auto row = static_cast<std::size_t>(c);
    if (state->given[row]) {
      PrintDiagnostic("ERROR: --%s specified more than once\n", OptionTable()[row].longOption.name);
      return ParseResult::kFailed;
    }
    state->given[row] = true;
    state->values[row] = optarg;
    ++state->context.remaining;
  }
}

// The mode rules, in order. Returns false after writing the failing rule's line.
bool CheckModes(int argc, char** argv, const ParseState& state) {
  if (optind < argc) {
    PrintDiagnostic("ERROR: unsupported non-option argument '%s'\n", argv[optind]);
    return false;
  }
  if (state.modeSet == 0) {
    PrintDiagnostic("ERROR: -g or -s or -d must be specified\n");
    return false;
  }
  if (state.modeSet != kModeSet && state.modeSet != kModeGet && state.modeSet != kModeDelete) {
    PrintDiagnostic("ERROR: -g and -s and -d are mutually exclusive\n");
    return false;
  }
  if (state.context.remaining == 0) {
    PrintDiagnostic("ERROR: no options specified for -%c  \n", state.modeLetter);
    return false;
  }
  return true;
}

// Runs the handler of every given row in table order. A failed check or
// handler stops the walk; what earlier handlers stored stays stored.
bool Dispatch(ParseState* state) {
  for (const OptionEntry& row : OptionTable()) {
    if (!state->Given(row.id)) {
      continue;
    }
    const char* value = state->values[IndexOf(row.id)];
    if ((row.allowedModes & state->modeSet) == 0) {
      PrintDiagnostic("ERROR: -%c with --%s is not supported.\n", state->modeLetter, row.longOption.name);
      return false;
    }
    if (state->modeSet == kModeSet && row.longOption.has_arg != no_argument && value == nullptr) {
      PrintDiagnostic("ERROR: --%s requires a value\n", row.longOption.name);
      return false;
    }
    state->context.id = row.id;
    state->context.option = row.longOption.name;
    if (row.handler != nullptr && !NT_SUCCESS(row.handler(&state->context, value))) {
      PrintDiagnostic("ERROR: failed to process the option --%s\n", row.longOption.name);
      return false;
    }
  }
  return true;
}

}  // namespace

int RunDriver(int argc, char** argv) {
  // A reader that went away or a file-size limit makes a write fail with EPIPE
  // or EFBIG, which the tool reports through its exit status, instead of ending
  // the process part way (a store write-back included). signal() cannot fail
  // for these two.
  (void)signal(SIGPIPE, SIG_IGN);
  (void)signal(SIGXFSZ, SIG_IGN);
  ReserveStandardDescriptors();
  if (!StartUp()) {
    return kExitFailure;
  }
  return RunCommandLine(argc, argv);
}

int RunCommandLine(int argc, char** argv) {
  optind = 0;  // 0, not 1: glibc's parser then forgets every earlier scan
  ParseState state;
  switch (Parse(argc, argv, &state)) {
    case ParseResult::kUsage:
      PrintUsage(stdout);
      return kExitSuccess;
    case ParseResult::kFailed:
      return Fail();
    case ParseResult::kDone:
      break;
  }
  if (!CheckModes(argc, argv, state)) {
    return Fail();
  }
  if (state.Given(OptionId::kUpdate)) {
    state.context.reload = SignalSensorReload;
  }
  if (!Dispatch(&state)) {
    return Fail();
  }
  return kExitSuccess;
}

int FinishRun(int status) {
  CloseSimpleStore();
  std::fputc('\n', stdout);
  // A stream error may have been set by an earlier, automatic flush; the errno
  // of that write is gone by now, and EIO stands in for it.
  const bool earlier = std::ferror(stdout) != 0 || gStandardOutputWasClosed;
  errno = gStandardOutputWasClosed ? EBADF : 0;
  const bool flushFailed = std::fflush(stdout) != 0;
  int error = gStandardOutputWasClosed ? EBADF : errno;
  const bool closeFailed = std::fclose(stdout) != 0;
  if (closeFailed && error == 0) {
    error = errno;
  }
  if (earlier || flushFailed || closeFailed) {
    PrintDiagnostic("vantorctl: write error: %s\n", std::strerror(error != 0 ? error : EIO));
    return kExitFailure;
  }
  return status;
}
