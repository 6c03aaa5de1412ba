// Test helpers for the registry: a fixture on a temporary registry file with
// node shortcuts, an independent byte-level builder of registry files, and a
// capturing printer for DumpRegistry.
#pragma once

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "registry/registry.h"
#include "registry/registry_internal.h"
#include "tests/support/files.h"
#include "tests/support/heap.h"
#include "tests/support/trace_capture.h"
#include "tests/support/wide.h"

namespace registry_test {

using vt_test::Wide;

using vt_test::ReadWholeFile;

// Builds registry file images byte by byte, independently of the product's encoder.
struct Image {
  Image& Store(const GUID& g) { return Byte(0x01).Guid(g); }
  Image& Collection(const GUID& g) { return Byte(0x02).Guid(g); }
  Image& Record(const std::string& name) { return Byte(0x03).Name(name); }
  Image& Attribute(const std::string& name, const std::string& data) {
    return Byte(0x04).Name(name).U32(static_cast<std::uint32_t>(data.size())).Raw(data);
  }
  Image& Raw(const std::string& raw) { bytes += raw; return *this; }
  Image& Byte(std::uint8_t b) { return Raw(std::string(1, static_cast<char>(b))); }
  Image& U16(std::uint16_t v) { return Byte(static_cast<std::uint8_t>(v)).Byte(static_cast<std::uint8_t>(v >> 8)); }
  Image& U32(std::uint32_t v) { return U16(static_cast<std::uint16_t>(v)).U16(static_cast<std::uint16_t>(v >> 16)); }
  Image& Guid(const GUID& g) {
    return U32(g.Data1).U16(g.Data2).U16(g.Data3).Raw(std::string(reinterpret_cast<const char*>(g.Data4), 8));
  }
  Image& Name(const std::string& ascii) {
    U16(static_cast<std::uint16_t>(ascii.size() * 2));
    for (char c : ascii) Byte(static_cast<std::uint8_t>(c)).Byte(0);
    return *this;
  }
  std::string bytes;
};

// DumpRegistry's output as one string.
inline std::string gDumped;
inline int CapturePrinter(const char* format, ...) {
  char line[4096];
  va_list args;
  va_start(args, format);
  const int n = std::vsnprintf(line, sizeof(line), format, args);
  va_end(args);
  gDumped += line;
  return n;
}
inline std::string Dump() { gDumped.clear(); DumpRegistry(CapturePrinter); return std::exchange(gDumped, {}); }

inline constexpr GUID kGuidA = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x01}};
inline constexpr GUID kGuidB = {0xA0B0C0D0, 0x0102, 0x0304, {1, 2, 3, 4, 5, 6, 7, 8}};
inline constexpr GUID kGuidC = {0x00000001, 0x0000, 0xFFFF, {0, 0, 0, 0, 0, 0, 0, 0x80}};

// A registry file "Registry.bin" in a temporary directory, node shortcuts that
// expect success, and a close at the end that must leave the C heap as it found
// it (tests/support/heap.h). The registry's log lines go to the test's own
// trace log, opened before the heap is counted (trace_capture.h).
class RegistryFixture : public ::testing::Test {
 protected:
  void SetUp() override { heapInUse_ = (vt_test::LogMark(), vt_test::HeapInUse()); }
  void TearDown() override {
    CloseRegistry();
    vt_test::ExpectHeapAsBefore(heapInUse_);
  }

  std::string Path() const { return dir_ / "Registry.bin"; }
  NTSTATUS Open() { return OpenRegistry(Wide(Path()).get()); }

  template <typename Call> static RegistryNode* Made(Call call) {
    RegistryNode* node = nullptr;
    EXPECT_EQ(call(&node), STATUS_SUCCESS);
    return node;
  }
  RegistryNode* Store(const GUID& g) { return Made([&](RegistryNode** n) { return p_->OpenStore(&g, nullptr, n); }); }
  RegistryNode* Collection(RegistryNode* store, const GUID& g, std::uint8_t isVolatile = 0) {
    return Made([&](RegistryNode** n) { return p_->OpenCollection(store, isVolatile, &g, n); });
  }
  RegistryNode* Record(RegistryNode* collection, const std::string& name, std::uint8_t isVolatile = 0) {
    return Made([&](RegistryNode** n) { return p_->CreateRecord(collection, Wide(name).get(), isVolatile, n, nullptr); });
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
    for (RegistryNode* child = nullptr; p_->EnumerateNext(walk, &child) == STATUS_SUCCESS;) children.push_back(child);
    EXPECT_EQ(p_->CloseEnumeration(walk), STATUS_SUCCESS);
    return children;
  }

  vt_test::TempDir dir_;
  const RegistryProvider* p_ = GetRegistryProvider();
  std::size_t heapInUse_ = 0;
};

}  // namespace registry_test
