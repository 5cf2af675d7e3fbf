// Device sessions over the platform's RPC runtime, with the stand-in of the device library beside this program.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "common/handles.h"
#include "tests/rpc_windows/interface_under_test.h"

namespace {

using Quorvex::PC::Common::UniqueHandle;

std::filesystem::path ProgramFolder() {
  wchar_t program[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  return std::filesystem::path(program).parent_path();
}

// What the stand-in answers from while the object lives.
class Script {
 public:
  explicit Script(const char* text) { std::ofstream(path_) << text; }
  ~Script() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

 private:
  const std::filesystem::path path_ = ProgramFolder() / "hkd04a7-utility.script";
};

bool LibraryIsLoaded() {
  return GetModuleHandleW(L"hkd04a7-utility.dll") != nullptr;
}

class WindowsDeviceSession : public testing::Test {
 protected:
  Answer Create(const Binding& by, Hkd04a7Rpc_DeviceHandle* device) {
    return Ask([&] { return Client_Hkd04a7Rpc_Device_Create(by.Handle(), device); });
  }
  Answer Close(Hkd04a7Rpc_DeviceHandle* device) {
    return Ask([&] { return Client_Hkd04a7Rpc_Device_Close(device); });
  }
  Answer Call(Hkd04a7Rpc_DeviceHandle device, DWORD code, DWORD arg1, DWORD arg2, DWORD arg3) {
    return Ask([&] { return Client_Hkd04a7Rpc_Device_CallFuncMethod(device, code, arg1, arg2, arg3, &word); });
  }
  Answer WakeupStatus(Hkd04a7Rpc_DeviceHandle device, DWORD kind) {
    return Ask([&] { return Client_Hkd04a7Rpc_Device_GetWakeupStatus(device, kind, &word); });
  }

  const Script script{
      "0x2001 1 2 0xFFFFFFFF = 0x80000123*\n"
      "0x2002 0 0 0 = fail, fail, fail\n"};
  const Server server;
  const Binding binding{server.Endpoint()};
  DWORD word = 0;
};

TEST_F(WindowsDeviceSession, OpensCallsAndCloses) {
  Hkd04a7Rpc_DeviceHandle first = nullptr, second = nullptr;
  ASSERT_EQ(Create(binding, &first), kSucceeded);
  ASSERT_EQ(Create(binding, &second), kSucceeded);
  for (Hkd04a7Rpc_DeviceHandle device : {first, second}) {
    EXPECT_EQ(Call(device, 0x2001, 1, 2, 0xFFFFFFFF), kSucceeded);
    EXPECT_EQ(word, 0x80000123u);
    EXPECT_EQ(Call(device, 0x2002, 0, 0, 0), Result(0x80004005));
  }
  EXPECT_EQ(Close(&first), kSucceeded);
  EXPECT_EQ(first, nullptr);
  EXPECT_TRUE(LibraryIsLoaded());
  EXPECT_EQ(Call(second, 0x2001, 1, 2, 0xFFFFFFFF), kSucceeded);
  EXPECT_EQ(Close(&second), kSucceeded);
  EXPECT_FALSE(LibraryIsLoaded()) << "given back with the last session";
}

// Another process, killed with its sessions open.
TEST_F(WindowsDeviceSession, IsRunDownWithItsClient) {
  const std::wstring eventName = L"Hkd04a7SessionsOpen" + std::to_wstring(GetCurrentProcessId());
  const UniqueHandle opened(CreateEventW(nullptr, TRUE, FALSE, eventName.c_str()));
  std::wstring command = L"session_holder.exe " + server.Endpoint() + L" " + eventName;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION information = {};
  const std::wstring program = (ProgramFolder() / "session_holder.exe").wstring();
  ASSERT_TRUE(CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                             &information));
  const UniqueHandle process(information.hProcess), thread(information.hThread);
  EXPECT_EQ(WaitForSingleObject(opened.Get(), 20000), WAIT_OBJECT_0);
  EXPECT_TRUE(LibraryIsLoaded());
  EXPECT_TRUE(TerminateProcess(process.Get(), 1));
  for (int n = 0; n < 1000 && LibraryIsLoaded(); ++n) Sleep(10);
  EXPECT_FALSE(LibraryIsLoaded());
}

// The process's association exists before they start: under Wine connections that are its first ones at the same moment
// may end up in different associations, and a handle opened over one is refused over another (6, a mismatch).
TEST_F(WindowsDeviceSession, ManyClientsAtOnce) {
  constexpr int kClients = 4, kRounds = 20;
  Hkd04a7Rpc_DeviceHandle first = nullptr;
  ASSERT_EQ(Create(binding, &first), kSucceeded);
  std::atomic<int> wrong = 0;
  std::vector<std::jthread> clients;
  for (int client = 0; client < kClients; ++client) {
    clients.emplace_back([&] {
      const Binding own(server.Endpoint());
      for (int round = 0; round < kRounds; ++round) {
        Hkd04a7Rpc_DeviceHandle device = nullptr;
        DWORD answer = 0;
        wrong += Create(own, &device) != kSucceeded;
        const Answer called =
            Ask([&] { return Client_Hkd04a7Rpc_Device_CallFuncMethod(device, 0x2001, 1, 2, 0xFFFFFFFF, &answer); });
        wrong += called != kSucceeded || answer != 0x80000123u;
        wrong += Close(&device) != kSucceeded;
      }
    });
  }
  clients.clear();
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(Close(&first), kSucceeded);
  EXPECT_FALSE(LibraryIsLoaded());
}

TEST_F(WindowsDeviceSession, ANullHandleIsRefusedByTheRuntime) {
  Hkd04a7Rpc_DeviceHandle null = nullptr;
  EXPECT_NE(Call(null, 0x2001, 1, 2, 3).status, RPC_S_OK);
  EXPECT_NE(WakeupStatus(null, 1).status, RPC_S_OK);
  EXPECT_NE(Close(&null).status, RPC_S_OK);
}

// The runtime may let a handle of the other type through to the routine, which answers it like none at all.
TEST_F(WindowsDeviceSession, AHandleOfTheOtherTypeIsRefused) {
  Hkd04a7Rpc_DeviceHandle device = nullptr;
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Create(binding, &device), kSucceeded);
  ASSERT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Create(binding.Handle(), &subscription); }), kSucceeded);
  const auto refused = [](const Answer& answer, DWORD asNull) {
    return answer.status != RPC_S_OK || answer == Result(asNull);
  };
  EXPECT_TRUE(refused(Call(subscription, 0x2001, 1, 2, 0xFFFFFFFF), 0x80070006));
  EXPECT_TRUE(refused(WakeupStatus(subscription, 1), 0x80070006));
  Hkd04a7Rpc_DeviceHandle given = subscription;
  EXPECT_TRUE(refused(Close(&given), 1));
  given = device;
  EXPECT_TRUE(refused(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&given); }), 1));

  EXPECT_EQ(Call(device, 0x2001, 1, 2, 0xFFFFFFFF), kSucceeded) << "nothing happened to it";
  EXPECT_EQ(Close(&device), kSucceeded);
  EXPECT_EQ(Ask([&] { return Client_Hkd04a7Rpc_EventNotify_Destroy(&subscription); }), kSucceeded);
  EXPECT_FALSE(LibraryIsLoaded());
}

// The routines as a runtime may call them.
TEST_F(WindowsDeviceSession, RoutinesAnswerAHandleThatIsNoneOfTheirsLikeANullOne) {
  Hkd04a7Rpc_DeviceHandle ended = nullptr;
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &ended), S_OK);
  ASSERT_EQ(Hkd04a7Rpc_EventNotify_Create(nullptr, &subscription), S_OK);
  const Hkd04a7Rpc_DeviceHandle stale = ended;
  ASSERT_EQ(Hkd04a7Rpc_Device_Close(&ended), S_OK);
  for (Hkd04a7Rpc_DeviceHandle handle : {Hkd04a7Rpc_DeviceHandle{}, stale, subscription}) {
    EXPECT_EQ(Hkd04a7Rpc_Device_CallFuncMethod(handle, 0x2001, 1, 2, 0xFFFFFFFF, &word), E_HANDLE);
    EXPECT_EQ(Hkd04a7Rpc_Device_GetWakeupStatus(handle, 1, &word), E_HANDLE);
    EXPECT_EQ(Hkd04a7Rpc_Device_Close(&handle), S_FALSE);
    Hkd04a7Rpc_DeviceHandle_rundown(handle);
  }
  EXPECT_EQ(Hkd04a7Rpc_EventNotify_Destroy(&subscription), S_OK);
}

}  // namespace
