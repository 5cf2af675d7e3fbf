// Which program a command names. A listed one whose program does not exist is answered 0x80070002.
#include <gmock/gmock.h>

#include "auth/client_capabilities.h"
#include "auth/command_allow_list.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/registry.h"
#include "tests/auth/requests.h"

using namespace request_test;
using Quorvex::PC::Hkd04a7::Service::GetAllowedCommand;
using Quorvex::PC::Hkd04a7::Service::kCommandKey;
using Quorvex::PC::Hkd04a7::Service::kRestrictedRpcKey;

namespace {

constexpr DWORD kNotListed = static_cast<DWORD>(E_NOTIMPL);
constexpr DWORD kListed = 0x80070002;
constexpr const WCHAR* kNoProgram = W("/nowhere/program");

class AllowList : public Requests {
 protected:
  void SetUp() override {
    Requests::SetUp();
    Grant(kPackage, 1);
  }
  DWORD Ask(const WCHAR* command) { return Run(0, command).result; }
};

TEST_F(AllowList, IsReadAnewForEachRequest) {
  EXPECT_EQ(Ask(W("tool")), kNotListed);
  Allow(W("Tool"), {kNoProgram});
  EXPECT_EQ(Ask(W("Tool")), kListed);
  EXPECT_EQ(Ask(W("tOOL")), kListed) << "value names have no letter case";
  EXPECT_EQ(Ask(W("Tool2")), kNotListed);
  EXPECT_EQ(Ask(kNoProgram), kNotListed) << "a path is no identifier";
  EXPECT_EQ(Ask(W("")), kNotListed);
  RemoveEntry(kCommandKey, W("Tool"));
  EXPECT_EQ(Ask(W("Tool")), kNotListed);
}

TEST_F(AllowList, HoldsListsOfStringsOnly) {
  const WideString text = WideString(kNoProgram) + W('\0');
  for (const DWORD type : {REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_NONE}) {
    SetEntry(kCommandKey, W("tool"), type, text.data(), text.size() * sizeof(WCHAR));
    EXPECT_EQ(Ask(W("tool")), kNotListed) << "type " << type;
  }
  Allow(W("tool"), {W(""), W("-a")});
  EXPECT_EQ(Ask(W("tool")), kNotListed) << "an empty path";
  // Data that lack their terminators, or end within a character.
  SetEntry(kCommandKey, W("tool"), REG_MULTI_SZ, text.data(), (text.size() - 1) * sizeof(WCHAR));
  EXPECT_EQ(GetAllowedCommand(W("tool")).application, kNoProgram);
  SetEntry(kCommandKey, W("tool"), REG_MULTI_SZ, text.data(), text.size() * sizeof(WCHAR) - 1);
  EXPECT_EQ(GetAllowedCommand(W("tool")).application, kNoProgram);
  SetEntry(kCommandKey, W("tool"), REG_MULTI_SZ, nullptr, 0);
  EXPECT_EQ(GetAllowedCommand(W("tool")).application, W(""));
}

TEST_F(AllowList, AReadThatFailsListsNothing) {
  Allow(W("tool"), {kNoProgram});
  // The first value that is read is the capability's; then come the size and the data.
  for (const unsigned read : {2u, 3u}) {
    host::FailCall("RegGetValueW", read, ERROR_MORE_DATA);
    EXPECT_EQ(Ask(W("tool")), kNotListed);
  }
  host::FailCall("CM_Open_DevNode_Key", 2, 5);
  EXPECT_EQ(Ask(W("tool")), kNotListed);
  EXPECT_EQ(Ask(W("tool")), kListed);
}

TEST_F(AllowList, IsNotForClientsWithoutTheCapability) {
  Allow(W("tool"), {kNoProgram});
  RemoveEntry(kRestrictedRpcKey, kPackage);
  for (const WCHAR* command : {W("tool"), W("no such command"), W("")}) {
    EXPECT_EQ(Ask(command), static_cast<DWORD>(E_ACCESSDENIED));
  }
}

}  // namespace
