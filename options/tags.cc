// --tags: the sensor's grouping tags, stored as text. The settings row gives the
// value name and declares a stored list protected: replacing or deleting it
// needs -f (GuardStoredValue).
//
// Output follows the common rule that a set or delete prints only with -v; a
// get always prints.
#include <cstdint>
#include <cstring>
#include <string_view>

#include "options/handlers.h"
#include "options/stored_value.h"
#include "options/settings.h"
#include "options/value_print.h"

namespace {

constexpr std::size_t kMaxTagsLength = 256;
constexpr Message<> kNotSet = "Sensor grouping tags are not set";

constexpr bool IsTagCharacter(char c) {
  // Explicit ASCII ranges: the "C" locale's alphanumerics. Bytes of 0x80 and
  // above are negative as char and fall outside every range.
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         value_sets::kTagPunctuation.find(c) != std::string_view::npos;
}

// A list of 1 to 256 bytes of tag characters, commas only between tags.
bool IsValidTagList(const char* value) {
  const std::size_t length = strnlen(value, kMaxTagsLength + 1);
  if (length == 0 || length > kMaxTagsLength) {
    return false;
  }
  const std::string_view list(value, length);
  if (list.front() == ',' || list.back() == ',') {
    return false;
  }
  for (std::size_t i = 0; i < length; ++i) {
    const char c = list[i];
    if (c == ',') {
      if (list[i - 1] == ',') {  // i > 0: the first character is not a comma
        return false;
      }
    } else if (!IsTagCharacter(c)) {
      return false;
    }
  }
  return true;
}

}  // namespace

NTSTATUS HandleTags(OptionContext* context, const char* value) {
  const Setting& row = SettingOf(OptionId::kTags);
  // Room for the terminator after a full 256-byte list.
  char stored[kMaxTagsLength + 1];
  bool exists = false;
  if (const NTSTATUS status = GuardStoredValue(context, row, ReadTextValue(&row.name, stored), &exists);
      !NT_SUCCESS(status)) {
    return status;
  }

  if (context->set) {
    if (!IsValidTagList(value)) {
      PrintDiagnostic("Sensor grouping tags have an invalid format\n");
      return STATUS_INVALID_PARAMETER_1;
    }
    const NTSTATUS status = WriteTextValue(&row.name, value);
    if (!NT_SUCCESS(status)) {
      PrintDiagnostic("Could not write the sensor grouping tags '%s' to config file\n", value);
      return status;
    }
    if (context->verbose) {
      PrintValue(context, "tags=%s", value);
    }
    return STATUS_SUCCESS;
  }

  if (context->del) {
    if (exists) {
      const NTSTATUS status = DeleteSimpleStoreValue(&row.name);
      // Gone between the read and the delete (the daemon shares the file) is a
      // failed delete too, as for the identifiers: this run did not delete it.
      if (!NT_SUCCESS(status)) {
        PrintDiagnostic("Could not delete the sensor grouping tags from config file\n");
        return status;
      }
    }
    if (context->verbose) {
      PrintValue(context, kNotSet);
    }
    return STATUS_SUCCESS;
  }

  if (exists) {
    PrintValue(context, "tags=%s", stored);
  } else {
    PrintValue(context, kNotSet);
  }
  return STATUS_SUCCESS;
}
