// Connection and behaviour settings (apd, aph, app, pcpt, trace, backend,
// billing, fkm) through the real binary: exact streams, exit status and store
// bytes, refusals included.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

// An unrelated record, so "unchanged" compares more than an empty image.
StoreImage Base() { return StoreImage().Add("GroupTags", "lab"); }

using SettingsE2E = ::vt_test::SandboxTest;

TEST_F(SettingsE2E, ApdAndFkmSwitches) {
  for (const auto& [option, rec, what] :
       {std::tuple{"apd", "DP", "app proxy disable"}, std::tuple{"fkm", "FKM", "fuzzy kernel match"}}) {
    SCOPED_TRACE(option);
    const std::string o = option;
    const std::string record = rec;
    std::vector<OptionCase> cases = {
        Shows("get nonzero", Base().Add(record, U32Bytes(5)), {"-g", "--" + o}, o + "=TRUE.\n"),
        Shows("get zero", Base().Add(record, U32Bytes(0)), {"-g", "--" + o}, o + "=FALSE.\n"),
        Refused("stored value of 8 bytes", Base().Add(record, U64Bytes(1)), {"-g", "--" + o},
                HandlerFailure(std::string("Could not read ") + what + " from config file\n", o)),
        Shows("delete absent", Base(), {"-d", "-v", "--" + o}, o + " is not set.\n"),
        {"delete", Base().Add(record, U32Bytes(1)), {"-d", "--" + o}, "\n", "", 0,
         {{record, std::nullopt}, {"GroupTags", "lab"}}},
    };
    for (const char* yes : {"true", "True", "1"}) {
      cases.push_back(
          {yes, Base(), {"-s", "-v", "--" + o + "=" + yes}, o + "=TRUE.\n", "", 0, {{record, U32Bytes(1)}}});
    }
    for (const char* no : {"FALSE", "0"}) {
      cases.push_back({no, Base(), {"-s", "--" + o + "=" + no}, "\n", "", 0, {{record, U32Bytes(0)}}});
    }
    for (const char* bad : {"yes", "10"}) {
      cases.push_back(Refused(bad, Base(), {"-s", "--" + o + "=" + bad}, Invalid(bad, o)));
    }
    ExpectCases(cases);
  }
}

TEST_F(SettingsE2E, ConnectionHostPortAndPcpt) {
  const std::string host255(255, 'h');
  const std::string host256(256, 'h');
  ExpectCases({
      {"host of 255", Base(), {"-s", "-v", "--aph=" + host255}, "aph=" + host255 + ".\n", "", 0, {{"APH", host255}}},
      Refused("host of 256", Base(), {"-s", "--aph=" + host256}, Invalid(host256, "aph")),
      {"empty host", Base(), {"-s", "--aph="}, "\n", "", 0, {{"APH", ""}}},
      Shows("get empty host", Base().Add("APH", ""), {"-g", "--aph"}, "aph=.\n"),
      Refused("stored host of 256", Base().Add("APH", host256), {"-g", "--aph"},
              HandlerFailure("Could not read application proxy host from config file\n", "aph")),
      {"stored host of 256 is deleted without a read", Base().Add("APH", host256), {"-d", "--aph"}, "\n", "", 0,
       {{"APH", std::nullopt}}},
      {"numeric port", Base(), {"-s", "--app=8080"}, "\n", "", 0, {{"APP", "8080"}}},
      {"text port", Base(), {"-s", "-v", "--app=abcde"}, "app=abcde.\n", "", 0, {{"APP", "abcde"}}},
      Refused("port of 6", Base(), {"-s", "--app=123456"}, Invalid("123456", "app")),
      Refused("oversized stored port is not deleted", Base().Add("APP", "1234567"), {"-d", "--app"},
              HandlerFailure("Could not read application proxy port from config file\n", "app")),
      Shows("neither stored", Base(), {"-g", "--aph", "--app"}, "aph is not set, app is not set.\n"),
      Shows("delete neither stored", Base(), {"-d", "-v", "--aph", "--app"}, "aph is not set, app is not set.\n"),
      {"delete both", Base().Add("APH", "proxy").Add("APP", "3128"), {"-d", "--app", "--aph"}, "\n", "", 0,
       {{"APH", std::nullopt}, {"APP", std::nullopt}, {"GroupTags", "lab"}}},
      Shows("pcpt absent is auto", Base(), {"-g", "--pcpt"}, "pcpt=auto.\n"),
      {"pcpt IPV6 printed as typed", Base(), {"-s", "-v", "--pcpt=IPV6"}, "pcpt=IPV6.\n", "", 0,
       {{"PCPT", U32Bytes(6)}}},
      {"pcpt ipv4", Base(), {"-s", "--pcpt=ipv4"}, "\n", "", 0, {{"PCPT", U32Bytes(4)}}},
      Shows("pcpt get 6", Base().Add("PCPT", U32Bytes(6)), {"-g", "--pcpt"}, "pcpt=ipv6.\n"),
      Shows("pcpt unknown number", Base().Add("PCPT", U32Bytes(9)), {"-g", "--pcpt"}, "pcpt=auto.\n"),
      Refused("pcpt bad name", Base(), {"-s", "--pcpt=ipv5"},
              HandlerFailure("not a valid pcpt option: ipv5\n", "pcpt")),
  });
}

TEST_F(SettingsE2E, BehaviourTraceBackendBilling) {
  const std::string tooLong(101, 'd');
  ExpectCases({
      {"trace quiet", Base(), {"-s", "--trace=info"}, "\n", "", 0, {{"TRACE", "info"}}},
      {"trace verbose", Base(), {"-s", "-v", "--trace=debug"}, "trace=debug.\n", "", 0, {{"TRACE", "debug"}}},
      Refused("trace is case-sensitive", Base(), {"-s", "--trace=INFO"},
              HandlerFailure("not a valid trace option: INFO\n", "trace")),
      Refused("trace over 100", Base(), {"-s", "--trace=" + tooLong}, Invalid(tooLong, "trace")),
      Refused("stored trace over 100", Base().Add("TRACE", tooLong), {"-g", "--trace"},
              HandlerFailure("Could not get trace level from config file\n", "trace")),
      {"shorter over longer", Base().Add("TRACE", "debug"), {"-s", "--trace=err"}, "\n", "", 0, {{"TRACE", "err"}}},
      Shows("any stored text prints", Base().Add("TRACE", "chatty"), {"-g", "--trace"}, "trace=chatty.\n"),
      {"trace delete", Base().Add("TRACE", "warn"), {"-d", "-v", "--trace"}, "trace is not set.\n", "", 0,
       {{"TRACE", std::nullopt}}},
      {"backend bpf", Base(), {"-s", "-v", "--backend=bpf"}, "backend=bpf.\n", "", 0, {{"SenBackend", U32Bytes(2)}}},
      {"backend kernel", Base(), {"-s", "--backend=kernel"}, "\n", "", 0, {{"SenBackend", U32Bytes(1)}}},
      Shows("backend get auto", Base().Add("SenBackend", U32Bytes(0)), {"-g", "--backend"}, "backend=auto.\n"),
      Refused("backend exact case", Base(), {"-s", "--backend=Auto"}, Invalid("Auto", "backend")),
      Refused("backend stored 3", Base().Add("SenBackend", U32Bytes(3)), {"-g", "--backend"},
              HandlerFailure("Backend value in config file is invalid\n", "backend")),
      Shows("backend absent", Base(), {"-g", "--backend"}, "backend is not set.\n"),
      {"billing metered", Base(), {"-s", "-v", "--billing=metered"}, "billing=metered.\n", "", 0,
       {{"BT", U32Bytes(1)}}},
      Refused("billing exact case", Base(), {"-s", "--billing=Metered"}, Invalid("Metered", "billing")),
      {"billing delete", Base().Add("BT", U32Bytes(0)), {"-d", "-v", "--billing"}, "billing is not set.\n", "", 0,
       {{"BT", std::nullopt}}},
      Shows("unknown billing is a warning, trace first", Base().Add("BT", U32Bytes(7)).Add("TRACE", "info"),
            {"-g", "--billing", "--trace"}, "trace=info, WARNING: unknown billing type configured (ID = 7).\n"),
  });
}

TEST_F(SettingsE2E, OneLineInTableOrder) {
  StoreImage full = Base().Add("DP", U32Bytes(1)).Add("APH", "proxy.example").Add("APP", "3128");
  full.Add("TRACE", "warn").Add("PCPT", U32Bytes(4)).Add("BT", U32Bytes(0));
  full.Add("SenBackend", U32Bytes(2)).Add("FKM", U32Bytes(0));
  ExpectCases({
      Shows("empty store", Base(), {"-g", "--apd", "--trace"}, "apd is not set, trace is not set.\n"),
      Shows("all eight, named backwards", full,
            {"-g", "--fkm", "--backend", "--billing", "--pcpt", "--trace", "--app", "--aph", "--apd"},
            "apd=TRUE, aph=proxy.example, app=3128, trace=warn, pcpt=ipv4, billing=default, backend=bpf, fkm=FALSE.\n"),
      // Handlers before a failing row have already written; nothing is undone.
      {"failure stops the walk", Base(), {"-s", "--backend=bpf", "--trace=loud", "--apd=true"}, "\n",
       HandlerFailure("not a valid trace option: loud\n", "trace"), 1,
       {{"DP", U32Bytes(1)}, {"TRACE", std::nullopt}, {"SenBackend", std::nullopt}}},
  });
}

}  // namespace
}  // namespace vt_test
