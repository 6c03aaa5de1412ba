// Test helpers for the registry: a fixture on a temporary registry file with
// node shortcuts, file bytes, an independent byte-level builder of registry
// files, and a capturing printer for DumpRegistry.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "registry/registry.h"
#include "runtime/trace.h"

namespace registry_test {

// A UNICODE_STRING over ASCII test text; owns its UTF-16 copy.
class Wide {
 public:
  explicit Wide(const std::string& text) : text_(text.begin(), text.end()) {
    string_.Length = static_cast<std::uint16_t>(text_.size() * 2);
    string_.MaximumLength = static_cast<std::uint16_t>(text_.size() * 2 + 2);
    string_.Buffer = text_.data();
  }
  const UNICODE_STRING* get() const { return &string_; }

 private:
  std::u16string text_;
  UNICODE_STRING string_{};
};

inline bool FileExists(const std::string& path) {
  struct stat st {};
  return lstat(path.c_str(), &st) == 0;
}

inline std::string ReadBytes(const std::string& path) {
  std::string bytes;
  FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    ADD_FAILURE() << "cannot open " << path;
    return bytes;
  }
  char chunk[4096];
  for (std::size_t n; (n = std::fread(chunk, 1, sizeof(chunk), f)) > 0;) {
    bytes.append(chunk, n);
  }
  std::fclose(f);
  return bytes;
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
  FILE* f = std::fopen(path.c_str(), "wb");
  ASSERT_NE(f, nullptr) << path;
  EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), f), bytes.size());
  std::fclose(f);
}

// Builds registry file images byte by byte, independently of the product's
// own encoder.
class Image {
 public:
  Image& Store(const GUID& g) { return Byte(0x01).Guid(g); }
  Image& Collection(const GUID& g) { return Byte(0x02).Guid(g); }
  Image& Record(const std::string& name) { return Byte(0x03).Name(name); }
  Image& Attribute(const std::string& name, const std::string& data) {
    return Byte(0x04).Name(name).U32(static_cast<std::uint32_t>(data.size())).Raw(data);
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
  Image& U32(std::uint32_t v) { return U16(static_cast<std::uint16_t>(v)).U16(static_cast<std::uint16_t>(v >> 16)); }
  Image& Guid(const GUID& g) {
    U32(g.Data1).U16(g.Data2).U16(g.Data3);
    return Raw(std::string(reinterpret_cast<const char*>(g.Data4), 8));
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

// DumpRegistry's output as one string.
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

inline constexpr GUID kGuidA = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}};
inline constexpr GUID kGuidB = {0xA0B0C0D0, 0x0102, 0x0304, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr GUID kGuidC = {0x00000001, 0x0000, 0xFFFF, {0, 0, 0, 0, 0, 0, 0, 0x80}};

// A registry file "Registry.bin" in a mkdtemp directory under /tmp (removed at
// the end), node shortcuts that expect success, and a close at the end.
class RegistryFixture : public ::testing::Test {
 protected:
  RegistryFixture() {
    char pattern[] = "/tmp/vt_registry_XXXXXX";
    const char* made = mkdtemp(pattern);
    EXPECT_NE(made, nullptr);
    dir_ = made != nullptr ? made : "/tmp/vt_registry_unmade";
  }
  ~RegistryFixture() override {
    std::error_code ignored;
    std::filesystem::remove_all(dir_, ignored);
  }
  void TearDown() override { CloseRegistry(); }

  std::string File(const std::string& name) const { return dir_ + "/" + name; }
  std::string Path() const { return File("Registry.bin"); }
  std::string TempPath() const { return Path() + ".tmp"; }
  NTSTATUS Open() { return OpenRegistry(Wide(Path()).get()); }

  RegistryNode* Store(const GUID& g) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->OpenStore(&g, nullptr, &node), STATUS_SUCCESS);
    return node;
  }
  RegistryNode* Collection(RegistryNode* store, const GUID& g, std::uint8_t isVolatile = 0) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->OpenCollection(store, isVolatile, &g, &node), STATUS_SUCCESS);
    return node;
  }
  RegistryNode* Record(RegistryNode* collection, const std::string& name, std::uint8_t isVolatile = 0) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(p_->CreateRecord(collection, Wide(name).get(), isVolatile, &node, nullptr), STATUS_SUCCESS);
    return node;
  }
  NTSTATUS Set(RegistryNode* record, const std::string& name, std::string data) {
    AttributeValue value{data.data(), static_cast<std::uint32_t>(data.size()), 0, STATUS_SUCCESS};
    return p_->SetAttribute(record, Wide(name).get(), &value);
  }
  // The children of `parent`, in enumeration order.
  std::vector<RegistryNode*> Children(RegistryNode* parent) {
    std::vector<RegistryNode*> children;
    RegistryEnumeration* walk = nullptr;
    EXPECT_EQ(p_->OpenEnumeration(parent, nullptr, &walk), STATUS_SUCCESS);
    RegistryNode* child = nullptr;
    while (p_->EnumerateNext(walk, &child) == STATUS_SUCCESS) {
      children.push_back(child);
    }
    EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);
    return children;
  }
  // Runs `body` with the trace log sent to a file in the directory; returns the log.
  template <typename Body>
  std::string Traced(Body body) {
    const std::string log = File("trace.log");
    TraceOpenLogFile(log.c_str(), nullptr);
    body();
    TraceCloseLogFile();
    return ReadBytes(log);
  }

  std::string dir_;
  const RegistryProvider* p_ = GetRegistryProvider();
};

}  // namespace registry_test
