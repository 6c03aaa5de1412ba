#include "cli/driver.h"

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <utility>

#include "cli/option_table.h"
#include "cli/usage.h"
#include "cli/value_file.h"
#include "options/option_context.h"
#include "options/value_print.h"
#include "options/reload.h"
#include "runtime/fd.h"
#include "runtime/file.h"
#include "runtime/namespace.h"
#include "runtime/pool.h"
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

// Credential values a set-mode command line gives as "@PATH", read before the
// start-up (cli/value_file.h): given[row] is the "@PATH" argument whose file
// was read (the parser's pointer into argv, so that the parse can tell it),
// text[row] what the file held. Wiped before it is freed.
struct CredentialValues {
  const char* given[kOptionCount] = {};
  PoolBuffer text[kOptionCount];

  CredentialValues() = default;
  CredentialValues(const CredentialValues&) = delete;
  CredentialValues& operator=(const CredentialValues&) = delete;
  ~CredentialValues() {
    for (const PoolBuffer& t : text) {
      if (t) {
        explicit_bzero(t.get(), kValueFileBuffer);
      }
    }
  }
};

// The parser's copy of the table's long-option records, plus the all-zero
// terminator.
void FillLongOptions(option (&longOptions)[kOptionCount + 1]) {
  for (std::size_t i = 0; i < kOptionCount; ++i) {
    longOptions[i] = OptionTable()[i].longOption;
  }
  longOptions[kOptionCount] = option{};
}

// Scans the arguments as Parse will, silently and on a copy (the parser
// reorders what it scans), and reads the files of credential rows given
// "@PATH", but only where the command line would reach the handlers in set
// mode: no unknown option, no -h, no row twice, no word left over, set mode
// alone. At most one of them may read standard input. Every wait together is
// bounded like the store's lock. Returns false after printing the one line of
// the failure; nothing has been opened or stored then.
bool ReadCredentialFiles(int argc, char** argv, CredentialValues* values) {
  PoolBuffer copy((static_cast<std::size_t>(argc) + 1) * sizeof(char*), kTagTool);
  if (!copy) {
    return true;  // nothing read: a handler then refuses the "@PATH" text itself
  }
  char** args = copy.as<char*>();
  std::memcpy(args, argv, (static_cast<std::size_t>(argc) + 1) * sizeof(char*));
  option longOptions[kOptionCount + 1];
  FillLongOptions(longOptions);
  const char* given[kOptionCount] = {};
  std::uint8_t modeSet = 0;
  bool reachesHandlers = true;
  const int reporting = opterr;
  opterr = 0;
  optind = 0;
  for (int c; (c = getopt_long(argc, args, kShortOptions, longOptions, nullptr)) != -1;) {
    const auto row = static_cast<std::size_t>(c);
    if (c == 's' || c == 'g' || c == 'd') {
      modeSet = static_cast<std::uint8_t>(modeSet | (c == 's' ? kModeSet : c == 'g' ? kModeGet : kModeDelete));
    } else if (c >= 0 && row < kOptionCount && c != static_cast<int>(OptionId::kHelp) && given[row] == nullptr) {
      given[row] = optarg != nullptr ? optarg : "";
    } else if (c != 'f' && c != 'v') {
      reachesHandlers = false;  // an error, -h or --help, or a row given twice
    }
  }
  reachesHandlers = reachesHandlers && optind == argc && modeSet == kModeSet;
  opterr = reporting;
  optind = 0;
  if (!reachesHandlers) {
    return true;
  }
  const char* standardInput = nullptr;  // the option that reads it
  for (const OptionEntry& row : OptionTable()) {
    const char* value = given[IndexOf(row.id)];
    if (!row.credential || value == nullptr || value[0] != '@' || !IsStandardInputPath(value + 1)) {
      continue;
    }
    if (standardInput != nullptr) {
      PrintDiagnostic("ERROR: --%s and --%s cannot both read standard input\n", standardInput, row.longOption.name);
      return false;
    }
    standardInput = row.longOption.name;
  }
  const std::int64_t deadline = FileLockDeadline();
  for (const OptionEntry& row : OptionTable()) {
    const std::size_t i = IndexOf(row.id);
    if (!row.credential || given[i] == nullptr || given[i][0] != '@') {
      continue;
    }
    PoolBuffer text(kValueFileBuffer, kTagTool);
    std::size_t length = 0;
    const int error = text ? ReadValueFile(given[i] + 1, deadline, std::span<char, kValueFileBuffer>(
                                                                       text.as<char>(), kValueFileBuffer),
                                           &length)
                           : ENOMEM;
    if (error != 0) {
      if (text) {
        explicit_bzero(text.get(), kValueFileBuffer);
      }
      PrintDiagnostic("ERROR: cannot read --%s from %s: %s\n", row.longOption.name, given[i] + 1,
                      std::strerror(error));
      return false;
    }
    text.as<char>()[length] = '\0';
    values->given[i] = given[i];
    values->text[i] = std::move(text);
  }
  return true;
}

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
    // Kept open for the whole run when it took the slot; closed again when it
    // took another one, which leaves things as they were.
    UniqueFile reserved(open("/dev/null", O_RDWR));
    if (reserved.get() == fd) {
      (void)reserved.release();
    }
  }
}

// Writes the usage hint that ends every failed run and returns its status.
int Fail() {
  PrintDiagnostic("Run 'vantorctl -h' OR 'vantorctl --help' for usage help\n");
  return kExitFailure;
}

// The line before "unable to initialize simple store": the store's path, the
// reason and, where one fits, the cure. The two commonest causes are a user
// who is not root (the vendor directory is root's, 0770) and a host where the
// vendor directory was never made.
void ExplainStoreOpenFailure(NTSTATUS status) {
  const int error = SimpleStoreOpenError();
  const char* reason = status == STATUS_FILE_INVALID       ? "not a regular file"
                       : status == STATUS_LOCK_NOT_GRANTED ? "another process holds its lock"
                       : error != 0                        ? std::strerror(error)
                                                           : "it could not be read or repaired";
  const char* cure = "";
  const char* where = "";
  struct stat vendor {};
  if ((error == EACCES || error == EPERM) && geteuid() != 0) {
    cure = "; run vantorctl as root";
  } else if (error == ENOENT && stat(VANTOR_VENDOR_DIR, &vendor) != 0 && errno == ENOENT) {
    cure = "; the directory " VANTOR_VENDOR_DIR " is missing (installing vantorctl creates it)";
  } else if (error == 0) {
    cure = "; see ";
    where = kToolLogPath;
  }
  PrintDiagnostic("ERROR: cannot open %s: %s%s%s\n", kSimpleStorePath, reason, cure, where);
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
  const NTSTATUS status = OpenSimpleStore();
  if (!NT_SUCCESS(status)) {
    ExplainStoreOpenFailure(status);
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
  option longOptions[kOptionCount + 1];
  FillLongOptions(longOptions);

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

// Parse, mode checks and dispatch, with the credential values read before the
// start-up (none for RunCommandLine).
int RunParsed(int argc, char** argv, const CredentialValues* credentials) {
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
  for (std::size_t i = 0; credentials != nullptr && i < kOptionCount; ++i) {
    if (state.values[i] != nullptr && state.values[i] == credentials->given[i]) {
      state.values[i] = credentials->text[i].as<char>();
    }
  }
  if (state.Given(OptionId::kUpdate)) {
    state.context.reload = SignalSensorReload;
  }
  if (!Dispatch(&state)) {
    return Fail();
  }
  return kExitSuccess;
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
  CredentialValues credentials;
  if (!ReadCredentialFiles(argc, argv, &credentials) || !StartUp()) {
    return kExitFailure;
  }
  return RunParsed(argc, argv, &credentials);
}

int RunCommandLine(int argc, char** argv) { return RunParsed(argc, argv, nullptr); }

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
