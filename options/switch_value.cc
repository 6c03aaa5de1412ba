#include "options/switch_value.h"

#include <strings.h>

#include <cstring>

bool ParseSwitchValue(const char* text, std::uint32_t* value) {
  if (text == nullptr) {
    return false;
  }
  if (strcasecmp(text, "TRUE") == 0 || std::strcmp(text, "1") == 0) {
    *value = 1;
    return true;
  }
  if (strcasecmp(text, "FALSE") == 0 || std::strcmp(text, "0") == 0) {
    *value = 0;
    return true;
  }
  return false;
}
