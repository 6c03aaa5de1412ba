// The sensor status queries run end to end: --version, --systags from the kernel
// interface file or from the registry file, and the RFM options over a seeded
// configuration store.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/e2e/option_case.h"
#include "tests/support/registry_image.h"

namespace vt_test {
namespace {

constexpr char kSystagsFile[] = "/proc/vantor_lsm_serviceable/systags";

SandboxResult RunWith(std::vector<std::string> args, std::vector<SeedFile> files, bool procTmpfs,
                      std::vector<std::string> dirs = {}) {
  SandboxOptions options;
  options.args = std::move(args);
  options.files = std::move(files);
  options.dirs = std::move(dirs);
  options.procTmpfs = procTmpfs;
  return RunInSandbox(options);
}

using StatusE2e = ::vt_test::SandboxTest;

TEST_F(StatusE2e, SystagsFromTheKernelFile) {
  std::string big;
  for (int i = 0; big.size() < 5000; ++i) big += std::to_string(i) + "\n";
  // Content and what is printed: lines, no final newline with odd bytes, a NUL
  // that ends the text, nothing, and more than 4095 bytes.
  for (const auto& [content, printed] :
       {std::pair<std::string, std::string>{"12\n345\n", "12\n345\n"}, {"7,\t\xff x", "7,\t\xff x"},
        {std::string("1\n\0" "2\n", 5), "1\n"}, {"", ""}, {big, big.substr(0, 4095)}}) {
    SCOPED_TRACE(printed.size());
    // A registry that would give other tags must not be consulted.
    const std::string registry = Registry(Bitmap({{0, 1}}), {99});
    ExpectRun(RunWith({"-g", "--systags"}, {{kSystagsFile, content, 0644}, {kRegistryPath, registry}}, true),
              printed + "\n", "", 0);
  }
  // The lines do not count down: rfm-state is not the last result and gets ", ".
  ExpectRun(RunWith({"-g", "--systags", "--rfm-state"}, {{kSystagsFile, "5\n", 0644}}, true),
            "5\nrfm-state is not set, \n", "", 0);
  // A directory in place of the file: it exists and opens, but cannot be read.
  ExpectRun(RunWith({"-g", "--systags"}, {}, true, {kSystagsFile}), "\n",
            HandlerFailure("Could not read systags\n", "systags"), 1);
}

TEST_F(StatusE2e, SystagsFromTheRegistry) {
  const std::string failed = HandlerFailure("", "systags");
  const struct {
    const char* name;
    std::vector<std::string> args;
    std::string registry;
    std::string out;
    std::string err;
  } cases[] = {
      {"bitmap edges and a list value", {"-g", "--systags"}, Registry(Bitmap({{0, 0x05}, {63, 0x80}}), {1000}),
       "0\n2\n511\n1000\n\n", ""},
      {"list order and duplicates kept, 64-bit values", {"-g", "--systags"},
       Registry(Bitmap({{1, 0x80}}), {7, 15, 0xFFFFFFFFFFFFFFFFull}), "15\n7\n15\n18446744073709551615\n\n", ""},
      {"nothing set", {"-g", "--systags"}, Registry(Bitmap({}), {}), "\n", ""},
      {"no count down", {"-g", "--systags", "--rfm-reason"}, Registry(Bitmap({{0, 0x02}}), {}),
       "1\nrfm-reason is not set, \n", ""},
      // Without the system-tag record the enumeration fails with no diagnostic
      // of the handler's own; bitmap tags print before a missing list fails.
      {"no record", {"-g", "--systags"}, TagStore(), "\n", failed},
      {"no list", {"-g", "--systags"}, WithBitmap(Bitmap({{2, 0x01}})), "16\n\n", failed},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    ExpectRun(RunTool(c.args, {{kRegistryPath, c.registry}}), c.out, c.err, c.err.empty() ? 0 : 1);
  }
  // A registry that cannot be loaded: nothing on stdout but the final newline.
  ExpectRun(RunWith({"-g", "--systags"}, {}, false, {kRegistryPath}), "\n",
            HandlerFailure("Could not read systags\n", "systags"), 1);
}

std::string Entry(std::uint32_t backend, std::uint32_t inRfm, std::uint32_t reason) {
  return U32Bytes(backend) + U32Bytes(inRfm) + U32Bytes(reason);
}

TEST_F(StatusE2e, VersionAndRfm) {
  const auto history = [](const std::string& bytes) { return StoreImage().Add("RFMHistory", bytes); };
  const std::vector<std::string> all = {"-g", "--rfm-state", "--rfm-reason", "--rfm-history"};
  const StoreImage inRfm2 = history(Entry(1, 2, 0xE00400AD));
  ExpectCases({
      Shows("version", {}, {"-g", "--version"}, "version = 1.0.0.0\n\n"),
      // The version line does not count down: rfm-state gets ", ".
      Shows("version first", {}, {"-g", "--version", "--rfm-state"}, "version = 1.0.0.0\nrfm-state is not set, \n"),
      Shows("no history", {}, all, "rfm-state is not set, rfm-reason is not set, rfm-history is not set.\n"),
      Shows("12 bytes", history(Entry(0, 1, 0xC000036C)), all,
            "rfm-state=true, rfm-reason=Kernel modules blocked by user, code=0xC000036C, "
            "rfm-history={[0 (newest)] kernel backend, in RFM, rfm-reason=Kernel modules blocked by user, "
            "code=0xC000036C}.\n"),
      Shows("24 bytes", history(Entry(1, 1, 0xE00400AC) + Entry(0, 0, 0)), all,
            "rfm-state=true, rfm-reason=BPF is blocked on this system, code=0xE00400AC, "
            "rfm-history={[0 (newest)] bpf backend, in RFM, rfm-reason=BPF is blocked on this system, "
            "code=0xE00400AC; [1] kernel backend, not in RFM, rfm-reason=None, code=0x0}.\n"),
      Shows("36 bytes, unknown code",
            history(Entry(0, 0, 0xC0000106) + Entry(1, 1, 0xC0000206) + Entry(0, 1, 0x0BADC0DE)), all,
            "rfm-state=false, rfm-reason=KernelModuleArchive file is corrupt, code=0xC0000106, "
            "rfm-history={[0 (newest)] kernel backend, not in RFM, rfm-reason=KernelModuleArchive file is corrupt, "
            "code=0xC0000106; [1] bpf backend, in RFM, rfm-reason=KernelModuleArchive file is corrupt, "
            "code=0xC0000206; [2] kernel backend, in RFM, rfm-reason=Unspecified, code=0xBADC0DE}.\n"),
      // Less than one entry: nothing is read past the value.
      Shows("11 bytes", history(std::string(11, '\x01')), all, "rfm-state is not set, rfm-reason is not set, .\n"),
      Shows("InRfm 2 in the history", inRfm2, {"-g", "--rfm-history"},
            "rfm-history={[0 (newest)] bpf backend, not in RFM, rfm-reason=BPF program-load error, "
            "code=0xE00400AD}.\n"),
      // rfm-state fails before rfm-history is reached; nothing more is printed.
      Refused("InRfm 2 for rfm-state", inRfm2, {"-g", "--rfm-state", "--rfm-history"},
              HandlerFailure("Unknown RFM rfm-state!\n", "rfm-state")),
  });
}

}  // namespace
}  // namespace vt_test
