#include "tests/load/checked_subscription.h"

namespace load {
namespace {

using Outcome = client::EventSubscription::Outcome;

constexpr std::chrono::seconds kPatience{30};

}  // namespace

CheckedSubscription::CheckedSubscription(client::Connection& connection, EventLedger& ledger)
    : ledger_(ledger), subscription_(connection) {}

client::Status CheckedSubscription::Start() {
  delivered_ = ledger_.Delivered();
  const client::Status status = subscription_.Start();
  begun_ = ledger_.Begun();
  return status;
}

std::string CheckedSubscription::Await(std::uint32_t count) {
  std::string fault;
  while (fault.empty() && count_ < count) fault = Next();
  return fault;
}

std::string CheckedSubscription::Finish() {
  const std::uint32_t due = ledger_.Delivered();
  std::string fault;
  while (fault.empty() && due > begun_ && last_ < due) fault = Next();
  subscription_.Cancel();
  client::Event event;
  while (fault.empty() && subscription_.Next(std::chrono::milliseconds(0), &event) == Outcome::Event)
    fault = Check(event);
  ++ledger_.Finished();
  return fault;
}

std::string CheckedSubscription::Next() {
  client::Event event;
  switch (subscription_.Next(kPatience, &event)) {
    case Outcome::Event:
      return Check(event);
    case Outcome::TimedOut:
      return "nothing came after event " + std::to_string(last_);
    default:
      return Describe(subscription_.End());
  }
}

std::string CheckedSubscription::Check(const client::Event& event) {
  if (event.id != kEmergency) return {};
  const std::uint32_t number = NumberOf(event.data1);
  const bool due = count_ == 0 ? number > delivered_ && number <= begun_ + 1 : number == last_ + 1;
  const std::string before =
      count_ == 0 ? "at first, created between " + std::to_string(delivered_) + " and " + std::to_string(begun_)
                  : "after event " + std::to_string(last_);
  ++count_;
  last_ = number;
  return due ? "" : "event " + std::to_string(number) + " came " + before;
}

}  // namespace load
