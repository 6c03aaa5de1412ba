#include "options/testing/handler_fakes.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "options/reload.h"
#include "store/simple_store.h"

namespace vt_test {
namespace {

FakeWorld world;

std::string Ascii(const UNICODE_STRING* name) {
  std::string text;
  for (std::size_t i = 0; i < name->Length / 2u; ++i) {
    text.push_back(static_cast<char>(name->Buffer[i]));
  }
  return text;
}

// Points `fd` at a fresh temporary file; returns the file and the saved fd.
struct Redirect {
  explicit Redirect(int target) : fd(target), file(std::tmpfile()), saved(dup(target)) { dup2(fileno(file), fd); }
  std::string Finish() {
    dup2(saved, fd);
    close(saved);
    std::string text;
    std::rewind(file);
    char buf[4096];
    for (std::size_t n; (n = std::fread(buf, 1, sizeof(buf), file)) > 0;) {
      text.append(buf, n);
    }
    std::fclose(file);
    return text;
  }
  int fd;
  std::FILE* file;
  int saved;
};

}  // namespace

FakeWorld& Fakes() { return world; }
void ResetFakes() { world = FakeWorld{}; }

HandlerRun RunHandler(OptionHandler handler, OptionContext context, const char* value) {
  std::fflush(stdout);
  std::fflush(stderr);
  Redirect out(STDOUT_FILENO);
  Redirect err(STDERR_FILENO);
  const NTSTATUS status = handler(&context, value);
  std::fflush(stdout);
  std::fflush(stderr);
  return HandlerRun{status, out.Finish(), err.Finish()};
}

OptionContext Mode(char mode, bool verbose, bool force, std::uint32_t remaining) {
  OptionContext context{};
  context.get = mode == 'g';
  context.set = mode == 's';
  context.del = mode == 'd';
  context.verbose = verbose;
  context.force = force;
  context.remaining = remaining;
  return context;
}

std::string U32(std::uint32_t value) {
  std::string bytes(4, '\0');
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[i] = static_cast<char>(value >> (8 * i));
  }
  return bytes;
}

}  // namespace vt_test

using vt_test::world;

// The store's contract, in memory (see store/simple_store.h).
NTSTATUS GetSimpleStoreValue(const UNICODE_STRING* name, void* buffer, std::uint32_t* size) {
  const std::string key = vt_test::Ascii(name);
  if (auto failure = world.getFailures.find(key); failure != world.getFailures.end()) {
    return failure->second;
  }
  const auto found = world.values.find(key);
  if (found == world.values.end()) {
    return STATUS_NOT_FOUND;
  }
  const auto length = static_cast<std::uint32_t>(found->second.size());
  std::memcpy(buffer, found->second.data(), length < *size ? length : *size);
  const bool tooSmall = length > *size;
  *size = length;
  return tooSmall ? STATUS_BUFFER_TOO_SMALL : STATUS_SUCCESS;
}

NTSTATUS SetSimpleStoreValue(const UNICODE_STRING* name, const void* data, std::uint32_t length) {
  const std::string key = vt_test::Ascii(name);
  world.events.push_back("set " + key);
  if (auto failure = world.setFailures.find(key); failure != world.setFailures.end()) {
    return failure->second;
  }
  if (length > 256) {
    return STATUS_INVALID_PARAMETER_2;
  }
  world.values[key].assign(static_cast<const char*>(data), length);
  return STATUS_SUCCESS;
}

NTSTATUS DeleteSimpleStoreValue(const UNICODE_STRING* name) {
  const std::string key = vt_test::Ascii(name);
  world.events.push_back("delete " + key);
  if (auto failure = world.deleteFailures.find(key); failure != world.deleteFailures.end()) {
    return failure->second;
  }
  return world.values.erase(key) != 0 ? STATUS_SUCCESS : STATUS_NOT_FOUND;
}

void SignalSensorReload() { world.events.emplace_back("signal"); }

bool UpdateRequested() { return world.update; }
