#include "tests/support/service_process.h"

#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>

#include "platform/host/identity/process_token.h"
#include "platform/services.h"
#include "service/entry_point.h"
#include "tests/support/registry_values.h"

namespace support {
namespace {

constexpr const char* kService = "Hkd04a7DriverUtilityService";
constexpr unsigned kSecond = 1000;

// The query that every poll of the default device ends with asks for the last index of function 0x101C.
bool EndsPoll(const machine::TracedCall& call, std::uint32_t lastIndex) {
  return call.call.function == 0x101C && call.call.arg1 == 3 && call.call.arg2 == lastIndex;
}

template <typename Condition>
bool WaitUntil(Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace

ServiceProcess::ServiceProcess()
    : machine_([this](const machine::ServiceLaunch&) {
        Join();
        process_ = std::thread([this] {
          WCHAR program[] = W("hkd04a7-service");
          WCHAR* arguments[] = {program, nullptr};
          exitCode_ = Quorvex::PC::Hkd04a7::Service::RunProcess(1, arguments);
        });
        return 0u;
      }) {
  host::SetOwnToken(host::SystemToken());
  SetNumber(kProductKey, W("EnableLog"), 1);
  Device().SetFunction101CCount(kLast101CIndex);
  EXPECT_EQ(machine_.Call("service.create", {{"name", kService}, {"program", "inside"}, {"startType", 3}}), 0u);
}

ServiceProcess::~ServiceProcess() {
  Stop();
  Join();
}

void ServiceProcess::Join() {
  if (process_.joinable()) process_.join();
}

unsigned ServiceProcess::Start() {
  return machine_.Call("service.start", {{"name", kService}});
}

void ServiceProcess::StartAndSettle() {
  ASSERT_EQ(Start(), 0u);
  AwaitPolls(1);
}

unsigned ServiceProcess::Stop() {
  return machine_.Call("service.stop", {{"name", kService}, {"timeoutMs", 20 * kSecond}});
}

void ServiceProcess::AwaitStopped() {
  EXPECT_TRUE(WaitUntil([this] {
    nlohmann::json reply;
    return machine_.Call("service.query", {{"name", kService}}, &reply) == 0 && reply.at("state") == SERVICE_STOPPED &&
           reply.at("pid") == 0;
  }));
}

unsigned ServiceProcess::Control(unsigned control, unsigned eventType, unsigned session) {
  nlohmann::json reply;
  const unsigned error =
      machine_.Call("service.control",
                    {{"name", kService}, {"control", control}, {"eventType", eventType}, {"session", session}}, &reply);
  return error != 0 ? error : reply.at("result").get<unsigned>();
}

std::size_t ServiceProcess::Polls() {
  std::size_t polls = 0;
  for (const machine::DeviceTrace& call : Device().Trace()) polls += EndsPoll(call.record, kLast101CIndex) ? 1 : 0;
  return polls;
}

void ServiceProcess::AwaitPolls(std::size_t times) {
  ASSERT_TRUE(WaitUntil([&] { return Polls() >= times; })) << "polled " << Polls() << " times";
}

void ServiceProcess::Poll() {
  const std::size_t before = Polls();
  Device().Raise();
  AwaitPolls(before + 1);
}

std::vector<std::string> ServiceProcess::ReportedStates() {
  nlohmann::json reply;
  EXPECT_EQ(machine_.Call("service.history", {{"name", kService}}, &reply), 0u);
  std::vector<std::string> states;
  for (const auto& entry : reply.at("history")) {
    if (entry.at("kind") != "state") continue;
    states.push_back(std::to_string(entry.at("state").get<unsigned>()) + " (" +
                     std::to_string(entry.at("win32ExitCode").get<unsigned>()) + ", " +
                     std::to_string(entry.at("serviceSpecificExitCode").get<unsigned>()) + ")");
  }
  return states;
}

int ServiceProcess::ExitCode() {
  Join();
  return exitCode_;
}

}  // namespace support
