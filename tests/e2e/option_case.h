// The sandbox runner and the store image builder together, for the end-to-end
// tests written as programs (interruption). Byte-exact runs of the binary are
// transcripts in tests/cases/.
#pragma once

#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"
