// The text form of the true/false switches (apd, fkm, logcounters).
#pragma once

#include <cstdint>

// Parses a switch value: "TRUE" or "FALSE" in any letter case, or exactly "1" or
// "0". On success stores 1 or 0 in *value and returns true; otherwise returns
// false and leaves *value untouched. A null text is rejected.
[[nodiscard]] bool ParseSwitchValue(const char* text, std::uint32_t* value);
