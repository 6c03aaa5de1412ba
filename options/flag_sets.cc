#include "options/handlers.h"

#include <cstdio>

// PLACEHOLDER: replaced by the real handlers of this unit.
NTSTATUS HandleFeature(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
NTSTATUS HandleMetadataQuery(OptionContext*, const char*) { std::fputs("not implemented yet\n", stderr); return STATUS_UNSUCCESSFUL; }
