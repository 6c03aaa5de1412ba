// A printf format that is checked against its arguments when the program is
// compiled, also where it is kept in data (the settings rows): Message<A...>
// can only be made, at compile time, from a format whose conversions take
// A... in order (or a leading part of them: a row's message may leave an
// argument it is given unused). A Message<> takes no argument and holds no '%'
// at all: it is written as it stands. A format that does not fit fails the build at
// the place it is written, naming FormatDoesNotMatchItsArguments. Every result
// and diagnostic the handlers print goes through one (options/value_print.h).
#pragma once

#include <cstddef>
#include <type_traits>

// Called only when a format does not fit: not constexpr, so the compile-time
// check that reaches it fails. Never defined.
void FormatDoesNotMatchItsArguments();

namespace message_format {

// What a conversion takes: 's' text, 'i' int, 'u' unsigned int, 'L' long,
// 'U' unsigned long, 'f' double, 'p' pointer.
template <typename T>
constexpr char KindOf() {
  using U = std::remove_cv_t<T>;
  if constexpr (std::is_same_v<U, const char*> || std::is_same_v<U, char*>) return 's';
  else if constexpr (std::is_same_v<U, int> || std::is_same_v<U, char>) return 'i';  // a char goes as an int
  else if constexpr (std::is_same_v<U, unsigned>) return 'u';
  else if constexpr (std::is_same_v<U, long>) return 'L';
  else if constexpr (std::is_same_v<U, unsigned long>) return 'U';
  else if constexpr (std::is_same_v<U, double>) return 'f';
  else if constexpr (std::is_pointer_v<U>) return 'p';
  else return '?';
}

// The kinds the conversions of `text` take, in order, into `kinds` (room for
// `room`); returns their count, or -1 for a conversion this checker does not
// know (%n among them).
constexpr int Parse(const char* text, char* kinds, int room) {
  int count = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p != '%') continue;
    ++p;
    if (*p == '%') continue;
    while (*p == '-' || *p == '+' || *p == ' ' || *p == '#' || *p == '0') ++p;
    if (*p == '*') return -1;
    while (*p >= '0' && *p <= '9') ++p;
    if (*p == '.') {
      ++p;
      if (*p == '*') return -1;
      while (*p >= '0' && *p <= '9') ++p;
    }
    int longs = 0;
    while (*p == 'l') ++longs, ++p;
    char kind = '?';
    switch (*p) {
      case 'd': case 'i': case 'c': kind = longs == 0 ? 'i' : longs == 1 ? 'L' : '?'; break;
      case 'u': case 'x': case 'X': case 'o': kind = longs == 0 ? 'u' : longs == 1 ? 'U' : '?'; break;
      case 's': kind = longs == 0 ? 's' : '?'; break;
      case 'f': case 'e': case 'g': kind = 'f'; break;
      case 'p': kind = 'p'; break;
      default: break;
    }
    if (kind == '?' || count == room) return -1;
    kinds[count++] = kind;
  }
  return count;
}

template <typename... Args>
constexpr bool Fits(const char* text) {
  constexpr int kArgs = static_cast<int>(sizeof...(Args));
  if constexpr (kArgs == 0) {
    // Printed as it stands (no printf): no '%' at all, not even "%%".
    for (const char* p = text; *p != '\0'; ++p) {
      if (*p == '%') return false;
    }
    return true;
  }
  char kinds[kArgs + 1] = {};
  const int count = Parse(text, kinds, kArgs);
  if (count < 0) return false;
  const char expected[kArgs + 1] = {KindOf<Args>()..., '\0'};
  for (int i = 0; i < count; ++i) {
    if (kinds[i] != expected[i]) return false;
  }
  return true;
}

}  // namespace message_format

template <typename... Args>
class Message {
 public:
  constexpr Message(std::nullptr_t) : text_(nullptr) {}
  consteval Message(const char* text) : text_(text) {
    if (!message_format::Fits<Args...>(text)) FormatDoesNotMatchItsArguments();
  }
  constexpr const char* text() const { return text_; }
  constexpr explicit operator bool() const { return text_ != nullptr; }

 private:
  const char* text_;
};
