#include "options/handlers.h"

#include <cstdio>

// PLACEHOLDER: replaced by the real handlers of this unit.
NTSTATUS HandleTrace(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleBackend(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleBilling(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleFkm(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
