#include "tools/gate.h"

#include <gtest/gtest.h>

namespace tool {
namespace {

constexpr auto kDenied = static_cast<HRESULT>(0x80070005);
constexpr auto kNotAllowed = static_cast<HRESULT>(0x80004001);
constexpr const char* kKey = "HKLM\\Class\\{c}\\0000";

client::Status Answered(RPC_STATUS rpc, HRESULT result) {
  return {"Hkd04a7Rpc_RunFileAsSystem", rpc, result};
}

TEST(GateTest, TellsWhichGateRefusedARun) {
  const RunFacts packaged = {"Pkg_1", "repair", kKey};
  struct Case {
    client::Status status;
    RunFacts facts;
    const char* text;
  };
  const char* const descriptor =
      "endpoint descriptor: it admits everyone, but processes in an app container only with the hardware-settings "
      "capability";
  const Case cases[] = {
      {Answered(5, 0), packaged, descriptor},
      {Answered(0, kDenied), packaged,
       "capability bit: HKLM\\Class\\{c}\\0000\\Extension\\RestrictedRpc, value \"Pkg_1\": absent"},
      {Answered(0, kDenied),
       {"Pkg_1", "repair", kKey, TableEntry::Refuses},
       "capability bit: HKLM\\Class\\{c}\\0000\\Extension\\RestrictedRpc, value \"Pkg_1\": bit 0 is clear"},
      {Answered(0, kDenied),
       {"Pkg_1", "repair", kKey, TableEntry::OtherType},
       "capability bit: HKLM\\Class\\{c}\\0000\\Extension\\RestrictedRpc, value \"Pkg_1\": not of type REG_DWORD, "
       "which "
       "counts as absent"},
      {Answered(0, kDenied),
       {"", "repair", kKey, TableEntry::Grants},
       "capability bit: this process has no package family name, and none but packages are granted it"},
      {Answered(0, kDenied),
       {"Pkg_1", "repair", std::nullopt},
       "capability bit: no device is present, so there is no key to look in"},
      {Answered(0, kNotAllowed), packaged,
       "allow-list: HKLM\\Class\\{c}\\0000\\Extension\\Command, value \"repair\": absent"},
      {Answered(0, kNotAllowed),
       {"Pkg_1", "repair", kKey, TableEntry::Grants, TableEntry::Refuses},
       "allow-list: HKLM\\Class\\{c}\\0000\\Extension\\Command, value \"repair\": it names no program"},
  };
  for (const Case& test : cases) EXPECT_EQ(GateText(GateOfRun(test.status, test.facts)), test.text);
}

// The same codes come from elsewhere too: where the gate is open, it is not the one that refused.
TEST(GateTest, BlamesNoOpenGate) {
  const RunFacts open = {"Pkg_1", "repair", kKey, TableEntry::Grants, TableEntry::Grants};
  EXPECT_EQ(GateOfRun(Answered(0, kDenied), open).name, "");
  EXPECT_EQ(GateOfRun(Answered(0, kNotAllowed), open).name, "");
  EXPECT_EQ(GateOfRun(Answered(0, static_cast<HRESULT>(0x80070002)), {"", "repair", kKey}).name, "");
  EXPECT_EQ(GateOfRun(Answered(1722, 0), {"", "repair", kKey}).name, "");
  EXPECT_EQ(GateOf(Answered(0, kDenied)).name, "");
}

TEST(GateTest, SaysWhatWouldOpenIt) {
  EXPECT_EQ(GateOfRun(Answered(0, kDenied), {"Pkg_1", "repair", kKey}).next, "hkd04a7ctl caps grant Pkg_1");
  EXPECT_EQ(GateOfRun(Answered(0, kDenied), {"", "repair", kKey}).next,
            "hkd04a7ctl run --package PACKAGE -- hkd04a7ctl run-as-system repair");
  EXPECT_EQ(GateOfRun(Answered(0, kNotAllowed), {"", "repair", kKey}).next, "hkd04a7ctl allow add repair PROGRAM");
  EXPECT_EQ(GateOfRun(Answered(0, kNotAllowed), {"", "repair", std::nullopt}).next, "");
}

}  // namespace
}  // namespace tool
