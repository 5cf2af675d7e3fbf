// What procedure 8 answers: decided from what was read, read from the registry, and asked for by clients of the running
// service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/rpc/client_handshake.h"
#include "platform/services.h"
#include "platform/sync.h"
#include "rpc/wakeup_check_event.h"
#include "rpc/wakeup_status.h"
#include "tests/support/device_session.h"
#include "tests/support/registry_values.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;
using namespace Quorvex::PC::Hkd04a7::Service;
using Quorvex::PC::Common::UniqueHandle;
using Quorvex::PC::Common::UniqueRegistryKey;
using testing::ElementsAre;

namespace {

constexpr DWORD kUntouched = 0xEEEEEEEE;
constexpr const char* kEntered = "Hkd04a7Rpc_Device_GetWakeupStatus enter\n";

TEST(WakeupQuery, GoesToTheReaderOfItsKind) {
  static constexpr auto kReads5 = [](DWORD& info) {
    info = 5;
    return true;
  };
  static constexpr auto kReads6 = [](DWORD& info) {
    info = 6;
    return true;
  };
  static constexpr auto kFails = [](DWORD&) { return false; };
  const struct {
    DWORD kind;
    WakeupInfoReader readSwitch, readButton;
    HRESULT result;
    DWORD info;
  } cases[] = {
      {1, kReads5, kFails, S_OK, 5},
      {2, kFails, kReads6, S_OK, 6},
      {1, kFails, kReads6, E_FAIL, 0},
      {2, kReads5, kFails, E_FAIL, 0},
      {0, kReads5, kReads6, E_INVALIDARG, 0},
      {3, kReads5, kReads6, E_INVALIDARG, 0},
      {0xFFFFFFFF, kReads5, kReads6, E_INVALIDARG, 0},
  };
  for (const auto& entry : cases) {
    DWORD info = kUntouched;
    EXPECT_EQ(AnswerWakeupQuery(entry.kind, entry.readSwitch, entry.readButton, info), entry.result) << entry.kind;
    EXPECT_EQ(info, entry.info) << entry.kind;
  }
}

// --- The routine over a registry of its own, without a service ---

class WakeupStatus : public testing::Test {
 protected:
  void SetUp() override {
    host::SetOwnToken(host::SystemToken());
    ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &device), S_OK);
  }
  void TearDown() override {
    EXPECT_EQ(Hkd04a7Rpc_Device_Close(&device), S_OK);
    UniqueHandle(check.load());
  }

  void CompleteCheck() {
    ASSERT_TRUE(CreateWakeupCheckEvent(check));
    ASSERT_TRUE(SetEvent(check));
  }
  HRESULT Ask(DWORD kind, DWORD& info) {
    info = kUntouched;
    return Hkd04a7Rpc_Device_GetWakeupStatus(device, kind, &info);
  }
  static void SetOfUser(const WCHAR* name, DWORD type, const void* data, DWORD size) {
    UniqueRegistryKey key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kWakeupKey, 0, nullptr, 0, KEY_WRITE, nullptr, key.Receive(), nullptr),
              0);
    ASSERT_EQ(RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data), size), 0);
  }

  TestMachine machine;
  std::atomic<HANDLE> check = nullptr;
  Hkd04a7Rpc_DeviceHandle device = nullptr;
};

TEST_F(WakeupStatus, IsNotToldBeforeTheCheckIsOver) {
  SetNumber(kWakeupKey, W("WakeupSwitchInfo"), 4);
  DWORD info = 0;
  EXPECT_EQ(Ask(1, info), static_cast<HRESULT>(0x800705B4)) << "no event";
  ASSERT_TRUE(CreateWakeupCheckEvent(check));
  for (const DWORD kind : {1u, 2u, 3u}) {
    EXPECT_EQ(Ask(kind, info), static_cast<HRESULT>(0x800705B4));
    EXPECT_EQ(info, kUntouched);
  }
  EXPECT_EQ(Hkd04a7Rpc_Device_GetWakeupStatus(device, 1, nullptr), E_INVALIDARG) << "before the check is looked at";
  ASSERT_TRUE(SetEvent(check));
  EXPECT_EQ(Ask(1, info), S_OK);
  EXPECT_EQ(info, 4u);
}

TEST_F(WakeupStatus, IsReadFromTheMachinesRecord) {
  CompleteCheck();
  DWORD info = 0;
  for (const DWORD kind : {1u, 2u}) {
    EXPECT_EQ(Ask(kind, info), E_FAIL) << "no record";
    EXPECT_EQ(info, 0u);
  }
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND)) << "of kind 2, for whoever looks";
  SetNumber(kWakeupKey, W("WakeupSwitchInfo"), 0x80000001);
  SetText(kWakeupKey, W("WakeupOnetouchButtonInfo"), W("401"));
  EXPECT_EQ(Ask(1, info), S_OK);
  EXPECT_EQ(info, 0x80000001u);
  EXPECT_EQ(Ask(2, info), E_FAIL);
  EXPECT_EQ(info, 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_UNSUPPORTED_TYPE));
  SetNumber(kWakeupKey, W("WakeupOnetouchButtonInfo"), 0x40000401);
  EXPECT_EQ(Ask(2, info), S_OK);
  EXPECT_EQ(info, 0x40000401u);
}

TEST_F(WakeupStatus, OfTheSwitchFallsBackToTheServicesOwnUser) {
  CompleteCheck();
  const DWORD word = 9;
  DWORD info = 0;
  SetOfUser(W("WakeupOnetouchButtonInfo"), REG_DWORD, &word, sizeof(word));
  EXPECT_EQ(Ask(1, info), E_FAIL) << "the key without the value";
  EXPECT_EQ(Ask(2, info), E_FAIL) << "kind 2 does not fall back";
  SetOfUser(W("WakeupSwitchInfo"), REG_BINARY, &word, sizeof(word));
  EXPECT_EQ(Ask(1, info), E_FAIL) << "four bytes of another type";
  SetOfUser(W("WakeupSwitchInfo"), REG_DWORD, &word, sizeof(word));
  EXPECT_EQ(Ask(1, info), S_OK);
  EXPECT_EQ(info, 9u);
  const std::uint64_t large = 9;
  SetOfUser(W("WakeupSwitchInfo"), REG_QWORD, &large, sizeof(large));
  EXPECT_EQ(Ask(1, info), E_FAIL) << "more than four bytes";
  // Where the machine has a record it is the one that counts, with the value or without.
  SetOfUser(W("WakeupSwitchInfo"), REG_DWORD, &word, sizeof(word));
  SetNumber(kWakeupKey, W("WrittenWakeupEvent"), 1);
  EXPECT_EQ(Ask(1, info), E_FAIL);
  EXPECT_EQ(info, 0u);
}

// --- Clients of the running service ---

class WakeupClient : public testing::Test {
 protected:
  void SetUp() override {
    service.StartAndSettle();
    ASSERT_EQ(session.Open(), 0u);
  }

  void Resume(std::uint32_t switchWord, std::uint32_t buttonWord) {
    service.Device().SetWake(switchWord, buttonWord);
    const std::size_t polls = service.Polls();
    service.Control(SERVICE_CONTROL_POWEREVENT, PBT_APMSUSPEND);
    service.Control(SERVICE_CONTROL_POWEREVENT, PBT_APMRESUMEAUTOMATIC);
    service.AwaitPolls(polls + 1);
  }
  // The result of each kind, and its value where it came to one.
  std::string Told() {
    std::string told;
    for (const DWORD kind : {1u, 2u}) {
      DWORD info = kUntouched;
      const DWORD result = session.WakeupStatus(kind, &info);
      char text[32];
      std::snprintf(text, sizeof text, result == 0 ? "%s%x" : "%s(%x)", kind == 1 ? "" : " ",
                    static_cast<unsigned>(result == 0 ? info : result));
      told += text;
    }
    return told;
  }

  ServiceProcess service;
  RpcClient client;
  DeviceSession session{client.Binding()};
};

TEST_F(WakeupClient, IsToldWhatWokeTheMachine) {
  EXPECT_EQ(Told(), "(80004005) 0") << "no switch word since the machine started";
  const struct {
    std::uint32_t switchWord, buttonWord;
    const char* told;
  } cases[] = {{0, 0x40000401, "0 40000401"}, {0, 0x40000312, "0 0"}, {4, 0, "4 0"}, {0, 0x00000401, "0 0"}};
  for (const bool ndr64 : {false, true}) {
    host::rpc::OfferTransferSyntaxes(!ndr64, ndr64);
    for (const auto& entry : cases) {
      Resume(entry.switchWord, entry.buttonWord);
      EXPECT_EQ(Told(), entry.told);
    }
  }
  DWORD info = 0;
  for (const DWORD kind : {0u, 3u}) EXPECT_EQ(session.WakeupStatus(kind, &info), 0x80070057u);

  service.Control(SERVICE_CONTROL_POWEREVENT, PBT_APMSUSPEND);
  EXPECT_EQ(Told(), "(800705b4) (800705b4)") << "until the check after the resume";
  Resume(4, 0x40000401);
  EXPECT_EQ(Told(), "4 40000401");
  service.Control(SERVICE_CONTROL_SESSIONCHANGE, WTS_SESSION_LOGOFF, 1);
  EXPECT_EQ(Told(), "0 0") << "a logoff clears the record and leaves it current";
}

TEST_F(WakeupClient, LeavesItsLinesInTheLog) {
  Resume(4, 0);
  service.Log().Take();
  DWORD info = 0;
  session.WakeupStatus(1, &info);
  session.WakeupStatus(3, &info);
  EXPECT_THAT(service.Log().Take(), ElementsAre(kEntered, "Hkd04a7Rpc_Device_GetWakeupStatus() exit hr=0x00000000\n",
                                                kEntered, "Hkd04a7Rpc_Device_GetWakeupStatus() exit hr=0x80070057\n"));
  service.Control(SERVICE_CONTROL_POWEREVENT, PBT_APMSUSPEND);
  service.Log().Take();
  session.WakeupStatus(1, &info);
  EXPECT_THAT(service.Log().Take(), ElementsAre(kEntered)) << "no result line before the check is over";
}

}  // namespace
