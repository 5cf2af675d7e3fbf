// A subscription that holds what it gets against the ledger of the deliverer.
#pragma once

#include <cstdint>
#include <string>

#include "client/event_subscription.h"
#include "tests/load/event_ledger.h"

namespace load {

// Every event that was delivered between the return of its creation and the call of its destruction has to come, once
// and in order; none from before the creation's call may. One thread.
class CheckedSubscription {
 public:
  // Both outlive this object.
  CheckedSubscription(client::Connection& connection, EventLedger& ledger);

  client::Status Start();
  // Waits until this many numbered events have come. Answers what is wrong, or nothing.
  std::string Await(std::uint32_t count);
  // Waits for what has been delivered so far, then destroys the subscription. The same answer.
  std::string Finish();

 private:
  std::string Next();
  std::string Check(const client::Event& event);

  EventLedger& ledger_;
  client::EventSubscription subscription_;
  std::uint32_t delivered_ = 0;  // to everybody, when the creation was called
  std::uint32_t begun_ = 0;      // when it had returned
  std::uint32_t count_ = 0;
  std::uint32_t last_ = 0;
};

}  // namespace load
