#include "options/handlers.h"

#include <cstdio>

// PLACEHOLDER: replaced by the real handlers of this unit.
NTSTATUS HandleApd(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleAph(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleApp(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandlePcpt(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
