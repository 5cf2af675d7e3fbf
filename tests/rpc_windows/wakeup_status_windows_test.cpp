// The wake-up query over the platform's RPC runtime, in all its answers, with the platform's registry and events.
#include <gtest/gtest.h>

#include "common/handles.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "platform/sync.h"
#include "rpc/wakeup_check_event.h"
#include "rpc/wakeup_record.h"
#include "tests/rpc_windows/interface_under_test.h"

namespace {

using namespace Quorvex::PC::Hkd04a7::Service;
using Quorvex::PC::Common::UniqueHandle;
using Quorvex::PC::Common::UniqueRegistryKey;

constexpr const wchar_t* kRecord = L"Software\\Quorvex\\HKD04A7\\Wakeup";

void Set(HKEY root, const wchar_t* name, DWORD type, const void* data, DWORD size) {
  UniqueRegistryKey parent, key;
  ASSERT_EQ(RegCreateKeyExW(root, L"Software\\Quorvex\\HKD04A7", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                            parent.Receive(), nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegCreateKeyExW(parent.Get(), L"Wakeup", 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                            key.Receive(), nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExW(key.Get(), name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
}
void Set(HKEY root, const wchar_t* name, DWORD word) {
  Set(root, name, REG_DWORD, &word, sizeof(word));
}

class WindowsWakeupStatus : public testing::Test {
 protected:
  void SetUp() override {
    RemoveRecords();
    ASSERT_EQ(Ask([&] { return Client_Hkd04a7Rpc_Device_Create(binding.Handle(), &device); }), kSucceeded);
  }
  void TearDown() override {
    EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_Device_Close(&device); }), kSucceeded);
    RemoveRecords();
    UniqueHandle(check.load());
  }
  static void RemoveRecords() {
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) RegDeleteKeyW(root, kRecord);
  }
  void CompleteCheck() {
    ASSERT_TRUE(CreateWakeupCheckEvent(check));
    ASSERT_TRUE(SetEvent(check));
  }
  Answer Status(DWORD kind) {
    return Ask([&] { return Client_Hkd04a7Rpc_Device_GetWakeupStatus(device, kind, &info); });
  }

  const Server server;
  const Binding binding{server.Endpoint()};
  std::atomic<HANDLE> check = nullptr;
  Hkd04a7Rpc_DeviceHandle device = nullptr;
  DWORD info = 0;
};

TEST_F(WindowsWakeupStatus, IsNotToldBeforeTheCheckIsOver) {
  EXPECT_EQ(Status(1), Result(0x800705B4)) << "no event";
  ASSERT_TRUE(CreateWakeupCheckEvent(check));
  for (const DWORD kind : {1u, 2u, 3u}) EXPECT_EQ(Status(kind), Result(0x800705B4));
  DWORD untouched = 0xEEEEEEEE;
  Hkd04a7Rpc_DeviceHandle direct = nullptr;
  ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &direct), S_OK);
  Hkd04a7Rpc_Device_GetWakeupStatus(direct, 1, &untouched);
  EXPECT_EQ(untouched, 0xEEEEEEEEu);
  EXPECT_EQ(Hkd04a7Rpc_Device_GetWakeupStatus(direct, 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(Hkd04a7Rpc_Device_Close(&direct), S_OK);
  ASSERT_TRUE(SetEvent(check));
  EXPECT_EQ(Status(3), Result(0x80070057));
}

TEST_F(WindowsWakeupStatus, IsWhatTheServiceRecorded) {
  CompleteCheck();
  for (const DWORD kind : {1u, 2u}) EXPECT_EQ(Status(kind), Result(0x80004005)) << "no record";
  WriteWakeupSwitchRecord(4);
  WriteWakeupButtonRecord(0x40000401);
  EXPECT_EQ(Status(1), kSucceeded);
  EXPECT_EQ(info, 4u);
  EXPECT_EQ(Status(2), kSucceeded);
  EXPECT_EQ(info, 0x40000401u);
  WriteWakeupSwitchRecord(-5);
  WriteWakeupButtonRecord(0x40000312);
  for (const DWORD kind : {1u, 2u}) {
    EXPECT_EQ(Status(kind), kSucceeded);
    EXPECT_EQ(info, 0u);
  }
  for (const DWORD kind : {0u, 3u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Status(kind), Result(0x80070057));
    EXPECT_EQ(info, 0u);
  }
}

TEST_F(WindowsWakeupStatus, NeedsAValueOfItsType) {
  CompleteCheck();
  for (const wchar_t* name : {L"WakeupSwitchInfo", L"WakeupOnetouchButtonInfo"}) {
    Set(HKEY_LOCAL_MACHINE, name, REG_SZ, L"401", 8);
  }
  for (const DWORD kind : {1u, 2u}) EXPECT_EQ(Status(kind), Result(0x80004005));
  const DWORD word = 4;
  Set(HKEY_LOCAL_MACHINE, L"WakeupSwitchInfo", REG_BINARY, &word, sizeof(word));
  EXPECT_EQ(Status(1), Result(0x80004005)) << "four bytes of another type";
  Set(HKEY_LOCAL_MACHINE, L"WakeupSwitchInfo", word);
  EXPECT_EQ(Status(1), kSucceeded);
}

TEST_F(WindowsWakeupStatus, OfTheSwitchFallsBackToTheServicesOwnUser) {
  CompleteCheck();
  Set(HKEY_CURRENT_USER, L"WakeupSwitchInfo", 9);
  Set(HKEY_CURRENT_USER, L"WakeupOnetouchButtonInfo", 9);
  EXPECT_EQ(Status(1), kSucceeded);
  EXPECT_EQ(info, 9u);
  EXPECT_EQ(Status(2), Result(0x80004005)) << "that of the button does not";
  Set(HKEY_LOCAL_MACHINE, L"WrittenWakeupEvent", 1);
  EXPECT_EQ(Status(1), Result(0x80004005)) << "the machine's record counts where there is one";
}

}  // namespace
