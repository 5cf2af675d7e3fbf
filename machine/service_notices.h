// Notices to every service that accepts them: power events and session changes. Loop thread only.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "machine/loop.h"
#include "machine/service_runner.h"

namespace machine {

struct ServiceNotice {
  DWORD control = 0;
  DWORD eventType = 0;
  DWORD session = 0;
};

class ServiceNotices {
 public:
  ServiceNotices(Loop& loop, const Services& services) : loop_(loop), services_(services) {}

  // Sends each notice to every service that accepts it, the next one when all have answered. `done` gets
  // [{"service","eventType","result"}] in the end, never from within this call unless there is nothing to send.
  void Send(std::vector<ServiceNotice> notices, std::function<void(nlohmann::json results)> done);

 private:
  struct Round;
  void SendNext(const std::shared_ptr<Round>& round);
  void CountAnswer(const std::shared_ptr<Round>& round);

  Loop& loop_;
  const Services& services_;
};

}  // namespace machine
