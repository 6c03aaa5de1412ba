#include "options/option_context.h"

// PLACEHOLDER until the option table lands.
bool UpdateRequested() { return false; }
