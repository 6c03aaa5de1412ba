// Test helper (header-only, tests only): a per-process trace log in a temp dir
// so a test can see which lines an operation wrote.
#pragma once


#include <string>

#include "runtime/trace.h"
#include "tests/support/files.h"

namespace vt_test {

// The trace log of this test process, opened on first use in its own temp dir.
// LogMark() remembers the current end; LogSince(mark) returns what was written
// after it.
class TraceCapture {
 public:
  static TraceCapture& Get() {
    static TraceCapture capture;  // function-local: built on first use only
    return capture;
  }
  std::size_t Mark() const { return ReadWholeFile(path_).size(); }
  std::string Since(std::size_t mark) const { return ReadWholeFile(path_).substr(mark); }

 private:
  TraceCapture() : path_(dir_ / "trace.log") { TraceOpenLogFile(path_.c_str(), nullptr); }
  TempDir dir_;
  std::string path_;
};

inline std::size_t LogMark() { return TraceCapture::Get().Mark(); }
inline std::string LogSince(std::size_t mark) { return TraceCapture::Get().Since(mark); }
// The messages of the lines written after `mark`, one per line, without the
// time in front ("%c" in the C locale: 24 characters and a space) or the
// thread and message number after the tab.
inline std::string LogMessagesSince(std::size_t mark) {
  std::string messages;
  const std::string text = LogSince(mark);
  for (std::size_t at = 0, end; (end = text.find('\n', at)) != std::string::npos; at = end + 1) {
    messages += text.substr(at + 25, text.find('\t', at) - at - 25) + "\n";
  }
  return messages;
}

}  // namespace vt_test
