// cid, aid and provisioning-token through the real binary: exact streams, exit
// status and store bytes, including refusals that must leave the store as it was.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

const std::string kCidBytes("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xaa\xbb\xcc\xdd\xee\xff", 16);
const std::string kOtherCid = std::string(15, '\0') + "\x01";
const std::string kCidShown = "cid=\"00112233445566778899aabbccddeeff\"";
const std::string kGood = "00112233445566778899AABBCCDDEEFF08";

StoreImage Empty() { return StoreImage().Add("TRACE", "info"); }
StoreImage WithCid() { return Empty().Add("CU", kCidBytes); }
std::string CidErr(const std::string& diagnostic) { return HandlerFailure(diagnostic + "\n", "cid"); }

using IdentityE2E = ::vt_test::SandboxTest;

TEST_F(IdentityE2E, Cid) {
  const std::string missing = CidErr("CID is not set. Use vantorctl to set the CID");
  const std::string needForce = CidErr("CID is set, but -f was not specified");
  const auto notValid = [](const std::string& v) {
    return CidErr("\"" + v + "\" is not valid value for checksum CID (CCID)");
  };
  const auto checksum = [](const std::string& v) { return CidErr("\"" + v + "\" failed checksum validation"); };
  const std::string bad09 = "00112233445566778899AABBCCDDEEFF09";
  const std::string short33 = "00112233445566778899AABBCCDDEEFF0";
  const std::string dashes40 = "0011223344556677889-9AABBCCDDEEFF0------";
  const std::string braces = "{00112233-4455-6677-8899-AABBCCDDEEFF-08}";
  const std::string other = "--cid=00000000000000000000000000000001ff";
  ExpectCases({
      {"set", Empty(), {"-s", "--cid=" + kGood}, "\n", "", 0, {{"CU", kCidBytes}}},
      {"set dashed verbose", Empty(), {"-s", "-v", "--cid=00112233-4455-6677-8899-AABBCCDDEEFF-08"},
       kCidShown + ".\n", "", 0, {{"CU", kCidBytes}}},
      {"extra characters after 34 digits", Empty(), {"-s", "--cid=" + kGood + "trailing"}, "\n", "", 0,
       {{"CU", kCidBytes}}},
      Shows("get", WithCid(), {"-g", "--cid"}, kCidShown + ".\n"),
      Refused("get missing", Empty(), {"-g", "--cid"}, missing),
      {"replace with -f", WithCid(), {"-s", "-f", other}, "\n", "", 0, {{"CU", kOtherCid}}},
      {"delete with -f", WithCid(), {"-d", "-f", "--cid"}, "\n", "", 0, {{"CU", std::nullopt}, {"TRACE", "info"}}},
      {"delete with -f -v reports the missing CID", WithCid(), {"-d", "-f", "-v", "--cid"}, "\n", missing, 1,
       {{"CU", std::nullopt}}},
      Shows("delete absent", Empty(), {"-d", "--cid"}, "\n"),
      Refused("delete absent, verbose", Empty(), {"-d", "-v", "--cid"}, missing),
      Refused("wrong checksum", Empty(), {"-s", "--cid=" + bad09}, checksum(bad09)),
      Refused("33 characters", Empty(), {"-s", "--cid=" + short33}, notValid(short33)),
      Refused("40 characters, 33 not dashes", Empty(), {"-s", "--cid=" + dashes40}, notValid(dashes40)),
      Refused("braces", Empty(), {"-s", "--cid=" + braces}, checksum(braces)),
      Refused("set over stored", WithCid(), {"-s", other}, needForce),
      Refused("delete without -f", WithCid(), {"-d", "--cid"}, needForce),
      Refused("bad value with -f over stored", WithCid(), {"-s", "-f", "--cid=" + bad09}, checksum(bad09)),
      // Dispatch follows the table: cid prints before aid whatever the order typed.
      Shows("aid named first", WithCid().Add("AG", kOtherCid), {"-g", "--aid", "--cid"},
            kCidShown + ", aid=\"00000000000000000000000000000001\".\n"),
  });
}

TEST_F(IdentityE2E, Aid) {
  const StoreImage withAid = Empty().Add("AG", kCidBytes);
  ExpectCases({
      Shows("get", withAid, {"-g", "--aid"}, "aid=\"00112233445566778899aabbccddeeff\".\n"),
      Shows("get absent", Empty(), {"-g", "--aid"}, "aid is not set.\n"),
      Refused("delete without -f", withAid, {"-d", "--aid"},
              HandlerFailure("AID is set, but -f was not specified\n", "aid")),
      {"delete with -f -v", withAid, {"-d", "-f", "-v", "--aid"}, "aid is not set.\n", "", 0, {{"AG", std::nullopt}}},
      Shows("delete absent, verbose", Empty(), {"-d", "-v", "--aid"}, "aid is not set.\n"),
  });
}

TEST_F(IdentityE2E, ProvisioningToken) {
  const std::string format = HandlerFailure("Provisioning token format incorrect\n", "provisioning-token");
  const std::string needForce =
      HandlerFailure("Provisioning token is set, but -f was not specified\n", "provisioning-token");
  const StoreImage withToken = Empty().Add("PT", U64Bytes(0xABCD));
  const auto set = [](const std::string& v, std::uint64_t token, const std::string& shown) {
    return OptionCase{v, Empty(), {"-s", "-v", "--provisioning-token=" + v}, "provisioning-token=" + shown + ".\n",
                      "", 0, {{"PT", U64Bytes(token)}}};
  };
  std::vector<OptionCase> cases = {
      set("0000abcd", 0xABCD, "0000abcd"),
      set("0123456789abcdef", 0x0123456789ABCDEFull, "123456789abcdef"),
      set("1234567z", 0x1234567, "01234567"),
      Shows("get", withToken, {"-g", "--provisioning-token"}, "provisioning-token=0000abcd.\n"),
      Shows("get 15 digits", Empty().Add("PT", U64Bytes(0x0123456789ABCDEFull)), {"-g", "--provisioning-token"},
            "provisioning-token=123456789abcdef.\n"),
      Shows("get absent", Empty(), {"-g", "--provisioning-token"}, "provisioning-token is not set.\n"),
      Refused("set over stored", withToken, {"-s", "--provisioning-token=12345678"}, needForce),
      {"replace with -f", withToken, {"-s", "-f", "--provisioning-token=12345678"}, "\n", "", 0,
       {{"PT", U64Bytes(0x12345678)}}},
      Refused("delete without -f", withToken, {"-d", "--provisioning-token"}, needForce),
      {"delete with -f -v", withToken, {"-d", "-f", "-v", "--provisioning-token"}, "provisioning-token is not set.\n",
       "", 0, {{"PT", std::nullopt}}},
  };
  for (const char* bad : {"abcdef0", "abcdef012", "00000000", "ffffffffffffffff"}) {
    cases.push_back(Refused(bad, Empty(), {"-s", std::string("--provisioning-token=") + bad}, format));
  }
  ExpectCases(cases);
}

}  // namespace
}  // namespace vt_test
