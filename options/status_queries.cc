#include "options/handlers.h"

#include <cstdio>

// PLACEHOLDER: replaced by the real handlers of this unit.
NTSTATUS HandleVersion(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleSystags(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleRfmState(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleRfmReason(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleRfmHistory(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
