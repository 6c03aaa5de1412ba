#include "cli/completion.h"

#include <cstdint>

#include "cli/option_table.h"
#include "cli/usage.h"
#include "options/settings.h"

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

// One case arm per set-mode row with a closed set of values: its words, and
// whether they form a comma-separated list.
void PrintValueArms(FILE* stream) {
  for (const OptionEntry& row : OptionTable()) {
    if (UsageBlockText(row, kModeSet) == nullptr) {
      continue;
    }
    const Setting* setting = FindSetting(row.id);
    if (setting == nullptr) {
      continue;
    }
    const char* separator = "";
    ForEachValueWord(*setting, [&](std::string_view word) {
      if (*separator == '\0') {
        std::fprintf(stream, "      --%s) words='", row.longOption.name);
      }
      std::fprintf(stream, "%s%.*s", separator, static_cast<int>(word.size()), word.data());
      separator = " ";
    });
    if (*separator != '\0') {
      std::fprintf(stream, "'%s ;;\n", TakesWordList(*setting) ? " list=1" : "");
    }
  }
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
      "  # A value after --name= in set mode: the words of that option's set. The\n"
      "  # argument is read from the line itself, whatever COMP_WORDBREAKS holds.\n"
      "  local line=${COMP_LINE:0:COMP_POINT}\n"
      "  local arg=${line##*[[:space:]]}\n"
      "  if [[ $mode == set && $arg == --*=* ]]; then\n"
      "    local name=${arg%%=*} value=${arg#*=} words= list= head=\n"
      "    case $name in\n",
      stream);
  PrintValueArms(stream);
  std::fputs(
      "      *) return ;;\n"
      "    esac\n"
      "    if [[ -n $list ]]; then head=${value%\"${value##*,}\"}; value=${value##*,}; fi\n"
      "    [[ $COMP_WORDBREAKS == *=* ]] || head=\"$name=$head\"\n"
      "    COMPREPLY=($(compgen -P \"$head\" -W \"$words\" -- \"$value\"))\n"
      "    return\n"
      "  fi\n"
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
