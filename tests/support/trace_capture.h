// Test helper (header-only, tests only): a per-process trace log in a temp dir
// so a test can see which lines an operation wrote.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

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

}  // namespace vt_test
