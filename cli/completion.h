// Shell completion, generated from the option table like the usage text, so the
// two never disagree.
#pragma once

#include <cstdio>

// Writes a bash completion script for vantorctl to `stream`. After a mode flag
// (-g, -s, -d, alone or in a cluster such as -sfv) it offers the long options
// that mode's usage block lists, with "=" after value-taking ones in set mode;
// before one it offers the mode and help flags. After "--name=" in set mode it
// offers the words of that option's closed set of values (its settings row),
// each word of a comma-separated list in turn.
void PrintBashCompletion(FILE* stream);
