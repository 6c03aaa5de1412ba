// Test helpers for the registry: a temporary directory, counted-string views of
// test text, file bytes, an independent byte-level builder of registry files, and
// a capturing printer for DumpRegistry.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "registry/registry.h"

namespace registry_test {

// mkdtemp under /tmp, removed with its contents at the end.
class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/vt_registry_XXXXXX";
    const char* made = mkdtemp(pattern);
    EXPECT_NE(made, nullptr);
    path_ = made != nullptr ? made : "";
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() { RemoveTree(path_); }
  std::string File(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

  static void RemoveTree(const std::string& path) {
    struct stat st {};
    if (lstat(path.c_str(), &st) != 0) {
      return;
    }
    if (S_ISDIR(st.st_mode)) {
      if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir)) {
          const std::string name = entry->d_name;
          if (name != "." && name != "..") {
            RemoveTree(path + "/" + name);
          }
        }
        closedir(dir);
      }
      rmdir(path.c_str());
    } else {
      unlink(path.c_str());
    }
  }

 private:
  std::string path_;
};

// A UNICODE_STRING over ASCII test text; owns its UTF-16 copy.
class Wide {
 public:
  explicit Wide(const std::string& text) : text_(text.begin(), text.end()) {
    string_.Length = static_cast<std::uint16_t>(text_.size() * 2);
    string_.MaximumLength = static_cast<std::uint16_t>(text_.size() * 2 + 2);
    string_.Buffer = text_.data();
  }
  Wide(const Wide&) = delete;
  Wide& operator=(const Wide&) = delete;
  const UNICODE_STRING* get() const { return &string_; }
  UNICODE_STRING* mutable_get() { return &string_; }

 private:
  std::u16string text_;
  UNICODE_STRING string_{};
};

inline bool FileExists(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0;
}

inline std::string ReadBytes(const std::string& path) {
  std::string bytes;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    ADD_FAILURE() << "cannot open " << path;
    return bytes;
  }
  char chunk[4096];
  ssize_t n;
  while ((n = read(fd, chunk, sizeof(chunk))) > 0) {
    bytes.append(chunk, static_cast<std::size_t>(n));
  }
  close(fd);
  return bytes;
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0660);
  ASSERT_GE(fd, 0) << path;
  ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  close(fd);
}

// Builds registry file images byte by byte, written out independently of the
// product's own encoder.
class Image {
 public:
  Image& Store(const GUID& g) { return Byte(0x01).Guid(g); }
  Image& Collection(const GUID& g) { return Byte(0x02).Guid(g); }
  Image& Record(const std::string& name) { return Byte(0x03).Name(name); }
  Image& Attribute(const std::string& name, const std::string& data) {
    Byte(0x04).Name(name).U32(static_cast<std::uint32_t>(data.size()));
    bytes_ += data;
    return *this;
  }
  Image& Raw(const std::string& raw) {
    bytes_ += raw;
    return *this;
  }
  Image& Byte(std::uint8_t b) {
    bytes_.push_back(static_cast<char>(b));
    return *this;
  }
  Image& U16(std::uint16_t v) { return Byte(static_cast<std::uint8_t>(v)).Byte(static_cast<std::uint8_t>(v >> 8)); }
  Image& U32(std::uint32_t v) {
    return U16(static_cast<std::uint16_t>(v)).U16(static_cast<std::uint16_t>(v >> 16));
  }
  Image& Guid(const GUID& g) {
    U32(g.Data1).U16(g.Data2).U16(g.Data3);
    for (std::uint8_t b : g.Data4) {
      Byte(b);
    }
    return *this;
  }
  Image& Name(const std::string& ascii) {
    U16(static_cast<std::uint16_t>(ascii.size() * 2));
    for (char c : ascii) {
      Byte(static_cast<std::uint8_t>(c)).Byte(0);
    }
    return *this;
  }
  const std::string& bytes() const { return bytes_; }
  std::size_t size() const { return bytes_.size(); }

 private:
  std::string bytes_;
};

// DumpRegistry printer that appends to one process-wide buffer.
inline std::string& CapturedDump() {
  static std::string text;
  return text;
}
inline int CapturePrinter(const char* format, ...) {
  char line[4096];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  CapturedDump() += line;
  return n;
}
inline std::string Dump() {
  CapturedDump().clear();
  DumpRegistry(CapturePrinter);
  return CapturedDump();
}

// Opens the registry on a temporary file and closes it again at the end.
class OpenedRegistry {
 public:
  explicit OpenedRegistry(const std::string& path) : path_(path) { status_ = OpenRegistry(path_.get()); }
  OpenedRegistry(const OpenedRegistry&) = delete;
  OpenedRegistry& operator=(const OpenedRegistry&) = delete;
  ~OpenedRegistry() { CloseRegistry(); }
  NTSTATUS status() const { return status_; }

 private:
  Wide path_;
  NTSTATUS status_;
};

inline constexpr GUID kGuidA = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}};
inline constexpr GUID kGuidB = {0xA0B0C0D0, 0x0102, 0x0304, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr GUID kGuidC = {0x00000001, 0x0000, 0xFFFF, {0, 0, 0, 0, 0, 0, 0, 0x80}};

}  // namespace registry_test
