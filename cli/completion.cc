#include "cli/completion.h"

#include <cstdint>

#include "cli/option_table.h"
#include "cli/usage.h"

namespace {

void PrintModeWords(const char* mode, std::uint8_t mask, FILE* stream) {
  std::fprintf(stream, "    %s) opts='", mode);
  const char* separator = "";
  for (const OptionEntry& row : OptionTable()) {
    if (UsageBlockText(row, mask) == nullptr) {
      continue;
    }
    const bool takesValue = mask == kModeSet && row.longOption.has_arg != no_argument;
    std::fprintf(stream, "%s--%s%s", separator, row.longOption.name, takesValue ? "=" : "");
    separator = " ";
  }
  std::fputs("' ;;\n", stream);
}

}  // namespace

void PrintBashCompletion(FILE* stream) {
  std::fputs(
      "# bash completion for vantorctl, generated from its option table\n"
      "_vantorctl() {\n"
      "  local cur=${COMP_WORDS[COMP_CWORD]} word mode= opts\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case $word in\n"
      "      --*) ;;\n"
      "      -*s*) mode=set ;;\n"
      "      -*g*) mode=get ;;\n"
      "      -*d*) mode=del ;;\n"
      "    esac\n"
      "  done\n"
      "  case $mode in\n",
      stream);
  PrintModeWords("get", kModeGet, stream);
  PrintModeWords("set", kModeSet, stream);
  PrintModeWords("del", kModeDelete, stream);
  std::fputs(
      "    *) opts='-g -s -d -h --help' ;;\n"
      "  esac\n"
      "  [[ -n $mode ]] && opts+=' -f -v'\n"
      "  COMPREPLY=($(compgen -W \"$opts\" -- \"$cur\"))\n"
      "  [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]] && compopt -o nospace 2>/dev/null\n"
      "}\n"
      "complete -F _vantorctl vantorctl\n",
      stream);
}
