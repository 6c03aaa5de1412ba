// The manual page vantorctl(8), generated from the option table like the usage
// text and the completion, so that none of them can list an option the others
// do not.
#pragma once

#include <cstdio>

// Writes the page in man(7) roff to `stream`: NAME, SYNOPSIS, DESCRIPTION,
// OPTIONS (every row the usage text shows, with its modes, its value syntax and
// the accepted values of a closed set), EXIT STATUS, FILES, SIGNALS, EXAMPLES
// and SEE ALSO. `version` goes into the page's title line.
void PrintManPage(FILE* stream, const char* version);
