#include "machine/named_event_ops.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>

#include "machine/connection.h"
#include "machine/op_registry.h"

namespace machine {
namespace {

// What the operations work on. One for the life of the daemon.
class NamedEventOps {
 public:
  NamedEventOps(NamedEvents& events, std::function<host::Identity(const Connection&)> identify)
      : events_(events), identify_(std::move(identify)) {}

  void Create(const Request& request) {
    const NamedEventSettings settings{.name = request.body.at("name").get<std::string>(),
                                      .manual = request.body.at("manual").get<bool>(),
                                      .signalled = request.body.at("initial").get<bool>(),
                                      .sddl = request.body.at("sddl").get<std::string>()};
    Answer(request, events_.Create(request.connection->id(), identify_(*request.connection), settings));
  }

  void Open(const Request& request) {
    const auto name = request.body.at("name").get<std::string>();
    const auto access = request.body.at("access").get<DWORD>();
    Answer(request, events_.Open(request.connection->id(), identify_(*request.connection), name, access));
  }

  void Close(const Request& request) {
    const DWORD error = events_.Close(request.connection->id(), request.body.at("slot").get<unsigned>());
    if (error != 0) return request.responder.Fail(error, "no hold on that named event");
    request.responder.Done();
  }

 private:
  void Answer(const Request& request, const NamedEventAnswer& answer) {
    if (answer.error != 0) return request.responder.Fail(answer.error, "the named event cannot be had");
    ReleaseAtEndOf(request.connection);
    request.responder.Reply({{"slot", answer.slot}, {"manual", answer.manual}, {"existed", answer.existed}});
  }

  // Once for each connection, however often it opens and closes.
  void ReleaseAtEndOf(const std::shared_ptr<Connection>& connection) {
    const HolderId holder = connection->id();
    if (!watched_.insert(holder).second) return;
    connection->OnClose([this, holder] {
      events_.ReleaseHolder(holder);
      watched_.erase(holder);
    });
  }

  NamedEvents& events_;
  const std::function<host::Identity(const Connection&)> identify_;
  std::set<HolderId> watched_;
};

}  // namespace

void AddNamedEventOps(OpRegistry& operations, NamedEvents& events,
                      std::function<host::Identity(const Connection&)> identify) {
  const auto ops = std::make_shared<NamedEventOps>(events, std::move(identify));
  operations.Add("event.create", [ops](const Request& request) { ops->Create(request); });
  operations.Add("event.open", [ops](const Request& request) { ops->Open(request); });
  operations.Add("event.close", [ops](const Request& request) { ops->Close(request); });
}

}  // namespace machine
