// Connection and behaviour settings (apd, aph, app, pcpt, trace, backend,
// billing, fkm) through the real binary: exact streams, exit status and store
// bytes, refusals included.
#include <gtest/gtest.h>

#include <string>

#include "tests/e2e/option_case.h"

namespace vt_test {
namespace {

// An unrelated record, so "unchanged" compares more than an empty image.
StoreImage Base() { return StoreImage().Add("GroupTags", "lab"); }

std::string Invalid(const std::string& value, const std::string& option) {
  return HandlerFailure("\"" + value + "\" is not a valid value for --" + option + "\n", option);
}

TEST(SwitchSettingsE2E, ApdAndFkmParseTheSameWay) {
  for (const auto& [option, stored] : {std::pair{"apd", "DP"}, std::pair{"fkm", "FKM"}}) {
    SCOPED_TRACE(option);
    const std::string opt = std::string("--") + option;
    const std::string name = option;
    std::vector<OptionCase> cases;
    for (const char* yes : {"true", "True", "1"}) {
      cases.push_back({yes, Base(), {"-s", "-v", opt + "=" + yes}, name + "=TRUE.\n", "", 0, {{stored, U32Bytes(1)}}});
    }
    for (const char* no : {"FALSE", "0"}) {
      cases.push_back({no, Base(), {"-s", opt + "=" + no}, "\n", "", 0, {{stored, U32Bytes(0)}}});
    }
    for (const char* bad : {"yes", "10"}) {
      cases.push_back({bad, Base(), {"-s", opt + "=" + bad}, "\n", Invalid(bad, name), 1, {}, true});
    }
    cases.push_back({"get nonzero", Base().Add(stored, U32Bytes(5)), {"-g", opt}, name + "=TRUE.\n", "", 0, {}, true});
    cases.push_back({"get zero", Base().Add(stored, U32Bytes(0)), {"-g", opt}, name + "=FALSE.\n", "", 0, {}, true});
    cases.push_back({"delete absent", Base(), {"-d", "-v", opt}, name + " is not set.\n", "", 0, {}, true});
    cases.push_back({"delete", Base().Add(stored, U32Bytes(1)), {"-d", opt}, "\n", "", 0,
                     {{stored, std::nullopt}, {"GroupTags", "lab"}}});
    for (const OptionCase& c : cases) {
      ExpectCase(c);
    }
  }
}

TEST(TextSettingsE2E, HostAndPortLimits) {
  const std::string host255(255, 'h');
  const std::string host256(256, 'h');
  const OptionCase cases[] = {
      {"host of 255", Base(), {"-s", "-v", "--aph=" + host255}, "aph=" + host255 + ".\n", "", 0, {{"APH", host255}}},
      {"host of 256", Base(), {"-s", "--aph=" + host256}, "\n", Invalid(host256, "aph"), 1, {}, true},
      {"empty host", Base(), {"-s", "--aph="}, "\n", "", 0, {{"APH", ""}}},
      {"get empty host", Base().Add("APH", ""), {"-g", "--aph"}, "aph=.\n", "", 0, {}, true},
      {"numeric port", Base(), {"-s", "--app=8080"}, "\n", "", 0, {{"APP", "8080"}}},
      {"text port", Base(), {"-s", "-v", "--app=abcde"}, "app=abcde.\n", "", 0, {{"APP", "abcde"}}},
      {"port of 6", Base(), {"-s", "--app=123456"}, "\n", Invalid("123456", "app"), 1, {}, true},
      {"neither stored", Base(), {"-g", "--aph", "--app"}, "aph is not set, app is not set.\n", "", 0, {}, true},
      {"delete neither stored", Base(), {"-d", "-v", "--aph", "--app"}, "aph is not set, app is not set.\n", "", 0,
       {}, true},
      {"delete both", Base().Add("APH", "proxy").Add("APP", "3128"), {"-d", "--app", "--aph"}, "\n", "", 0,
       {{"APH", std::nullopt}, {"APP", std::nullopt}, {"GroupTags", "lab"}}},
      {"oversized stored port is not deleted", Base().Add("APP", "1234567"), {"-d", "--app"}, "\n",
       HandlerFailure("Could not read application proxy port from config file\n", "app"), 1, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(PcptE2E, NamesIgnoreCaseAndAbsenceMeansAuto) {
  const OptionCase cases[] = {
      {"get absent", Base(), {"-g", "--pcpt"}, "pcpt=auto.\n", "", 0, {}, true},
      {"set IPV6 printed as typed", Base(), {"-s", "-v", "--pcpt=IPV6"}, "pcpt=IPV6.\n", "", 0,
       {{"PCPT", U32Bytes(6)}}},
      {"set ipv4", Base(), {"-s", "--pcpt=ipv4"}, "\n", "", 0, {{"PCPT", U32Bytes(4)}}},
      {"get 6", Base().Add("PCPT", U32Bytes(6)), {"-g", "--pcpt"}, "pcpt=ipv6.\n", "", 0, {}, true},
      {"get unknown number", Base().Add("PCPT", U32Bytes(9)), {"-g", "--pcpt"}, "pcpt=auto.\n", "", 0, {}, true},
      {"bad name", Base(), {"-s", "--pcpt=ipv5"}, "\n",
       HandlerFailure("not a valid pcpt option: ipv5\n", "pcpt"), 1, {}, true},
      {"no delete", Base().Add("PCPT", U32Bytes(4)), {"-d", "--pcpt"}, "\n",
       std::string("ERROR: -d with --pcpt is not supported.\n") + kUsageHint, 1, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(TraceE2E, LevelsAreExactTexts) {
  const std::string tooLong(101, 'd');
  const OptionCase cases[] = {
      {"set quiet", Base(), {"-s", "--trace=info"}, "\n", "", 0, {{"TRACE", "info"}}},
      {"set verbose", Base(), {"-s", "-v", "--trace=debug"}, "trace=debug.\n", "", 0, {{"TRACE", "debug"}}},
      {"case-sensitive", Base(), {"-s", "--trace=INFO"}, "\n",
       HandlerFailure("not a valid trace option: INFO\n", "trace"), 1, {}, true},
      {"over 100 characters", Base(), {"-s", "--trace=" + tooLong}, "\n", Invalid(tooLong, "trace"), 1, {}, true},
      {"shorter over longer", Base().Add("TRACE", "debug"), {"-s", "--trace=err"}, "\n", "", 0, {{"TRACE", "err"}}},
      {"any stored text prints", Base().Add("TRACE", "chatty"), {"-g", "--trace"}, "trace=chatty.\n", "", 0, {},
       true},
      {"delete", Base().Add("TRACE", "warn"), {"-d", "-v", "--trace"}, "trace is not set.\n", "", 0,
       {{"TRACE", std::nullopt}}},
      {"value ignored by get", Base().Add("TRACE", "warn"), {"-g", "--trace=info"}, "trace=warn.\n", "", 0, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(BackendAndBillingE2E, NameTables) {
  const OptionCase cases[] = {
      {"backend bpf", Base(), {"-s", "-v", "--backend=bpf"}, "backend=bpf.\n", "", 0,
       {{"SenBackend", U32Bytes(2)}}},
      {"backend kernel", Base(), {"-s", "--backend=kernel"}, "\n", "", 0, {{"SenBackend", U32Bytes(1)}}},
      {"backend get auto", Base().Add("SenBackend", U32Bytes(0)), {"-g", "--backend"}, "backend=auto.\n", "", 0,
       {}, true},
      {"backend exact case", Base(), {"-s", "--backend=Auto"}, "\n", Invalid("Auto", "backend"), 1, {}, true},
      {"backend stored 3", Base().Add("SenBackend", U32Bytes(3)), {"-g", "--backend"}, "\n",
       HandlerFailure("Backend value in config file is invalid\n", "backend"), 1, {}, true},
      {"backend absent", Base(), {"-g", "--backend"}, "backend is not set.\n", "", 0, {}, true},
      {"billing metered", Base(), {"-s", "-v", "--billing=metered"}, "billing=metered.\n", "", 0,
       {{"BT", U32Bytes(1)}}},
      {"billing exact case", Base(), {"-s", "--billing=Metered"}, "\n", Invalid("Metered", "billing"), 1, {}, true},
      {"billing delete", Base().Add("BT", U32Bytes(0)), {"-d", "-v", "--billing"}, "billing is not set.\n", "", 0,
       {{"BT", std::nullopt}}},
      {"unknown billing is a warning, trace first",
       Base().Add("BT", U32Bytes(7)).Add("TRACE", "info"), {"-g", "--billing", "--trace"},
       "trace=info, WARNING: unknown billing type configured (ID = 7).\n", "", 0, {}, true},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

TEST(SettingsE2E, OneLineInTableOrder) {
  const StoreImage full = Base()
                              .Add("DP", U32Bytes(1))
                              .Add("APH", "proxy.example")
                              .Add("APP", "3128")
                              .Add("TRACE", "warn")
                              .Add("PCPT", U32Bytes(4))
                              .Add("BT", U32Bytes(0))
                              .Add("SenBackend", U32Bytes(2))
                              .Add("FKM", U32Bytes(0));
  const OptionCase cases[] = {
      {"empty store", Base(), {"-g", "--apd", "--trace"}, "apd is not set, trace is not set.\n", "", 0, {}, true},
      {"all eight, named backwards", full,
       {"-g", "--fkm", "--backend", "--billing", "--pcpt", "--trace", "--app", "--aph", "--apd"},
       "apd=TRUE, aph=proxy.example, app=3128, trace=warn, pcpt=ipv4, billing=default, backend=bpf, fkm=FALSE.\n",
       "", 0, {}, true},
      // Handlers before a failing row have already written; nothing is undone.
      {"failure stops the walk", Base(), {"-s", "--backend=bpf", "--trace=loud", "--apd=true"}, "\n",
       HandlerFailure("not a valid trace option: loud\n", "trace"), 1,
       {{"DP", U32Bytes(1)}, {"TRACE", std::nullopt}, {"SenBackend", std::nullopt}}},
  };
  for (const OptionCase& c : cases) {
    ExpectCase(c);
  }
}

}  // namespace
}  // namespace vt_test
