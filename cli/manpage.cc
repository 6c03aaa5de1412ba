#include "cli/manpage.h"

#include <cstdint>
#include <string_view>

#include "cli/option_table.h"
#include "cli/usage.h"
#include "cli/value_file.h"
#include "options/settings.h"
#include "runtime/file.h"
#include "runtime/pidfile.h"
#include "runtime/trace.h"

namespace {

// Text with roff's special characters escaped: backslashes, minus signs (so
// options print as hyphens a reader can copy), and a leading dot or quote.
// With `breakable`, a line may break after each ',' and '|' (roff's \:), so a
// long value syntax fits narrow terminals.
void PutText(FILE* stream, std::string_view text, bool breakable = false) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (i == 0 && (c == '.' || c == '\'')) std::fputs("\\&", stream);
    if (c == '\\') {
      std::fputs("\\e", stream);
    } else if (c == '-') {
      std::fputs("\\-", stream);
    } else {
      std::fputc(c, stream);
    }
    if (breakable && (c == ',' || c == '|')) std::fputs("\\:", stream);
  }
}

std::string_view Trimmed(const char* text) {
  std::string_view view = text != nullptr ? text : "";
  while (!view.empty() && view.front() == ' ') view.remove_prefix(1);
  return view;
}

bool Visible(const OptionEntry& row) {
  return UsageBlockText(row, kModeGet | kModeDelete | kModeHelp) != nullptr ||
         UsageBlockText(row, kModeSet) != nullptr;
}

void PutModes(FILE* stream, std::uint8_t modes) {
  std::fputs("Modes:", stream);
  const char* separator = " ";
  for (const auto& [bit, flag] : {std::pair{kModeGet, "\\-g"}, {kModeSet, "\\-s"}, {kModeDelete, "\\-d"}}) {
    if ((modes & bit) != 0) {
      std::fprintf(stream, "%s\\fB%s\\fR", separator, flag);
      separator = ", ";
    }
  }
  std::fputs(".\n", stream);
}

void PutOption(FILE* stream, const OptionEntry& row) {
  const bool takesValue = row.longOption.has_arg != no_argument;
  std::fprintf(stream, ".TP\n.B \\-\\-");
  PutText(stream, row.longOption.name);
  std::fputc('\n', stream);
  // A switch without a value (--update) keeps its description where the other
  // rows keep their set syntax.
  const std::string_view what = Trimmed(row.helpText != nullptr ? row.helpText : row.valueSyntax);
  if (!what.empty()) {
    // The usage text's phrase ("for CustomerId"), as a sentence.
    const char first = what.front();
    std::fputc(first >= 'a' && first <= 'z' ? first - 'a' + 'A' : first, stream);
    PutText(stream, what.substr(1));
    std::fputs(".\n.br\n", stream);
  }
  if (row.allowedModes == kModeHelp) {
    std::fputs("Prints the usage text; no mode is needed.\n", stream);
    return;
  }
  PutModes(stream, row.allowedModes);
  if (takesValue && (row.allowedModes & kModeSet) != 0 && row.valueSyntax != nullptr) {
    std::fputs(".br\nWith \\fB\\-s\\fR: \\fB\\-\\-", stream);
    PutText(stream, row.longOption.name);
    std::fputs("\\fR", stream);
    PutText(stream, row.valueSyntax, true);
    std::fputs("\n", stream);
  }
  if (row.credential) {
    std::fputs(".br\nWith \\fB\\-s\\fR, \\fB@\\fR\\fIpath\\fR takes the value from a file (see \\fBVALUES FROM "
               "FILES\\fR).\n",
               stream);
  }
  const Setting* setting = FindSetting(row.id);
  if (setting == nullptr) {
    return;
  }
  const char* separator = nullptr;
  ForEachValueWord(*setting, [&](std::string_view word) {
    if (separator == nullptr) {
      std::fputs(TakesWordList(*setting) ? ".br\nA comma-separated list of: " : ".br\nAccepted values: ", stream);
      separator = "";
    }
    std::fputs(separator, stream);
    std::fputs("\\fB", stream);
    PutText(stream, word);
    std::fputs("\\fR", stream);
    separator = ", ";
  });
  if (separator != nullptr) std::fputs(".\n", stream);
}

}  // namespace

void PrintManPage(FILE* stream, const char* version) {
  std::fprintf(stream, ".TH VANTORCTL 8 \"\" \"vantorctl %s\" \"System Administration\"\n", version);
  std::fputs(
      ".SH NAME\n"
      "vantorctl \\- get, set and delete the settings of the endpoint-security sensor\n"
      ".SH SYNOPSIS\n"
      ".B vantorctl\n"
      "\\fB\\-g\\fR [\\fB\\-v\\fR] \\fB\\-\\-\\fR\\fIoption\\fR...\n"
      ".br\n"
      ".B vantorctl\n"
      "\\fB\\-s\\fR [\\fB\\-f\\fR] [\\fB\\-v\\fR] \\fB\\-\\-\\fR\\fIoption\\fR\\fB=\\fR\\fIvalue\\fR... "
      "[\\fB\\-\\-update\\fR]\n"
      ".br\n"
      ".B vantorctl\n"
      "\\fB\\-d\\fR [\\fB\\-f\\fR] [\\fB\\-v\\fR] \\fB\\-\\-\\fR\\fIoption\\fR...\n"
      ".br\n"
      ".B vantorctl\n"
      "\\fB\\-h\\fR | \\fB\\-\\-help\\fR\n"
      ".SH DESCRIPTION\n"
      ".B vantorctl\n"
      "reads and changes the persistent settings of the sensor in its configuration store, a file\n"
      "of 8192 bytes shared with the sensor daemon, and reads the sensor's state: its version, its\n"
      "system tags and its reduced functionality mode.\n"
      "It is run as root, by installation scripts and administrators.\n"
      ".PP\n"
      "Exactly one mode is given: \\fB\\-g\\fR gets, \\fB\\-s\\fR sets, \\fB\\-d\\fR deletes.\n"
      "\\fB\\-f\\fR forces the change of a protected setting that is already set;\n"
      "\\fB\\-v\\fR prints what was done.\n"
      "Options run in the order of the list below, whatever their order on the command line;\n"
      "the first failure ends the run, and what earlier options stored stays stored.\n"
      "A run started inside a container moves into the namespaces of the host's process 1 first,\n"
      "so that it works on the host's settings; its log then goes to standard output.\n"
      ".PP\n"
      "Results are printed on standard output, errors on standard error; every run ends its\n"
      "standard output with one newline.\n"
      ".SH OPTIONS\n"
      // Long value syntaxes read better ragged than stretched, and unbroken.
      ".ad l\n"
      ".nh\n",
      stream);
  for (const OptionEntry& row : OptionTable()) {
    if (Visible(row)) PutOption(stream, row);
  }
  std::fprintf(
      stream,
      ".SH VALUES FROM FILES\n"
      "A credential given as \\fB@\\fR\\fIpath\\fR in set mode is read from the file \\fIpath\\fR, so that\n"
      "it appears in no process listing and no container's record: the file's contents, with one\n"
      "trailing newline dropped, at most %zu bytes, checked and stored exactly as the same text on\n"
      "the command line would be.\n"
      "\\fB@/dev/stdin\\fR reads standard input (from a terminal, one line); only one option of a\n"
      "run may read it.\n"
      "Files are read at the very start of the run, before it moves into the host's namespaces, so\n"
      "a file mounted into a container is the one read; what they hold is never logged.\n"
      ".PP\n"
      "A file that cannot be read (missing, a directory, too long, a read error) ends the run with\n"
      "status 1 and one line naming the option, the path and the reason, before anything is\n"
      "stored. All reading together waits at most %d seconds, the bound of the store's lock, so a\n"
      "FIFO nobody writes to or standard input that never ends fails with \"Timer expired\".\n",
      kValueFileBytes, kFileLockWaitSeconds);
  std::fputs(
      ".SH EXIT STATUS\n"
      ".TP\n.B 0\n"
      "Every option was handled, or the usage text was printed.\n"
      ".TP\n.B 1\n"
      "A value was refused, a setting could not be read, stored or deleted, the command line was\n"
      "wrong, or standard output could not be written.\n"
      ".SH FILES\n"
      ".TP\n.I " VANTOR_VENDOR_DIR "/vantorstore\n"
      "The configuration store, shared with the sensor daemon.\n"
      ".TP\n.I " VANTOR_VENDOR_DIR "/vantorstore\\-journal\n"
      "The journal of a write-back of the store, there only while one is under way. A write-back\n"
      "cut by a power loss or \\fBSIGKILL\\fR is finished from it by the next run, or at boot by\n"
      "\\fBvantorctl\\-recover.service\\fR, before the sensor starts.\n"
      ".TP\n.I " VANTOR_VENDOR_DIR "/Registry.bin\n"
      "The registry file, where the system tags are kept.\n"
      ".TP\n.I /proc/vantor_lsm_serviceable/systags\n"
      "The system tags of a running sensor, read first when present.\n",
      stream);
  std::fputs(".TP\n.I ", stream);
  PutText(stream, kPidFilePath);
  std::fputs("\nThe sensor daemon's PID file, for the reload signal.\n.TP\n.I ", stream);
  PutText(stream, kToolLogPath);
  std::fputs(
      "\nThe tool's log.\n"
      ".SH SIGNALS\n"
      "With \\fB\\-\\-update\\fR, setting \\fB\\-\\-trace\\fR, \\fB\\-\\-feature\\fR or \\fB\\-\\-logcounters\\fR\n"
      "sends \\fBSIGHUP\\fR to the sensor daemon named by its PID file, so that it takes the new\n"
      "value at once; the signal goes only to the process that itself holds the lock on its PID\n"
      "file. SIGTERM, SIGINT, SIGHUP and SIGQUIT are held off while the store is written, and\n"
      "the store's journal makes any interrupted run leave the old settings or the new ones,\n"
      "never a mix.\n"
      ".SH EXAMPLES\n"
      ".nf\n"
      "vantorctl \\-g \\-\\-cid \\-\\-tags\n"
      "vantorctl \\-s \\-v \\-\\-cid=00112233445566778899AABBCCDDEEFF08\n"
      "vantorctl \\-s \\-\\-provisioning\\-token=@/run/secrets/vantorctl/provisioning\\-token\n"
      "printf %s \"$CID\" | vantorctl \\-s \\-\\-cid=@/dev/stdin\n"
      "vantorctl \\-s \\-\\-trace=info \\-\\-update\n"
      "vantorctl \\-d \\-f \\-\\-tags\n"
      ".fi\n"
      ".SH SEE ALSO\n"
      ".BR flock (2),\n"
      ".BR setns (2),\n"
      ".BR signal (7)\n",
      stream);
}
