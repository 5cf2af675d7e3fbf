// Which clients may run commands. A client that may, and names a command that does not exist, is answered E_NOTIMPL;
// one that may not, E_ACCESSDENIED, whatever it names.
#include <gmock/gmock.h>

#include "auth/client_capabilities.h"
#include "platform/devices.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/thread_token.h"
#include "platform/registry.h"
#include "tests/auth/requests.h"
#include "tests/support/registry_values.h"

using namespace request_test;
using Quorvex::PC::Hkd04a7::Service::kRestrictedRpcKey;
using testing::ElementsAre;

namespace {

constexpr DWORD kRefused = static_cast<DWORD>(E_ACCESSDENIED);
constexpr DWORD kAdmitted = static_cast<DWORD>(E_NOTIMPL);
constexpr const WCHAR* kNothing = W("no such command");

class Capabilities : public Requests {
 protected:
  // What a request of the packaged client answers and tells of its bits.
  std::pair<DWORD, std::string> Ask() {
    const DWORD result = Run(0, kNothing).result;
    const auto log = TakeLog();
    return {result, log.size() == 5 ? log[3] : "unexpected lines: " + testing::PrintToString(log)};
  }
};

using Answer = std::pair<DWORD, std::string>;

const Answer kNoBits = {kRefused, "hkd04a7, RPC client api caps: 00000000h\n"};

TEST_F(Capabilities, AreLoggedInFull) {
  Grant(kPackage, 1);
  EXPECT_EQ(Run(0x12345678, kNothing, W("-x \"y\"")).result, kAdmitted);
  EXPECT_THAT(
      TakeLog(),
      ElementsAre("Hkd04a7Rpc_RunFileAsSystem enter\n", " flags=12345678h, comamnd=no such command, par=-x \"y\"\n",
                  "hkd04a7, RPC client PFN: Quorvex.Settings_m3tq8v0kc2wna\n",
                  "hkd04a7, RPC client api caps: 00000001h\n", " exit with hr=80004001, code=00000000h\n"));
}

TEST_F(Capabilities, AreBitsOfANumberAndTakeEffectAtTheNextCall) {
  EXPECT_EQ(Ask(), kNoBits) << "no table";
  Grant(W("Another.Package_m3tq8v0kc2wna"), 1);
  EXPECT_EQ(Ask(), kNoBits) << "no entry";
  const struct {
    DWORD bits, result;
    const char* told;
  } numbers[] = {{1, kAdmitted, "00000001"},          {0, kRefused, "00000000"},          {2, kRefused, "00000002"},
                 {0xFFFFFFFF, kAdmitted, "ffffffff"}, {0xFFFFFFFE, kRefused, "fffffffe"}, {3, kAdmitted, "00000003"}};
  for (const auto& entry : numbers) {
    Grant(kPackage, entry.bits);
    EXPECT_EQ(Ask(), Answer(entry.result, std::string("hkd04a7, RPC client api caps: ") + entry.told + "h\n"));
  }
  for (const DWORD type : {REG_SZ, REG_QWORD, REG_BINARY, REG_NONE, REG_MULTI_SZ}) {
    const BYTE one[8] = {1};
    SetEntry(kRestrictedRpcKey, kPackage, type, one, type == REG_QWORD ? 8 : 4);
    EXPECT_EQ(Ask(), kNoBits) << "type " << type;
  }
  Grant(kPackage, 1);
  EXPECT_EQ(Ask().first, kAdmitted);
  RemoveEntry(kRestrictedRpcKey, kPackage);
  EXPECT_EQ(Ask(), kNoBits);
  Grant(W("QUORVEX.settings_M3TQ8V0KC2WNA"), 1);
  EXPECT_EQ(Ask().first, kAdmitted) << "value names have no letter case";
}

TEST_F(Capabilities, BelongToThePackageOfTheClientsToken) {
  const std::string longest(63, 'P');
  const std::string tooLong(64, 'P');
  for (const auto& name : {std::string(kPackageName), longest, tooLong}) Grant(WideString(name.begin(), name.end()), 1);
  const std::string nameFails = "hkd04a7, fail GetPackageFamilyNameFromToken()=0x";
  const struct {
    std::string package;
    DWORD result;
    std::string line;
  } cases[] = {
      {kPackageName, kAdmitted, std::string("hkd04a7, RPC client PFN: ") + kPackageName + "\n"},
      {longest, kAdmitted, "hkd04a7, RPC client PFN: " + longest + "\n"},
      {tooLong, kRefused, nameFails + "0000007a\n"},
      {"", kRefused, nameFails + "00003d54\n"},
      {"Quorvex.Settings", kRefused, "hkd04a7, RPC client PFN: Quorvex.Settings\n"},
  };
  for (const auto& entry : cases) {
    EXPECT_EQ(RunAs(BobIn(entry.package), 0, kNothing).result, entry.result) << entry.package;
    const auto log = TakeLog();
    ASSERT_GE(log.size(), 4u);
    EXPECT_EQ(log[2], entry.line);
    EXPECT_EQ(log.size(), entry.line.starts_with(nameFails) ? 4u : 5u) << "refused without looking at the table";
  }
  // Neither the user nor system rights stand for a package.
  Grant(W(""), 1);
  host::TokenFacts system = host::SystemToken();
  EXPECT_EQ(RunAs(system, 0, kNothing).result, kRefused);
  system.packageFamilyName = kPackageName;
  EXPECT_EQ(RunAs(system, 0, kNothing).result, kAdmitted);
}

// Makes another node of the device's service, present or not; its table admits the package.
void AddDevice(const WCHAR* instance, bool present) {
  const WideString node = WideString(W("System\\CurrentControlSet\\Enum\\ACPI\\QVX04A7\\")) + instance;
  const WideString driver = WideString(W("{2b7e5c1a-0f43-4d7c-9a3e-5d1f0c6b8a21}\\")) + instance;
  support::SetText(node.c_str(), W("Service"), W("hkd04a7"));
  support::SetText(node.c_str(), W("Driver"), driver);
  const WideString table = W("System\\CurrentControlSet\\Control\\Class\\") + driver + W("\\Extension\\RestrictedRpc");
  support::SetNumber(table.c_str(), kPackage, 1);
  if (!present) return;
  HKEY control = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, (node + W("\\Control")).c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                            KEY_WRITE, nullptr, &control, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(control);
}

void Unplug(const WCHAR* instance) {
  const WideString control =
      WideString(W("System\\CurrentControlSet\\Enum\\ACPI\\QVX04A7\\")) + instance + W("\\Control");
  ASSERT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, control.c_str()), ERROR_SUCCESS);
}

TEST_F(Capabilities, AreThoseOfTheFirstPresentDevice) {
  AddDevice(W("1"), false);
  AddDevice(W("2"), true);
  EXPECT_EQ(Ask(), kNoBits) << "the first device has no table, and the others are not asked";
  Unplug(W("0"));
  EXPECT_EQ(Ask().first, kAdmitted) << "the first present one now";
  Unplug(W("2"));
  EXPECT_EQ(Ask(), kNoBits) << "none is present";
}

TEST_F(Capabilities, AreNoneWithoutASoftwareKey) {
  ASSERT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, SoftwareKey().c_str()), ERROR_SUCCESS);
  EXPECT_EQ(Ask(), kNoBits);
}

TEST_F(Capabilities, AnythingThatFailsRefuses) {
  Grant(kPackage, 1);
  const struct {
    const char* function;
    DWORD code;
  } lookups[] = {{"CM_Get_Device_ID_List_SizeW", CR_FAILURE},
                 {"CM_Get_Device_ID_ListW", CR_BUFFER_SMALL},
                 {"CM_Locate_DevNodeW", CR_NO_SUCH_DEVNODE},
                 {"CM_Open_DevNode_Key", CR_NO_SUCH_VALUE},
                 {"RegGetValueW", ERROR_ACCESS_DENIED}};
  for (const auto& entry : lookups) {
    host::FailCall(entry.function, 1, entry.code);
    EXPECT_EQ(Ask(), kNoBits) << entry.function;
    EXPECT_EQ(Ask().first, kAdmitted);
  }
  const struct {
    const char* function;
    DWORD code;
    const char* line;
  } identities[] = {
      {"RpcImpersonateClient", 1726,
       "hkd04a7, CanRpcClientUseDangerousHkd04a7RpcApi(), fail OpenRPCClientToken=0x000006be\n"},
      {"OpenThreadToken", 5, "hkd04a7, CanRpcClientUseDangerousHkd04a7RpcApi(), fail OpenRPCClientToken=0x00000005\n"},
      {"GetPackageFamilyNameFromToken", 6, "hkd04a7, fail GetPackageFamilyNameFromToken()=0x00000006\n"},
  };
  for (const auto& entry : identities) {
    host::FailCall(entry.function, 1, entry.code);
    EXPECT_EQ(Run(0, kNothing).result, kRefused);
    EXPECT_THAT(TakeLog(), ElementsAre(testing::_, testing::_, entry.line, " exit with hr=80070005, code=00000000h\n"));
  }
}

TEST_F(Capabilities, AreReadWithTheServicesOwnIdentity) {
  Grant(kPackage, 1);
  unsigned asked = 0;
  host::AtCall("GetPackageFamilyNameFromToken", [&] {
    const auto token = host::ThreadToken();
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(*token, BobIn(kPackageName));
    ++asked;
  });
  for (const char* function : {"CM_Get_Device_ID_List_SizeW", "CM_Open_DevNode_Key", "RegGetValueW"}) {
    host::AtCall(function, [&] {
      EXPECT_EQ(host::ThreadToken(), nullptr);
      ++asked;
    });
  }
  EXPECT_EQ(Run(0, kNothing).result, kAdmitted);
  // The device is looked up for the table and for the list; each is read, the list's entry by its size only.
  EXPECT_EQ(asked, 1u + 2u + 2u + 2u);
}

}  // namespace
