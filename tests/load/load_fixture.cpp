#include "tests/load/load_fixture.h"

#include <signal.h>

#include <algorithm>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "tools/machine_control.h"

namespace load {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr std::uint32_t kMostOnTheirWay = 16;

}  // namespace

void LoadTest::SetUp() {
  host::UseMachineDirectory(Machine());
  Done({"up"});
  device_ = machine::Device::Open(host::CurrentMachineDirectory().runtime, nullptr);
  ASSERT_NE(device_, nullptr);
}

void LoadTest::TearDown() {
  host::MachineLink::Reset();
}

json LoadTest::Ask(const char* operation, json body) {
  body["op"] = operation;
  json reply;
  const DWORD error = host::MachineLink::Instance().Call(std::move(body), &reply);
  return error == 0 ? reply : json{{"error", error}};
}

json LoadTest::AskService(const char* operation) {
  return Ask(operation, {{"name", tool::kServiceName}});
}

LoadTest::Client LoadTest::BeginClient(const std::vector<std::string>& arguments) {
  auto client = std::make_unique<tool::ChildProcess>();
  EXPECT_EQ(
      client->Start(tool::ProgramFolder() + "/load-client", arguments, tool::ChildProcess::Reads::OutputAndErrors), 0);
  return client;
}

std::vector<LoadTest::Client> LoadTest::BeginHolders(unsigned processes, unsigned count) {
  std::vector<Client> holders;
  for (unsigned i = 0; i < processes; ++i) holders.push_back(BeginClient({"hold", std::to_string(count / processes)}));
  EXPECT_TRUE(Comes([count](const json& rpc) { return rpc.value("pendingCalls", 0u) == count; }));
  return holders;
}

std::string LoadTest::EndOf(tool::ChildProcess& client) {
  std::string said;
  while (client.ReadSome(seconds(60), &said)) continue;
  const int exitCode = client.Wait(seconds(10)).value_or(-1);
  return exitCode == 0 ? said : said + "exit code " + std::to_string(exitCode);
}

std::string LoadTest::Terminate(tool::ChildProcess& client) {
  kill(client.Pid(), SIGTERM);
  return EndOf(client);
}

json LoadTest::Rpc() {
  const json servers = Ask("machine.status").value("rpc", json::array());
  return servers.size() == 1 ? servers.at(0) : json::object();
}

testing::AssertionResult LoadTest::Comes(const std::function<bool(const json&)>& state) {
  const auto deadline = std::chrono::steady_clock::now() + seconds(20);
  json rpc = Rpc();
  while (!state(rpc) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(10));
    rpc = Rpc();
  }
  if (state(rpc)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << rpc;
}

testing::AssertionResult LoadTest::HoldsNothing() {
  return Comes([](const json& rpc) {
    const json handles = rpc.value("handles", json::array());
    return rpc.value("connections", 1) + rpc.value("openCalls", 1) + rpc.value("unsentBytes", 1) == 0 &&
           std::all_of(handles.begin(), handles.end(), [](const json& count) { return count == 0; });
  });
}

client::Status EventSource::Start() {
  const client::Status status = connection_.Open();
  return status.Ok() ? witness_.Start() : status;
}

void EventSource::AwaitLaggards() {
  const std::uint32_t finished = ledger_.Finished();
  if (finished != finished_) sinceFinished_ = 0;
  finished_ = finished;
  if (++sinceFinished_ > kMostOnTheirWay) std::this_thread::sleep_for(milliseconds(5));
}

bool EventSource::Send() {
  AwaitLaggards();
  ledger_.Begun() = ++sent_;
  if (!device_.Emergency(WordOf(sent_))) return false;
  client::Event event;
  while (witness_.Next(sent_ - seen_ < kMostOnTheirWay ? milliseconds(0) : seconds(30), &event) ==
         client::EventSubscription::Outcome::Event) {
    if (event.id != kEmergency) continue;
    if (NumberOf(event.data1) != ++seen_) return false;
    // An event begins after the one before has reached everybody.
    ledger_.Delivered() = seen_ - 1;
  }
  return sent_ - seen_ < kMostOnTheirWay;
}

}  // namespace load
