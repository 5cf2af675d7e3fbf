// What an app service has to tell of its messages: in the machine's log, and on the standard output.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

struct AppServiceIdentity {
  std::string package;
  std::string service;
  std::string user;  // its name
  std::uint32_t session = 0;
};

class AppServeReceipts {
 public:
  AppServeReceipts(AppServiceIdentity identity, bool asJson) : identity_(std::move(identity)), json_(asJson) {}

  // To be called for each message as soon as it is there: its number, from 1 on.
  std::uint64_t Receive(const nlohmann::ordered_json& message);

  // What came of it: "answered", "unread", "died".
  void Tell(std::uint64_t number, const char* outcome) const;

 private:
  nlohmann::ordered_json Record(std::uint64_t number, const char* what) const;

  const AppServiceIdentity identity_;
  const bool json_;
  std::uint64_t last_ = 0;
};

}  // namespace tool
