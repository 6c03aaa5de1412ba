// cid, aid and provisioning-token through the real binary: exact streams, exit
// status and store bytes, including refusals that must leave the store as it was.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

const std::string kCidBytes("\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xaa\xbb\xcc\xdd\xee\xff", 16);
const std::string kOtherCid = std::string(15, '\0') + "\x01";
const char kCidText[] = "cid=\"00112233445566778899aabbccddeeff\"";

StoreImage Empty() { return StoreImage().Add("TRACE", "info"); }
StoreImage WithCid() { return Empty().Add("CU", kCidBytes); }

const std::string kCidMissing = HandlerFailure("CID is not set. Use vantorctl to set the CID\n", "cid");

TEST(CidE2E, SetGetAndDelete) {
  const OptionCase cases[] = {
      {"set plain", Empty(), {"-s", "--cid=00112233445566778899AABBCCDDEEFF08"}, "\n", "", 0, {{"CU", kCidBytes}}},
      {"set dashed verbose", Empty(), {"-s", "-v", "--cid=00112233-4455-6677-8899-AABBCCDDEEFF-08"},
       std::string(kCidText) + ".\n", "", 0, {{"CU", kCidBytes}}},
      {"extra characters after 34 digits are ignored", Empty(),
       {"-s", "--cid=00112233445566778899AABBCCDDEEFF08trailing"}, "\n", "", 0, {{"CU", kCidBytes}}},
      {"get", WithCid(), {"-g", "--cid"}, std::string(kCidText) + ".\n", "", 0, {}, true},
      {"get missing is an error", Empty(), {"-g", "--cid"}, "\n", kCidMissing, 1, {}, true},
      {"replace with -f", WithCid(), {"-s", "-f", "--cid=00000000000000000000000000000001ff"}, "\n", "", 0,
       {{"CU", kOtherCid}}},
      {"delete with -f", WithCid(), {"-d", "-f", "--cid"}, "\n", "", 0, {{"CU", std::nullopt}, {"TRACE", "info"}}},
      {"delete with -f -v reports the missing CID", WithCid(), {"-d", "-f", "-v", "--cid"}, "\n", kCidMissing, 1,
       {{"CU", std::nullopt}}},
      {"delete absent, quiet", Empty(), {"-d", "--cid"}, "\n", "", 0, {}, true},
      {"delete absent, verbose", Empty(), {"-d", "-v", "--cid"}, "\n", kCidMissing, 1, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(CidE2E, RefusalsLeaveTheStoreUntouched) {
  const auto notValid = [](const std::string& v) {
    return HandlerFailure("\"" + v + "\" is not valid value for checksum CID (CCID)\n", "cid");
  };
  const auto checksum = [](const std::string& v) {
    return HandlerFailure("\"" + v + "\" failed checksum validation\n", "cid");
  };
  const std::string bad09 = "00112233445566778899AABBCCDDEEFF09";
  const std::string short33 = "00112233445566778899AABBCCDDEEFF0";
  const std::string dashes40 = "0011223344556677889-9AABBCCDDEEFF0------";
  const std::string braces = "{00112233-4455-6677-8899-AABBCCDDEEFF-08}";
  const OptionCase cases[] = {
      {"wrong checksum", Empty(), {"-s", "--cid=" + bad09}, "\n", checksum(bad09), 1, {}, true},
      {"33 characters", Empty(), {"-s", "--cid=" + short33}, "\n", notValid(short33), 1, {}, true},
      {"40 characters, 33 not dashes", Empty(), {"-s", "--cid=" + dashes40}, "\n", notValid(dashes40), 1, {}, true},
      {"braces", Empty(), {"-s", "--cid=" + braces}, "\n", checksum(braces), 1, {}, true},
      {"set over stored without -f", WithCid(), {"-s", "--cid=00000000000000000000000000000001ff"}, "\n",
       HandlerFailure("CID is set, but -f was not specified\n", "cid"), 1, {}, true},
      {"delete without -f", WithCid(), {"-d", "--cid"}, "\n",
       HandlerFailure("CID is set, but -f was not specified\n", "cid"), 1, {}, true},
      {"bad value with -f over stored", WithCid(), {"-s", "-f", "--cid=" + bad09}, "\n", checksum(bad09), 1, {},
       true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(CidE2E, SetThenGetRoundTripsAndDispatchFollowsTableOrder) {
  const SandboxResult set = RunOnStore(StoreImage(), {"-s", "--cid=00112233445566778899AABBCCDDEEFF08"});
  ASSERT_EQ(set.exitCode, 0) << set.err;
  StoreImage stored = StoreAfter(set);
  stored.Add("AG", kOtherCid);
  // aid named first on the command line, cid printed first.
  const SandboxResult get = RunOnStore(stored, {"-g", "--aid", "--cid"});
  EXPECT_EQ(get.out, std::string(kCidText) + ", aid=\"00000000000000000000000000000001\".\n");
  EXPECT_EQ(get.err, "");
  EXPECT_EQ(get.exitCode, 0);
}

TEST(AidE2E, ShownAndDeletedOnlyWithForce) {
  const StoreImage withAid = Empty().Add("AG", kCidBytes);
  const OptionCase cases[] = {
      {"get", withAid, {"-g", "--aid"}, "aid=\"00112233445566778899aabbccddeeff\".\n", "", 0, {}, true},
      {"get absent", Empty(), {"-g", "--aid"}, "aid is not set.\n", "", 0, {}, true},
      {"delete without -f", withAid, {"-d", "--aid"}, "\n",
       HandlerFailure("AID is set, but -f was not specified\n", "aid"), 1, {}, true},
      {"delete with -f -v", withAid, {"-d", "-f", "-v", "--aid"}, "aid is not set.\n", "", 0, {{"AG", std::nullopt}}},
      {"delete absent, verbose", Empty(), {"-d", "-v", "--aid"}, "aid is not set.\n", "", 0, {}, true},
      {"never set", Empty(), {"-s", "--aid=00112233445566778899AABBCCDDEEFF08"}, "\n",
       std::string("ERROR: -s with --aid is not supported.\n") + kUsageHint, 1, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(ProvisioningTokenE2E, AcceptedValuesAreStoredLittleEndianAndPrinted) {
  const struct {
    const char* value;
    std::uint64_t token;
    const char* printed;
  } cases[] = {
      {"0000abcd", 0xABCD, "provisioning-token=0000abcd"},
      {"0123456789abcdef", 0x0123456789ABCDEFull, "provisioning-token=123456789abcdef"},
      {"1234567z", 0x1234567, "provisioning-token=01234567"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const SandboxResult set = RunOnStore(Empty(), {"-s", "-v", std::string("--provisioning-token=") + c.value});
    EXPECT_EQ(set.out, std::string(c.printed) + ".\n");
    EXPECT_EQ(set.err, "");
    EXPECT_EQ(set.exitCode, 0);
    const StoreImage after = StoreAfter(set);
    EXPECT_EQ(after.Get("PT"), U64Bytes(c.token));
    const SandboxResult get = RunOnStore(after, {"-g", "--provisioning-token"});
    EXPECT_EQ(get.out, std::string(c.printed) + ".\n");
    EXPECT_EQ(get.exitCode, 0);
  }
}

TEST(ProvisioningTokenE2E, RejectionsAndProtection) {
  const std::string formatError = HandlerFailure("Provisioning token format incorrect\n", "provisioning-token");
  const std::string refused =
      HandlerFailure("Provisioning token is set, but -f was not specified\n", "provisioning-token");
  const StoreImage withToken = Empty().Add("PT", U64Bytes(0xABCD));
  std::vector<OptionCase> cases;
  for (const char* bad : {"abcdef0", "abcdef012", "00000000", "ffffffffffffffff"}) {
    cases.push_back({bad, Empty(), {"-s", std::string("--provisioning-token=") + bad}, "\n", formatError, 1, {}, true});
  }
  cases.push_back({"set over stored", withToken, {"-s", "--provisioning-token=12345678"}, "\n", refused, 1, {}, true});
  cases.push_back({"replace with -f", withToken, {"-s", "-f", "--provisioning-token=12345678"}, "\n", "", 0,
                   {{"PT", U64Bytes(0x12345678)}}});
  cases.push_back({"delete without -f", withToken, {"-d", "--provisioning-token"}, "\n", refused, 1, {}, true});
  cases.push_back({"delete with -f -v", withToken, {"-d", "-f", "-v", "--provisioning-token"},
                   "provisioning-token is not set.\n", "", 0, {{"PT", std::nullopt}}});
  cases.push_back({"get absent", Empty(), {"-g", "--provisioning-token"}, "provisioning-token is not set.\n", "", 0,
                   {}, true});
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

}  // namespace
}  // namespace vt_test
