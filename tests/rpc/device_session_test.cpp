// Device sessions of real clients of the running service: results, log lines, and what is left behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/rpc/client_handshake.h"
#include "platform/host/rpc/server_status.h"
#include "tests/support/device_session.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

namespace {

constexpr const char* kEntered = "Hkd04a7Rpc_Device_CallFuncMethod enter\n";
constexpr const char* kSucceeded = "Hkd04a7Rpc_Device_CallFuncMethod() exit hr=S_OK\n";
constexpr const char* kNotLoaded = "Hkd04a7Rpc_Device_Create fails to LoadLibrary\n";

std::string ProgramFolder() {
  return std::filesystem::canonical("/proc/self/exe").parent_path();
}

// The references to the device library of this process, the service's own one included.
int References() {
  return host::ModuleReferences(u"hkd04a7-utility.dll");
}

class DeviceSessions : public testing::Test {
 protected:
  void SetUp() override {
    service.StartAndSettle();
    before = References();
    ASSERT_TRUE(service.Log().WaitFor("worker thread of listening"));  // its thread may come late
    service.Log().Take();
  }
  void TearDown() override {
    host::SetExecutablePath(u"");
    host::RestoreModules();
  }

  // Waits until no device session is left at the service.
  static bool AllEnded() {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (host::rpc::ContextHandleCount() != 0) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
  }

  ServiceProcess service;
  int before = 0;
};

TEST_F(DeviceSessions, OpenCallAndCloseInEachTransferSyntax) {
  service.Device().Script({0x2001, 1, 2, 0xFFFFFFFF}, {}, machine::DeviceAnswer{1, 0x80000123});
  service.Device().Script({0x2002, 0, 0, 0}, {}, machine::DeviceAnswer{0, 0x77});
  for (const bool ndr64 : {false, true}) {
    SCOPED_TRACE(ndr64);
    host::rpc::OfferTransferSyntaxes(!ndr64, ndr64);
    RpcClient client;
    DeviceSession session(client.Binding());
    ASSERT_EQ(session.Open(), 0u);
    EXPECT_EQ(References(), before + 1);
    EXPECT_THAT(service.Log().Take(), IsEmpty());

    DWORD result = 0;
    EXPECT_EQ(session.Call(0x2001, 1, 2, 0xFFFFFFFF, &result), 0u);
    EXPECT_EQ(result, 0x80000123u) << "the device's word is the client's to judge";
    EXPECT_THAT(service.Log().Take(), ElementsAre(kEntered, kSucceeded));
    EXPECT_EQ(session.Call(0x2002, 0, 0, 0, &result), 0x80004005u);
    EXPECT_EQ(result, 0x77u) << "what the device left there";
    EXPECT_THAT(service.Log().Take(), ElementsAre(kEntered));
    EXPECT_EQ(session.WakeupStatus(3, &result), 0x80070057u);
    service.Log().Take();

    EXPECT_EQ(session.Close(), 0u);
    EXPECT_EQ(session.Handle(), nullptr);
    EXPECT_EQ(References(), before);
    // Nothing of this reaches the service.
    EXPECT_EQ(session.Close(), RPC_X_SS_IN_NULL_CONTEXT);
    EXPECT_EQ(session.Call(0x2001, 1, 2, 3, &result), RPC_X_SS_IN_NULL_CONTEXT);
    EXPECT_EQ(session.WakeupStatus(1, &result), RPC_X_SS_IN_NULL_CONTEXT);
    EXPECT_THAT(service.Log().Take(), IsEmpty());
  }
}

// Codes that the service itself polls with included: a client that asks takes the answer away from it.
TEST_F(DeviceSessions, PassAnyFunctionThrough) {
  RpcClient client;
  DeviceSession session(client.Binding());
  ASSERT_EQ(session.Open(), 0u);
  const std::size_t asked = service.Device().Trace().size();
  DWORD result = 0;
  std::vector<machine::DeviceFunction> expected;
  for (const DWORD code : {0x1000u, 0x1002u, 0u, 0xFFFFFFFFu}) {
    expected.push_back({code, 7, 0xFFFFFFFE, ~code});
    session.Call(code, 7, 0xFFFFFFFE, ~code, &result);
  }
  std::vector<machine::DeviceFunction> seen;
  for (const machine::DeviceTrace& call : service.Device().Trace()) seen.push_back(call.record.call);
  EXPECT_EQ(std::vector(seen.begin() + static_cast<std::ptrdiff_t>(asked), seen.end()), expected);
}

// Why a session cannot be opened: what the client is told, what is logged, and that nothing stays.
TEST_F(DeviceSessions, AreRefusedWithoutTheLibrary) {
  using Arrange = std::function<void()>;
  const auto moveTo = [](std::string folder) {
    return Arrange([folder] { host::SetExecutablePath(host::ToUtf16(folder + "/hkd04a7-service")); });
  };
  const auto fail = [](const char* call, DWORD code) { return Arrange([=] { host::FailCall(call, 1, code); }); };
  const Lines logged = {kNotLoaded};
  const struct {
    const char* why;
    Arrange arrange;
    DWORD result;
    Lines lines;
  } cases[] = {
      {"no such file", moveTo("/nowhere"), 0x8007007E, logged},
      {"an export missing", moveTo(ProgramFolder() + "/variants/utility-lacks-export"), 0x8007007F, logged},
      {"a path of 260 characters", moveTo("/" + std::string(260 - 17, 'd')), 0x8007007E, {}},
      {"no path", fail("GetModuleFileNameW", ERROR_ACCESS_DENIED), 0x8007007E, {}},
      {"no folder", fail("PathCchRemoveFileSpec", 0x80070057), 0x8007007E, {}},
      {"a folder too long for the library", moveTo("/" + std::string(260 - 20, 'd')), 0x8007007E, {}},
      {"not a library", fail("LoadLibraryW", ERROR_BAD_EXE_FORMAT), 0x800700C1, logged},
      {"an HRESULT as last error", fail("LoadLibraryW", 0x80041234), 0x80041234, logged},
      {"a large code", fail("LoadLibraryW", 0x12345), 0x80072345, logged},
  };
  RpcClient client;
  for (const auto& entry : cases) {
    SCOPED_TRACE(entry.why);
    entry.arrange();
    DeviceSession session(client.Binding());
    EXPECT_EQ(session.Open(), entry.result);
    EXPECT_EQ(session.Handle(), nullptr);
    EXPECT_EQ(service.Log().Take(), entry.lines);
    EXPECT_EQ(References(), before);
    EXPECT_EQ(host::rpc::ContextHandleCount(), 0u);
    host::SetExecutablePath(u"");
    host::ClearFaults();
  }
}

TEST_F(DeviceSessions, NeedEveryExport) {
  RpcClient client;
  for (const char* name : {"InternalCallFuncMethod", "InternalBeginWaitNotification", "InternalCancelWaitNotification",
                           "InternalRegisterCallbackForNotification", "InternalUnregisterCallbackForNotification",
                           "InternalGetCallbackForNotificationWorker"}) {
    host::TakeAwayExport(u"hkd04a7-utility.dll", name);
    DeviceSession session(client.Binding());
    EXPECT_EQ(session.Open(), 0x8007007Fu) << name;
    EXPECT_EQ(References(), before);
    host::RestoreModules();
  }
}

TEST_F(DeviceSessions, OpenCallAndCloseOnManyClientsAtOnce) {
  constexpr DWORD kClients = 6, kRounds = 15;
  for (DWORD number = 0; number < kClients; ++number) {
    service.Device().Script({0x2000, number, 0, 0}, {}, machine::DeviceAnswer{1, 1000 + number});
  }
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (DWORD number = 0; number < kClients; ++number) {
    threads.emplace_back([&wrong, number] {
      RpcClient client;
      DeviceSession lasting(client.Binding());
      wrong += lasting.Open() != 0;
      for (DWORD round = 0; round < kRounds; ++round) {
        DeviceSession passing(client.Binding());
        wrong += passing.Open() != 0;
        for (DeviceSession* session : {&passing, &lasting}) {
          DWORD result = 0;
          wrong += session->Call(0x2000, number, 0, 0, &result) != 0 || result != 1000 + number;
        }
        wrong += round % 2 == 0 && passing.Close() != 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(AllEnded());
  EXPECT_EQ(References(), before);
}

// The interface is off the air then, and the session its client's still.
TEST_F(DeviceSessions, KeepTheLibraryWhenTheServiceHasReleasedItsOwn) {
  RpcClient client;
  DeviceSession session(client.Binding());
  ASSERT_EQ(session.Open(), 0u);
  EXPECT_EQ(service.Stop(), 0u);
  EXPECT_EQ(References(), 1);
  DWORD result = 0;
  EXPECT_EQ(session.Call(0x1000, 0, 0, 0, &result), RPC_S_UNKNOWN_IF);
  session.Vanish();
  client.Vanish();
  EXPECT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - device rundown\n"));
  EXPECT_TRUE(AllEnded());
  EXPECT_EQ(References(), 0);
}

}  // namespace
