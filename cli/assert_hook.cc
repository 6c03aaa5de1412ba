// The failure hook of the standard library's own checks (_GLIBCXX_ASSERTIONS).
// The static C++ runtime defines it in an object that also drags in exception
// handling, the unwinder and the demangler, all of which this program would
// load, bind and relocate at every start without ever using them. This
// definition takes its place: same message, then abort.
#include <cstdio>
#include <cstdlib>

namespace std {
[[noreturn]] void __glibcxx_assert_fail(const char* file, int line, const char* function,
                                        const char* condition) noexcept {
  if (file != nullptr && function != nullptr && condition != nullptr) {
    std::fprintf(stderr, "%s:%d: %s: Assertion '%s' failed.\n", file, line, function, condition);
  }
  std::abort();
}
}  // namespace std
