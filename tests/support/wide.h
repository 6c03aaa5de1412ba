// The tests' one UTF-16 builder: a UNICODE_STRING over its own UTF-16 copy of
// ASCII text (or of given units). MaximumLength leaves room for a terminator,
// which is never written. The string points into the object, so it is neither
// copied nor moved.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/rtl_string.h"

namespace vt_test {

class Wide {
 public:
  explicit Wide(std::string_view ascii) : Wide(std::u16string(ascii.begin(), ascii.end())) {}
  explicit Wide(std::u16string units)
      : text_(std::move(units)),
        string_{static_cast<std::uint16_t>(text_.size() * 2), static_cast<std::uint16_t>(text_.size() * 2 + 2),
                text_.data()} {}
  Wide(const Wide&) = delete;
  Wide& operator=(const Wide&) = delete;
  // Valid while this object lives; a temporary lives to the end of the call.
  const UNICODE_STRING* get() const { return &string_; }

 private:
  std::u16string text_;
  UNICODE_STRING string_;
};

}  // namespace vt_test
