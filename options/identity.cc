#include "options/handlers.h"

#include <cstdio>

// PLACEHOLDER: replaced by the real handlers of this unit.
NTSTATUS HandleCid(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleAid(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleProvisioningToken(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
