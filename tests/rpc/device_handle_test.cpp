// Device handles that are not what they should be, that go while a call runs on them, or whose client goes.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/host/rpc/fault_status.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/server_status.h"
#include "platform/rpc_client.h"
#include "tests/rpc/raw_client.h"
#include "tests/support/device_session.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

using namespace support;
using namespace host::rpc::hkd04a7;
using host::rpc::ContextToken;
using host::rpc::kFaultContextMismatch;

namespace {

// What the service's routine made of the last opened session (the linker puts the routine below in its place).
std::atomic<Hkd04a7Rpc_DeviceHandle> g_lastOpened = nullptr;

}  // namespace

extern "C" HRESULT __real_Hkd04a7Rpc_Device_Create(handle_t binding, Hkd04a7Rpc_DeviceHandle* device);
extern "C" HRESULT __wrap_Hkd04a7Rpc_Device_Create(handle_t binding, Hkd04a7Rpc_DeviceHandle* device) {
  const HRESULT result = __real_Hkd04a7Rpc_Device_Create(binding, device);
  g_lastOpened = *device;
  return result;
}

namespace {

const host::rpc::InterfaceDescription kInterface = {kInterfaceUuid, kMajorVersion, kMinorVersion, kProcedures,
                                                    kContextTypes};

// A function that the device library runs for a call, as long as the test wants.
class Gate {
 public:
  std::uint32_t Pass() {
    std::unique_lock hold(lock_);
    ++inside_;
    changed_.notify_all();
    changed_.wait(hold, [this] { return open_; });
    return static_cast<std::uint32_t>(inside_);
  }
  bool AwaitInside() {
    std::unique_lock hold(lock_);
    return changed_.wait_for(hold, std::chrono::seconds(10), [this] { return inside_ > 0; });
  }
  void Open() {
    const std::lock_guard hold(lock_);
    open_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int inside_ = 0;
  bool open_ = false;
};

Gate* g_gate = nullptr;
std::uint32_t PassGate(std::uint32_t) {
  return g_gate->Pass();
}
std::uint32_t Double(std::uint32_t number) {
  return 2 * number;
}

using LentFunction = std::uint32_t (*)(std::uint32_t);
DWORD Upper(LentFunction function) {
  return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(function) >> 32);
}
DWORD Lower(LentFunction function) {
  return static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(function));
}

const std::string kFolder =
    std::filesystem::canonical("/proc/self/exe").parent_path().string() + "/variants/utility-lent-functions";

// References to the library whose functions are lent by this test.
int References() {
  return host::ModuleReferences(host::ToUtf16(kFolder + "/hkd04a7-utility.dll"));
}

template <typename Condition>
bool Eventually(Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Sessions opened from here on use the lent functions; the service itself keeps its own library.
class LentDevice {
 public:
  LentDevice() {
    g_gate = &gate;
    host::SetExecutablePath(host::ToUtf16(kFolder + "/hkd04a7-service"));
  }
  ~LentDevice() { host::SetExecutablePath(u""); }
  LentDevice(const LentDevice&) = delete;
  LentDevice& operator=(const LentDevice&) = delete;

  Gate gate;
};

// --- The routines, called as a runtime may call them that does not look at the type of a handle ---

TEST(DeviceRoutines, AnswerAHandleThatIsNoneOfTheirsLikeANullOne) {
  TestMachine machine;
  Hkd04a7Rpc_DeviceHandle session = nullptr;
  Hkd04a7Rpc_DeviceHandle ended = nullptr;
  Hkd04a7Rpc_EventNotifyHandle subscription = nullptr;
  ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &session), S_OK);
  ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &ended), S_OK);
  ASSERT_EQ(Hkd04a7Rpc_EventNotify_Create(nullptr, &subscription), S_OK);
  const Hkd04a7Rpc_DeviceHandle stale = ended;
  ASSERT_EQ(Hkd04a7Rpc_Device_Close(&ended), S_OK);
  EXPECT_EQ(ended, nullptr);

  EXPECT_EQ(Hkd04a7Rpc_Device_Close(nullptr), S_FALSE);
  for (const Hkd04a7Rpc_DeviceHandle handle : {Hkd04a7Rpc_DeviceHandle{}, stale, subscription}) {
    DWORD number = 0xEEEEEEEE;
    EXPECT_EQ(Hkd04a7Rpc_Device_CallFuncMethod(handle, 0x1000, 0, 0, 0, &number), E_HANDLE);
    EXPECT_EQ(Hkd04a7Rpc_Device_GetWakeupStatus(handle, 1, &number), E_HANDLE);
    EXPECT_EQ(Hkd04a7Rpc_Device_GetWakeupStatus(handle, 1, nullptr), E_HANDLE) << "looked at first";
    EXPECT_EQ(number, 0xEEEEEEEEu);
    Hkd04a7Rpc_DeviceHandle given = handle;
    EXPECT_EQ(Hkd04a7Rpc_Device_Close(&given), S_FALSE);
    EXPECT_EQ(given, handle) << "not closed, so still its owner's";
    Hkd04a7Rpc_DeviceHandle_rundown(handle);
  }
  for (const Hkd04a7Rpc_EventNotifyHandle handle : {Hkd04a7Rpc_EventNotifyHandle{}, stale, session}) {
    Hkd04a7Rpc_EventNotifyHandle given = handle;
    EXPECT_EQ(Hkd04a7Rpc_EventNotify_Destroy(&given), S_FALSE);
    EXPECT_EQ(given, handle);
    Hkd04a7Rpc_EventNotifyHandle_rundown(handle);
  }
  DWORD answer = 0;
  EXPECT_EQ(Hkd04a7Rpc_Device_CallFuncMethod(session, 0x1000, 0, 0, 0, &answer), S_OK) << "nothing happened to it";
  EXPECT_EQ(Hkd04a7Rpc_EventNotify_Destroy(&subscription), S_OK);
  Hkd04a7Rpc_DeviceHandle_rundown(session);
  EXPECT_EQ(host::ModuleReferences(u"hkd04a7-utility.dll"), 0);
}

TEST(DeviceRoutines, KeepTheLibraryUntilTheLastCallOnAClosedHandleHasLeft) {
  TestMachine machine;
  LentDevice device;
  Hkd04a7Rpc_DeviceHandle session = nullptr;
  ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &session), S_OK);
  DWORD answer = 0;
  HRESULT result = E_FAIL;
  std::thread caller([&, session] {
    result = Hkd04a7Rpc_Device_CallFuncMethod(session, 0, Upper(PassGate), Lower(PassGate), 0, &answer);
  });
  ASSERT_TRUE(device.gate.AwaitInside());
  EXPECT_EQ(Hkd04a7Rpc_Device_Close(&session), S_OK);
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(References(), 1) << "the call still runs in it";
  device.gate.Open();
  caller.join();
  EXPECT_EQ(result, S_OK);
  EXPECT_EQ(answer, 1u);
  EXPECT_EQ(References(), 0);
}

// Side by side, so that either may come first; made for the sanitizers.
TEST(DeviceRoutines, CloseAHandleWhileCallsRunOnIt) {
  TestMachine machine;
  LentDevice device;
  for (int round = 0; round < 200; ++round) {
    Hkd04a7Rpc_DeviceHandle session = nullptr;
    ASSERT_EQ(Hkd04a7Rpc_Device_Create(nullptr, &session), S_OK);
    const auto call = [session] {
      DWORD answer = 0;
      const HRESULT result = Hkd04a7Rpc_Device_CallFuncMethod(session, 0, Upper(Double), Lower(Double), 21, &answer);
      EXPECT_TRUE(result == E_HANDLE || (result == S_OK && answer == 42u)) << result << ' ' << answer;
    };
    std::thread first(call);
    std::thread second(call);
    EXPECT_EQ(Hkd04a7Rpc_Device_Close(&session), S_OK);
    first.join();
    second.join();
  }
  EXPECT_EQ(References(), 0);
}

// --- Real clients of the running service ---

class DeviceHandles : public testing::Test {
 protected:
  void SetUp() override {
    service.StartAndSettle();
    device.emplace();
    service.Log().Take();
  }
  // A client of bytes that may say anything.
  static RawClient Connect(host::rpc::Syntax syntax = host::rpc::Syntax::Ndr64) {
    RawClient client("Hkd04a7RpcEndpoint");
    EXPECT_NE(client.Bind(kInterface, syntax), 0u);
    return client;
  }
  static std::uint32_t StartCall(RawClient& client, const ContextToken& token, LentFunction function, DWORD number) {
    static std::uint32_t callId = 1000;
    host::rpc::Call call;
    call.arguments.resize(6);
    call.arguments[0].token = token;
    call.arguments[2].number = Upper(function);
    call.arguments[3].number = Lower(function);
    call.arguments[4].number = number;
    client.SendCall(++callId, kDeviceCallFuncMethod, call);
    return callId;
  }

  ServiceProcess service;
  std::optional<LentDevice> device;
};

TEST_F(DeviceHandles, OfAnotherTypeOrClientAreRefusedBeforeTheRoutine) {
  for (const auto syntax : {host::rpc::Syntax::Ndr, host::rpc::Syntax::Ndr64}) {
    RawClient client = Connect(syntax), stranger = Connect(syntax);
    const ContextToken session = client.Open(kDeviceCreate).token;
    const ContextToken subscription = client.Open(kEventNotifyCreate).token;
    service.Log().Take();
    const struct {
      RawClient& by;
      ContextToken token;
    } cases[] = {{client, {}}, {client, subscription}, {stranger, session}};
    for (const auto& [by, token] : cases) {
      EXPECT_EQ(by.Close(kDeviceClose, token).fault, kFaultContextMismatch);
      EXPECT_EQ(by.Use(kDeviceGetWakeupStatus, token, 1).fault, kFaultContextMismatch);
      StartCall(by, token, Double, 1);
      const auto reply = by.Receive();
      ASSERT_TRUE(reply);
      EXPECT_EQ(reply->fault, kFaultContextMismatch);
    }
    EXPECT_EQ(client.Close(kEventNotifyDestroy, session).fault, kFaultContextMismatch);
    EXPECT_EQ(service.Log().Take(), std::vector<std::string>()) << "no routine ran";
    EXPECT_EQ(client.Close(kDeviceClose, session).fault, 0u);
    EXPECT_EQ(client.Close(kEventNotifyDestroy, subscription).fault, 0u);
  }
}

TEST_F(DeviceHandles, OfAnotherTypeAreAMismatchForTheClient) {
  RpcClient client;
  ASSERT_EQ(client.Create(), 0u);
  DWORD number = 0;
  const RPC_STATUS status = CatchRpcException(
      [&] { Client_Hkd04a7Rpc_Device_CallFuncMethod(client.Subscription(), 0x1000, 0, 0, 0, &number); });
  EXPECT_EQ(status, RPC_X_SS_CONTEXT_MISMATCH);
}

// The runtime still knows the handle, the service has lost what stood behind it.
TEST_F(DeviceHandles, WithoutTheirSessionAnswerSo) {
  RpcClient client;
  DeviceSession session(client.Binding());
  ASSERT_EQ(session.Open(), 0u);
  Hkd04a7Rpc_DeviceHandle block = g_lastOpened;
  ASSERT_EQ(Hkd04a7Rpc_Device_Close(&block), S_OK);
  DWORD number = 0;
  EXPECT_EQ(session.Call(0x1000, 0, 0, 0, &number), 0x80070006u);
  EXPECT_EQ(session.WakeupStatus(1, &number), 0x80070006u);
  EXPECT_EQ(session.Close(), 1u) << "there is nothing to close";
  session.Vanish();
}

// Closing waits for the call that runs; so does the end of the client.
TEST_F(DeviceHandles, AreClosedBehindTheCallThatRunsOnThem) {
  for (const bool closes : {true, false}) {
    SCOPED_TRACE(closes);
    device.emplace();
    {
      RawClient client = Connect();
      const ContextToken session = client.Open(kDeviceCreate).token;
      const std::uint32_t running = StartCall(client, session, PassGate, 0);
      ASSERT_TRUE(device->gate.AwaitInside());
      if (closes) {
        host::rpc::Call close;
        close.arguments.resize(1);
        close.arguments[0].token = session;
        client.SendCall(running + 100, kDeviceClose, close);
        ASSERT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 2; }));
        EXPECT_EQ(References(), 1);
        device->gate.Open();
        for (const std::uint32_t call : {running, running + 100}) {
          const auto reply = client.Receive();
          ASSERT_TRUE(reply);
          EXPECT_EQ(reply->header.callId, call);
          EXPECT_EQ(reply->fault, 0u);
        }
      }
    }
    if (!closes) {
      ASSERT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
      EXPECT_EQ(References(), 1) << "not under the call";
      device->gate.Open();
      EXPECT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - device rundown\n"));
    }
    EXPECT_TRUE(Eventually([] { return host::rpc::ContextHandleCount() == 0 && References() == 0; }));
  }
}

TEST_F(DeviceHandles, AreRunDownWithTheirClient) {
  RpcClient staying;
  DeviceSession other(staying.Binding());
  ASSERT_EQ(other.Open(), 0u);
  {
    RawClient client = Connect();
    for (int n = 0; n < 3; ++n) ASSERT_EQ(client.Open(kDeviceCreate).fault, 0u);
    const ContextToken subscription = client.Open(kEventNotifyCreate).token;
    client.StartWait(kEventNotifyWaitEventAsync, subscription);
    ASSERT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - WaitEventAsync 4\n"));
    EXPECT_EQ(References(), 4);
  }
  EXPECT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - rundown\n"));
  EXPECT_TRUE(Eventually([] { return host::rpc::ContextHandleCount() == 1 && host::rpc::OpenCallCount() == 0; }));
  const auto lines = service.Log().Take();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "hkd04a7 - rpcserver - device rundown\n"), 3);
  EXPECT_EQ(References(), 1);
  DWORD answer = 0;
  EXPECT_EQ(other.Call(0, Upper(Double), Lower(Double), 4, &answer), 0u) << "another client's stays";
  EXPECT_EQ(answer, 8u);
}

}  // namespace
