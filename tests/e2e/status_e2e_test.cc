// The sensor status queries run end to end: --version, --systags from the kernel
// interface file or from the registry file, and the RFM options over a seeded
// configuration store.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"
#include "tests/e2e/sandbox.h"
#include "tests/support/store_image.h"

namespace vt_test {
namespace {

constexpr char kSystagsFile[] = "/proc/vantor_lsm_serviceable/systags";
constexpr char kRegistryPath[] = "/opt/Marrowlight/Registry.bin";

// ---- Registry file bytes, built by hand ----

std::string U16Bytes(std::uint16_t v) { return std::string{static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)}; }

std::string Utf16(const std::string& ascii) {
  std::string bytes;
  for (char c : ascii) {
    bytes.push_back(c);
    bytes.push_back('\0');
  }
  return bytes;
}

// 0x01 + the system-tag store GUID, 0x02 + the system-tag collection GUID.
std::string SystemTagStoreAndCollection() {
  std::string bytes = "\x01";
  bytes += U32Bytes(0x733c9a98) + U16Bytes(0x7f6b) + U16Bytes(0x4538);
  bytes += std::string("\x9a\x35\x5c\x19\x5f\x22\x4c\x0d", 8);
  bytes += "\x02";
  bytes += std::string(15, '\0') + "\x0b";
  return bytes;
}

std::string RecordEntry(const std::string& name) {
  return "\x03" + U16Bytes(static_cast<std::uint16_t>(name.size() * 2)) + Utf16(name);
}

std::string AttributeEntry(const std::string& name, const std::string& data) {
  return "\x04" + U16Bytes(static_cast<std::uint16_t>(name.size() * 2)) + Utf16(name) +
         U32Bytes(static_cast<std::uint32_t>(data.size())) + data;
}

constexpr char kBitmapName[] = "{c68df783-ec90-43ab-b6b3-03001700cc2b}";
constexpr char kListName[] = "{f8e11898-7dc7-4025-abc3-b930753f2911}";

std::string RegistryWithTags(const std::string& bitmap, const std::vector<std::uint64_t>& list) {
  std::string listBytes;
  for (std::uint64_t v : list) listBytes += U64Bytes(v);
  return SystemTagStoreAndCollection() + RecordEntry("00:00:00:00") + AttributeEntry(kBitmapName, bitmap) +
         AttributeEntry(kListName, listBytes);
}

std::string Bitmap(std::initializer_list<std::pair<int, unsigned char>> bytes) {
  std::string bitmap(64, '\0');
  for (auto [index, value] : bytes) bitmap[static_cast<std::size_t>(index)] = static_cast<char>(value);
  return bitmap;
}

std::string Entry(std::uint32_t backend, std::uint32_t inRfm, std::uint32_t reason) {
  return U32Bytes(backend) + U32Bytes(inRfm) + U32Bytes(reason);
}

SandboxResult RunWithProcFile(std::vector<std::string> args, std::vector<SeedFile> files,
                              std::vector<std::string> dirs = {}) {
  SandboxOptions options;
  options.args = std::move(args);
  options.files = std::move(files);
  options.dirs = std::move(dirs);
  options.procTmpfs = true;
  return RunInSandbox(options);
}

void ExpectRun(const SandboxResult& r, const std::string& out, const std::string& err, int exitCode) {
  EXPECT_EQ(r.out, out);
  EXPECT_EQ(r.err, err);
  EXPECT_EQ(r.exitCode, exitCode);
}

// ---- --version ----

TEST(StatusE2e, VersionLineDoesNotCountDown) {
  ExpectRun(RunTool({"-g", "--version"}), "version = 1.0.0.0\n\n", "", 0);
  // The version line leaves `remaining` alone, so rfm-state is not the last
  // counted result and gets ", ".
  ExpectRun(RunTool({"-g", "--version", "--rfm-state"}), "version = 1.0.0.0\nrfm-state is not set, \n", "", 0);
}

// ---- --systags from the kernel interface file ----

TEST(StatusE2e, SystagsCopiesKernelFile) {
  std::string big;
  for (int i = 0; big.size() < 5000; ++i) big += std::to_string(i) + "\n";
  struct Case {
    const char* name;
    std::string content;
    std::string printed;
  };
  const Case cases[] = {
      {"lines", "12\n345\n", "12\n345\n"},
      {"no final newline, odd bytes", "7,\t\xff x", "7,\t\xff x"},
      {"ends at a NUL", std::string("1\n\0" "2\n", 5), "1\n"},
      {"empty", "", ""},
      {"cut at 4095 bytes", big, big.substr(0, 4095)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    // A registry that would give other tags must not be consulted.
    const SandboxResult r = RunWithProcFile(
        {"-g", "--systags"},
        {{kSystagsFile, c.content, 0644}, {kRegistryPath, RegistryWithTags(Bitmap({{0, 0x01}}), {99}), 0660}});
    ExpectRun(r, c.printed + "\n", "", 0);
  }
}

TEST(StatusE2e, SystagsKernelFileDoesNotCountDownAndReadFailureIsReported) {
  const SandboxResult both =
      RunWithProcFile({"-g", "--systags", "--rfm-state"}, {{kSystagsFile, "5\n", 0644}});
  ExpectRun(both, "5\nrfm-state is not set, \n", "", 0);

  // A directory in place of the file: it exists and opens, but cannot be read.
  const SandboxResult unreadable = RunWithProcFile({"-g", "--systags"}, {}, {kSystagsFile});
  ExpectRun(unreadable, "\n", HandlerFailure("Could not read systags\n", "systags"), 1);
}

// ---- --systags from the registry ----

TEST(StatusE2e, SystagsFromRegistryBitmapThenList) {
  struct Case {
    const char* name;
    std::string registry;
    std::string out;
  };
  const Case cases[] = {
      {"bitmap edges and a list value", RegistryWithTags(Bitmap({{0, 0x05}, {63, 0x80}}), {1000}),
       "0\n2\n511\n1000\n"},
      {"list order kept, duplicates kept, 64-bit values",
       RegistryWithTags(Bitmap({{1, 0x80}}), {7, 15, 0xFFFFFFFFFFFFFFFFull}),
       "15\n7\n15\n18446744073709551615\n"},
      {"nothing set", RegistryWithTags(Bitmap({}), {}), ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const SandboxResult r = RunTool({"-g", "--systags"}, {{kRegistryPath, c.registry, 0660}});
    ExpectRun(r, c.out + "\n", "", 0);
  }

  // Registry lines do not count down either.
  const SandboxResult withRfm =
      RunTool({"-g", "--systags", "--rfm-reason"},
              {{kRegistryPath, RegistryWithTags(Bitmap({{0, 0x02}}), {}), 0660}});
  ExpectRun(withRfm, "1\nrfm-reason is not set, \n", "", 0);
}

TEST(StatusE2e, SystagsRegistryFailures) {
  // A registry path that cannot be opened as a file: nothing on stdout but the
  // driver's final newline.
  SandboxOptions options;
  options.args = {"-g", "--systags"};
  options.dirs = {kRegistryPath};
  ExpectRun(RunInSandbox(options), "\n", HandlerFailure("Could not read systags\n", "systags"), 1);

  // Loaded, but without the system-tag record: the enumeration fails; the
  // failure comes back from the handler with no diagnostic of its own.
  const SandboxResult noRecord = RunTool({"-g", "--systags"}, {{kRegistryPath, SystemTagStoreAndCollection(), 0660}});
  ExpectRun(noRecord, "\n", HandlerFailure("", "systags"), 1);

  // Bitmap tags are printed before a missing list attribute fails the run.
  const std::string noList = SystemTagStoreAndCollection() + RecordEntry("00:00:00:00") +
                             AttributeEntry(kBitmapName, Bitmap({{2, 0x01}}));
  const SandboxResult partial = RunTool({"-g", "--systags"}, {{kRegistryPath, noList, 0660}});
  ExpectRun(partial, "16\n\n", HandlerFailure("", "systags"), 1);
}

// ---- RFM options ----

TEST(StatusE2e, RfmOptionsOverStoredHistory) {
  const std::string all[] = {"--rfm-state", "--rfm-reason", "--rfm-history"};
  struct Case {
    const char* name;
    std::optional<std::string> history;
    std::string out;
  };
  const Case cases[] = {
      {"no history", std::nullopt, "rfm-state is not set, rfm-reason is not set, rfm-history is not set."},
      {"12 bytes", Entry(0, 1, 0xC000036C),
       "rfm-state=true, rfm-reason=Kernel modules blocked by user, code=0xC000036C, "
       "rfm-history={[0 (newest)] kernel backend, in RFM, rfm-reason=Kernel modules blocked by user, "
       "code=0xC000036C}."},
      {"24 bytes", Entry(1, 1, 0xE00400AC) + Entry(0, 0, 0),
       "rfm-state=true, rfm-reason=BPF is blocked on this system, code=0xE00400AC, "
       "rfm-history={[0 (newest)] bpf backend, in RFM, rfm-reason=BPF is blocked on this system, "
       "code=0xE00400AC; [1] kernel backend, not in RFM, rfm-reason=None, code=0x0}."},
      {"36 bytes, unknown code", Entry(0, 0, 0xC0000106) + Entry(1, 1, 0xC0000206) + Entry(0, 1, 0x0BADC0DE),
       "rfm-state=false, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106, "
       "rfm-history={[0 (newest)] kernel backend, not in RFM, rfm-reason=KernelModuleArchive file is corrupt, "
       "code=0xC0000106; [1] bpf backend, in RFM, rfm-reason=KernelModuleArchive file is corrupt, "
       "code=0xC0000206; [2] kernel backend, in RFM, rfm-reason=Unspecified, code=0xBADC0DE}."},
      {"5 bytes", std::string("\x01\x00\x00\x00\x01", 5), "rfm-state is not set, rfm-reason is not set, ."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    StoreImage seed;
    if (c.history) seed.Add("RFMHistory", *c.history);
    const SandboxResult r = RunOnStore(seed, {"-g", all[0], all[1], all[2]});
    ExpectRun(r, c.out + "\n", "", 0);
    // Queries never write: the store is byte-identical afterwards.
    EXPECT_EQ(r.File(kStorePath), seed.bytes());
  }
}

TEST(StatusE2e, UnknownRfmStateFailsButHistoryShowsNotInRfm) {
  StoreImage seed;
  seed.Add("RFMHistory", Entry(1, 2, 0xE00400AD));
  const SandboxResult history = RunOnStore(seed, {"-g", "--rfm-history"});
  ExpectRun(history,
            "rfm-history={[0 (newest)] bpf backend, not in RFM, rfm-reason=BPF program-load error, "
            "code=0xE00400AD}.\n",
            "", 0);

  // rfm-state fails before rfm-history is reached; nothing more is printed.
  const SandboxResult state = RunOnStore(seed, {"-g", "--rfm-state", "--rfm-history"});
  ExpectRun(state, "\n", HandlerFailure("Unknown RFM rfm-state!\n", "rfm-state"), 1);
}

}  // namespace
}  // namespace vt_test
