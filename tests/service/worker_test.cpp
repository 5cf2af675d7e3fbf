// The service's life from the control manager's side: states, exit codes and log lines of every way a start can go.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/services.h"
#include "tests/support/registry_values.h"
#include "tests/support/service_process.h"
#include "tests/support/trace_records.h"

using namespace support;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Lines = std::vector<std::string>;

namespace {

constexpr const char* kStopped = "1 (0, 0)";
const Lines kStartedStates = {"2 (0, 0)", "2 (0, 0)", "4 (0, 0)"};
const Lines kServerStopLines = {
    "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::~CRpcServer enter\n",
    "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop enter\n",
    "hkd04a7 - rpcserver - CancelAndNotAcceptWaitAllRpcEventNotify() -1\n",
    "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 1\n",
    "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 2\n",
    "hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Stop 3\n",
};

Lines Joined(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// The lines of the worker's thread: the listening thread's come whenever it gets to run.
Lines WorkerLines(ServiceProcess& service) {
  Lines lines = service.Log().Take();
  std::erase(lines, "worker thread of listening");
  return lines;
}

// The libraries are looked for beside the program: puts the program into another folder.
void MoveProgramTo(const std::string& folder) {
  host::SetExecutablePath(host::ToUtf16(folder + "/hkd04a7-service"));
}

std::string ProgramFolder() {
  return std::filesystem::canonical("/proc/self/exe").parent_path();
}

std::string VariantFolder(const std::string& variant) {
  return ProgramFolder() + "/variants/" + variant;
}

TEST(Worker, StartsServesAndStops) {
  ServiceProcess service;
  service.StartAndSettle();
  EXPECT_THAT(WorkerLines(service), ElementsAre("hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Start enter\n",
                                                "HKD04A7: worker thread: ready", "hkd04a7 - rpcserver - notify\n",
                                                "hkd04a7 - uwpassist notify enter (37, 00000000h, 00000000h)\n",
                                                testing::StartsWith("hkd04a7, fail dup token=0x")));
  EXPECT_EQ(service.ReportedStates(), kStartedStates);
  EXPECT_EQ(service.Stop(), 0u);
  EXPECT_EQ(service.ExitCode(), 0);
  EXPECT_EQ(service.ReportedStates(), Joined(kStartedStates, {"3 (0, 0)", kStopped}));
  EXPECT_EQ(WorkerLines(service),
            Joined({"hkd04a7 StopWorker() 1\n", "hkd04a7 on stop request 1\n", "hkd04a7 on stop request 2\n"},
                   kServerStopLines));
  EXPECT_EQ(host::ModuleReferences(host::ToUtf16(ProgramFolder() + "/hkd04a7-utility.dll")), 0);
}

TEST(Worker, LogsNothingUnlessSwitchedOn) {
  ServiceProcess service;
  SetText(kProductKey, W("EnableLog"), W("1"));  // of another type
  service.StartAndSettle();
  EXPECT_EQ(service.Stop(), 0u);
  EXPECT_THAT(service.Log().Take(), IsEmpty());
}

TEST(Worker, StepsBackFromAnOldVersion) {
  ServiceProcess service;
  SetText(kProductKey, W("CurrentVersion"), W("3.0.1.0"));
  nlohmann::json configuration;
  ASSERT_EQ(service.Machine().Call("service.config", {{"name", "Hkd04a7DriverUtilityService"}, {"startType", 2}}), 0u);
  service.Start();
  service.AwaitStopped();
  EXPECT_EQ(service.ReportedStates(), Joined(kStartedStates, {kStopped}));
  ASSERT_EQ(service.Machine().Call("service.query", {{"name", "Hkd04a7DriverUtilityService"}}, &configuration), 0u);
  EXPECT_EQ(configuration.at("startType"), 3);
  EXPECT_THAT(service.Log().Take(), IsEmpty());
  EXPECT_EQ(service.Device().Counts().callsAnswered, 0u);
}

TEST(Worker, StartsWithAnyOtherVersion) {
  for (const WCHAR* version : {W("4.1.0.0"), W("version 3"), W("")}) {
    ServiceProcess service;
    SetText(kProductKey, W("CurrentVersion"), version);
    service.StartAndSettle();
    EXPECT_EQ(service.ReportedStates(), kStartedStates);
  }
}

TEST(Worker, ReportsWhatItCannotDoWithout) {
  const struct {
    const char* function;
    const char* state;
    Lines states;
  } cases[] = {
      {"CreateIoCompletionPort", "1 (1066, 149)", {"2 (0, 0)"}},
      {"CreateEventW", "1 (1066, 190)", kStartedStates},
  };
  for (const auto& entry : cases) {
    ServiceProcess service;
    host::FailCall(entry.function, 1, ERROR_ACCESS_DENIED);
    service.Start();
    service.AwaitStopped();
    EXPECT_EQ(service.ReportedStates(), Joined(entry.states, {entry.state})) << entry.function;
    EXPECT_THAT(service.Log().Take(), IsEmpty()) << "the RPC server was never started: " << entry.function;
  }
}

TEST(Worker, EndsWhenTheRpcServerCannotStart) {
  const struct {
    const char* function;
    DWORD code;
    const char* line;
    bool registered;  // the interface was registered by then
  } cases[] = {
      {"AllocateAndInitializeSid", 8, "hkd04a7 -- failed to get RPC security descriptor, err=0x00000008\n", false},
      {"SetEntriesInAclW", 8, "hkd04a7 -- failed to get RPC security descriptor, err=0x00000008\n", false},
      {"RpcServerUseProtseqEpW", 1720, "hkd04a7 -- RpcServerUseProtseqEp failed, err=0x000006b8\n", false},
      {"RpcServerRegisterIf3", 14, "hkd04a7 -- RpcServerRegisterIf3 failed, err=0x0000000e\n", false},
      {"RpcServerInqBindings", 1718, "hkd04a7 -- RpcServerInqBindings failed, err=0x000006b6\n", true},
      {"RpcEpRegisterW", 1752, "hkd04a7 -- RpcEpRegister failed, err=0x000006d8\n", true},
  };
  for (const auto& entry : cases) {
    ServiceProcess service;
    // The wake-check event's descriptor asks for the first SID.
    const unsigned nth = std::string(entry.function) == "AllocateAndInitializeSid" ? 2 : 1;
    host::FailCall(entry.function, nth, entry.code);
    service.Start();
    service.AwaitStopped();
    EXPECT_EQ(service.ReportedStates(), Joined(kStartedStates, {kStopped})) << entry.function;
    Lines expected = {"hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Start enter\n", entry.line,
                      "Failed to start HKD04A7 RPC server\n"};
    expected = Joined(expected, kServerStopLines);
    if (!entry.registered) {
      expected.insert(expected.end() - 2, "hkd04a7 RpcServerUnregisterIf() failed, 0x000006b5\n");
    }
    if (std::string(entry.function) == "RpcEpRegisterW") {
      expected.insert(expected.end() - 1, "hkd04a7 RpcEpUnregister() failed, 0x000006d9\n");
    }
    EXPECT_EQ(WorkerLines(service), expected) << entry.function;
  }
}

// The worker has ended by itself: a stop request that arrives now must not take the last report's place.
TEST(Worker, ReportsNothingButItsEndOnceItHasEnded) {
  ServiceProcess service;
  host::FailCall("RpcServerRegisterIf3", 1, 14);
  std::atomic<unsigned> reports = 0;
  std::atomic<unsigned> answer = 0;
  host::AtCall("SetServiceStatus", [&] {
    if (++reports == 4) answer = service.Control(SERVICE_CONTROL_STOP);
  });
  service.Start();
  service.AwaitStopped();
  EXPECT_EQ(service.ReportedStates(), Joined(kStartedStates, {kStopped}));
  EXPECT_EQ(answer, static_cast<unsigned>(ERROR_CALL_NOT_IMPLEMENTED));
}

TEST(Worker, ServesWithoutAListeningThread) {
  ServiceProcess service;
  host::FailCall("_beginthreadex", 1, ERROR_NOT_ENOUGH_MEMORY);
  service.StartAndSettle();
  EXPECT_THAT(service.Log().Take(), Not(Contains("worker thread of listening")));
  EXPECT_EQ(service.ReportedStates(), kStartedStates);
}

// Without the device library the worker asks again every second; whatever arrives meanwhile ends the service.
TEST(Worker, WaitsForTheDeviceLibrary) {
  for (const std::string& folder : {std::string("/nonexistent"), VariantFolder("utility-lacks-export")}) {
    ServiceProcess service;
    MoveProgramTo(folder);
    ASSERT_EQ(service.Start(), 0u);
    ASSERT_TRUE(service.Log().WaitFor("hkd04a7 -service - fail register event\n", 2));
    EXPECT_EQ(service.Control(14, 5, 1), 0u);
    service.AwaitStopped();
    EXPECT_EQ(service.ReportedStates(), Joined(kStartedStates, {kStopped}));
    EXPECT_THAT(service.Log().Take(), Not(Contains("hkd04a7 on stop request 1\n")));
    MoveProgramTo(ProgramFolder());
  }
}

TEST(Worker, DeliversWithoutTracing) {
  for (const char* variant : {"etw-lacks-open", "etw-open-fails"}) {
    ServiceProcess service;
    MoveProgramTo(VariantFolder(variant));
    service.StartAndSettle();
    service.Log().Take();
    service.Device().Press(1);
    EXPECT_TRUE(service.Log().WaitFor("hkd04a7 - rpcserver - notify\n"));
    EXPECT_THAT(TraceRecords(), IsEmpty()) << variant;
    EXPECT_EQ(host::ModuleReferences(host::ToUtf16(VariantFolder(variant) + "/hkd04a7-utility-etw.dll")), 0);
    EXPECT_EQ(service.Stop(), 0u);
    MoveProgramTo(ProgramFolder());
  }
}

TEST(Worker, PublishesItsFolderWhereNoVersionIsInstalled) {
  {
    ServiceProcess service;
    service.StartAndSettle();
    const WideString folder = host::ToUtf16(ProgramFolder());
    EXPECT_EQ(Text(kProductKey, W("InstPath")), folder);
    EXPECT_EQ(Text(kProductKey, W("DllName")), W("hkd04a7-utility.dll"));
    EXPECT_EQ(Text(kProductKey, W("InstPath"), KEY_WOW64_32KEY), folder);
    EXPECT_EQ(Text(kProductKey, W("DllName"), KEY_WOW64_32KEY), W("hkd04a7-utility-x86.dll"));
    // The same folder is not written again.
    EXPECT_EQ(service.Stop(), 0u);
    SetText(kProductKey, W("DllName"), W("mine"));
    service.Log().Take();
    service.Start();
    ASSERT_TRUE(service.Log().WaitFor("hkd04a7 Quorvex::PC::Hkd04a7::Service::CRpcServer::Start enter\n"));
    EXPECT_EQ(Text(kProductKey, W("DllName")), W("mine"));
  }
  ServiceProcess service;
  SetText(kProductKey, W("CurrentVersion"), W("4.0.0.0"));
  service.StartAndSettle();
  EXPECT_EQ(Text(kProductKey, W("InstPath")), std::nullopt);
  EXPECT_EQ(Text(kProductKey, W("InstPath"), KEY_WOW64_32KEY), std::nullopt);
}

}  // namespace
