// A machine with its programs as processes, and clients of its service by the dozen.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "client/event_subscription.h"
#include "machine/device.h"
#include "tests/load/event_ledger.h"
#include "tests/system/tool_fixture.h"

namespace load {

using tool::kSlowness;

// This process belongs to the machine too, from SetUp on, and is seen there as one from outside.
class LoadTest : public tool::ToolTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // One operation of the daemon, by this process's own connection. The answer; {"error": code} where it is refused.
  nlohmann::json Ask(const char* operation, nlohmann::json body = nlohmann::json::object());
  nlohmann::json AskService(const char* operation);

  using Client = std::unique_ptr<tool::ChildProcess>;
  // A client outside the machine; see load_client.cpp.
  Client BeginClient(const std::vector<std::string>& arguments);
  // Clients that hold `count` waits in all, each on a connection of its own; returns when they are pending.
  std::vector<Client> BeginHolders(unsigned processes, unsigned count);
  // Waits for the client's end. What it said, with its exit code where that is not 0.
  std::string EndOf(tool::ChildProcess& client);
  std::string Terminate(tool::ChildProcess& client);
  // Asks for the figures of the service's RPC server until `state` holds of them.
  testing::AssertionResult Comes(const std::function<bool(const nlohmann::json& rpc)>& state);
  // Waits until the service holds nothing for anybody.
  testing::AssertionResult HoldsNothing();

  machine::Device& Device() { return *device_; }

 private:
  nlohmann::json Rpc();

  std::unique_ptr<machine::Device> device_;
};

// Numbered events of the device, sent as fast as a subscription of this process gets them and its clients get done.
class EventSource {
 public:
  EventSource(machine::Device& device, EventLedger& ledger) : device_(device), ledger_(ledger) {}

  client::Status Start();
  // Sends one event, and waits where too many are on their way, for a moment also where no client has got done for a
  // while: whoever lags behind would otherwise have ever more to read before it is. False when one does not come, or
  // not in order.
  bool Send();

 private:
  void AwaitLaggards();

  machine::Device& device_;
  EventLedger& ledger_;
  client::Connection connection_;
  client::EventSubscription witness_{connection_};
  std::uint32_t sent_ = 0;
  std::uint32_t seen_ = 0;
  std::uint32_t finished_ = 0;       // by clients, when last looked
  std::uint32_t sinceFinished_ = 0;  // sent since the last one got done
};

}  // namespace load
