#include "options/rfm_reasons.h"

#include <array>

namespace {

struct RfmReason {
  std::uint32_t code;
  const char* text;
};

// In search order; several codes share a text.
constexpr std::array<RfmReason, 20> kRfmReasons{{
    {0x00000000u, "None"},
    {0xC000036Cu, "Kernel modules blocked by user"},
    {0xE00400C2u, "Not loading modules because of user opt-out (e.g., backend set to BPF)"},
    {0xC000026Cu, "Kernel module load failed"},
    {0xC000009Au, "Kernel module load failed due to lack of memory"},
    {0xC0000102u, "Modules file is corrupt"},
    {0xC0000034u, "Modules file was not found"},
    {0xC0000098u, "Modules file invalid format"},
    {0xC000A000u, "Modules file invalid signature"},
    {0xC0000061u, "Modules file invalid permission"},
    {0xC000017Cu, "Invalid module signature, or key for modules not found"},
    {0xC0000106u, "KernelModuleArchive file is corrupt"},
    {0xC0000206u, "KernelModuleArchive file is corrupt"},
    {0xC000000Du, "Linux Kernel broken hence returning invalid uname"},
    {0xC0000001u, "Unexpected error"},
    {0x40000000u, "Indicates previous unsuccesful module unload"},
    {0xC000038Eu, "Indicates previous unsuccesful module unload"},
    {0xC0000225u, "The kernel backend does not support the running kernel"},
    {0xE00400ACu, "BPF is blocked on this system"},
    {0xE00400ADu, "BPF program-load error"},
}};

constexpr const char* kUnspecified = "Unspecified";

constexpr const char* Lookup(std::uint32_t code) {
  for (const RfmReason& row : kRfmReasons) {
    if (row.code == code) return row.text;
  }
  return kUnspecified;
}
static_assert(Lookup(0xE00400ADu)[0] == 'B');
static_assert(Lookup(0x12345678u) == kUnspecified);

}  // namespace

const char* RfmReasonText(std::uint32_t code) { return Lookup(code); }
