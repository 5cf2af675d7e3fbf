// A service inside the machine's own process, on a thread of a test's.
#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/registry/registry_control.h"
#include "platform/services.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using testing::ElementsAre;

struct InsideService {
  SERVICE_STATUS_HANDLE handle = nullptr;
  std::mutex mutex;
  std::condition_variable changed;
  bool stop = false;              // guarded by mutex
  std::thread::id controlThread;  // guarded by mutex
  std::thread::id mainThread;
  BOOL dispatched = FALSE;
  DWORD dispatchError = 0;
};

InsideService* g_inside = nullptr;

bool Report(DWORD state) {
  SERVICE_STATUS status = {SERVICE_WIN32_OWN_PROCESS, state, SERVICE_ACCEPT_STOP, 0, 0, 0, 0};
  return SetServiceStatus(g_inside->handle, &status) != FALSE;
}

DWORD WINAPI HandleControl(DWORD control, DWORD, LPVOID, LPVOID context) {
  auto& service = *static_cast<InsideService*>(context);
  const std::lock_guard lock(service.mutex);
  service.controlThread = std::this_thread::get_id();
  service.stop = control == SERVICE_CONTROL_STOP;
  service.changed.notify_all();
  return 0;
}

void WINAPI RunInside(DWORD, LPWSTR*) {
  g_inside->mainThread = std::this_thread::get_id();
  g_inside->handle = RegisterServiceCtrlHandlerExW(W("Anything"), &HandleControl, g_inside);
  if (g_inside->handle == nullptr) return;
  Report(SERVICE_RUNNING);
  std::unique_lock lock(g_inside->mutex);
  g_inside->changed.wait(lock, [] { return g_inside->stop; });
  lock.unlock();
  Report(SERVICE_STOPPED);
}

class InsideServiceTest : public MachineTest {
 protected:
  void SetUp() override {
    g_inside = &service_;
    StartMachine();
    CreateDummy();
  }

  void StartMachine() {
    Start([this](const machine::ServiceLaunch&) {
      if (thread_.joinable()) thread_.join();
      thread_ = std::thread([this] { Dispatch(); });
      return 0u;
    });
  }

  void TearDown() override {
    Stop();
    if (thread_.joinable()) thread_.join();
    host::ClearFaults();
  }

  void Dispatch() {
    WCHAR name[] = W("");
    const SERVICE_TABLE_ENTRYW table[] = {{name, &RunInside}, {nullptr, nullptr}};
    service_.dispatched = StartServiceCtrlDispatcherW(table);
    service_.dispatchError = service_.dispatched ? 0 : GetLastError();
  }

  bool Left() {
    return Eventually([this] { return Query().at("pid") == 0; });
  }

  InsideService service_;
  std::thread thread_;
};

TEST_F(InsideServiceTest, RunsOnThreadsOfItsOwnAndCanBeStartedAgain) {
  for (int round = 0; round < 3; ++round) {
    service_.stop = false;
    ASSERT_EQ(StartDummy(), 0u);
    ASSERT_EQ(Code("service.stop", {{"name", "Dummy"}}), 0u);
    ASSERT_TRUE(Left());
    thread_.join();
    EXPECT_TRUE(service_.dispatched);
    EXPECT_NE(service_.controlThread, service_.mainThread);
  }
  EXPECT_FALSE(Report(SERVICE_RUNNING));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(InsideServiceTest, LeavesNoThreadAndNoDescriptorBehind) {
  ASSERT_EQ(StartDummy(), 0u);
  Stop();
  thread_.join();
  host::CloseRegistry();
  const std::size_t descriptors = CountDescriptors();
  const std::size_t threads = CountThreads();
  for (int round = 0; round < 3; ++round) {
    service_.stop = false;
    StartMachine();
    ASSERT_EQ(StartDummy(), 0u);
    Stop();
    thread_.join();
  }
  host::CloseRegistry();
  EXPECT_EQ(CountDescriptors(), descriptors);
  EXPECT_EQ(CountThreads(), threads);
}

TEST_F(InsideServiceTest, TheMachineGoingDownStopsIt) {
  ASSERT_EQ(StartDummy(), 0u);
  Stop();
  thread_.join();
  EXPECT_TRUE(service_.dispatched) << service_.dispatchError;
}

TEST_F(InsideServiceTest, ARoutineWithoutHandlerLeavesItsServiceStarting) {
  host::FailCall("RegisterServiceCtrlHandlerExW", 1, 1060);
  EXPECT_EQ(Code("service.start", {{"name", "Dummy"}, {"timeoutMs", 200}}), 1053u);
  EXPECT_EQ(StateOfDummy(), SERVICE_START_PENDING);
  Stop();
  thread_.join();
  EXPECT_FALSE(service_.dispatched) << "the manager went before the service stopped";
}

TEST_F(InsideServiceTest, OnlyAStartedProcessReachesTheDispatcher) {
  Dispatch();
  EXPECT_FALSE(service_.dispatched);
  EXPECT_EQ(service_.dispatchError, ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
  EXPECT_EQ(RegisterServiceCtrlHandlerExW(W("Dummy"), &HandleControl, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_SERVICE_NOT_IN_EXE);
}

TEST_F(InsideServiceTest, TheStartTypeCanBeChangedByAProgram) {
  const SC_HANDLE manager = OpenSCManagerW(nullptr, SERVICES_ACTIVE_DATABASEW, SC_MANAGER_ALL_ACCESS);
  ASSERT_NE(manager, nullptr);
  EXPECT_EQ(OpenServiceW(manager, W("Nobody"), SERVICE_CHANGE_CONFIG), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_SERVICE_DOES_NOT_EXIST);
  const SC_HANDLE reader = OpenServiceW(manager, W("Dummy"), SERVICE_QUERY_STATUS);
  const SC_HANDLE writer = OpenServiceW(manager, W("Dummy"), SERVICE_CHANGE_CONFIG);
  const auto change = [](SC_HANDLE service, DWORD startType) {
    return ChangeServiceConfigW(service, SERVICE_NO_CHANGE, startType, SERVICE_NO_CHANGE, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, nullptr);
  };
  EXPECT_FALSE(change(reader, SERVICE_AUTO_START));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(change(writer, SERVICE_AUTO_START));
  EXPECT_EQ(Query().at("startType"), SERVICE_AUTO_START);
  EXPECT_TRUE(change(writer, SERVICE_NO_CHANGE));
  EXPECT_EQ(Query().at("startType"), SERVICE_AUTO_START);
  SERVICE_STATUS status = {};
  EXPECT_TRUE(QueryServiceStatus(reader, &status));
  EXPECT_EQ(status.dwCurrentState, SERVICE_STOPPED);
  for (const SC_HANDLE handle : {reader, writer, manager}) EXPECT_TRUE(CloseServiceHandle(handle));
  EXPECT_FALSE(CloseServiceHandle(manager));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(host::OpenServiceHandleCount(), 0u);
}

}  // namespace
}  // namespace machine_test
