// Test helpers (header-only, tests only): a per-process trace log in a temp dir
// so a test can see which lines an operation wrote, and a temp-dir owner.
#pragma once

#include <fcntl.h>
#include <ftw.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "runtime/trace.h"
#include "tests/support/files.h"

namespace vt_test {

// Removes a tree without following links.
inline void RemoveTree(const std::string& path) {
  (void)nftw(
      path.c_str(), [](const char* p, const struct stat*, int, FTW*) { return remove(p); }, 16,
      FTW_DEPTH | FTW_PHYS);
}

// A fresh directory under /tmp, removed with its contents on destruction.
class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/vt_h3_XXXXXX";
    if (mkdtemp(pattern) != nullptr) {
      path_ = pattern;
    }
  }
  ~TempDir() {
    if (!path_.empty()) {
      RemoveTree(path_);
    }
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

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
