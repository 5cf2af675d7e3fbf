#include "machine/service_notices.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace machine {

using nlohmann::json;

// Notices on their way, one after another.
struct ServiceNotices::Round {
  std::vector<ServiceNotice> notices;
  std::size_t next = 0;
  std::size_t unanswered = 0;  // controls of the present notice, and one while they are being queued
  json results = json::array();
  std::function<void(json)> done;
};

void ServiceNotices::Send(std::vector<ServiceNotice> notices, std::function<void(json results)> done) {
  const auto round = std::make_shared<Round>();
  round->notices = std::move(notices);
  round->done = std::move(done);
  SendNext(round);
}

void ServiceNotices::SendNext(const std::shared_ptr<Round>& round) {
  if (round->next == round->notices.size()) return round->done(round->results);
  const ServiceNotice notice = round->notices[round->next++];
  round->unanswered = services_.size() + 1;
  for (const auto& [name, service] : services_) {
    ServiceControl control{notice.control, notice.eventType, notice.session, {}};
    control.done = [this, round, notice, name = name](DWORD result, bool delivered) {
      if (delivered)
        round->results.push_back(json{{"service", name}, {"eventType", notice.eventType}, {"result", result}});
      CountAnswer(round);
    };
    service->QueueControl(std::move(control));
  }
  CountAnswer(round);
}

void ServiceNotices::CountAnswer(const std::shared_ptr<Round>& round) {
  if (--round->unanswered == 0) loop_.Post([this, round] { SendNext(round); });
}

}  // namespace machine
