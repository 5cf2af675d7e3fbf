#include "tests/load/registrant.h"

namespace load {
namespace {

constexpr client::AppServiceEvent kOneTouch = {32, {}};
constexpr HRESULT kNone = static_cast<HRESULT>(0x80070002);

WideString Name(unsigned number) {
  const std::string text = std::to_string(number);
  return WideString(text.begin(), text.end());
}

}  // namespace

Registrant::Registrant(unsigned number) : package_(W("Quorvex.Load") + Name(number)) {}

std::string Registrant::Round() {
  client::Connection connection;
  if (const client::Status status = connection.Open(); !status.Ok()) return Describe(status);
  client::AppServices services(connection);
  if (names_ == 0) return Begin(services);
  std::string fault;
  if (!Look(services, &fault)) return fault;
  const bool removes = last_ != 0 && names_ % 4 == 0;
  return Change(services, removes ? 0 : ++names_);
}

// Takes away what an earlier process may have left.
std::string Registrant::Begin(client::AppServices& services) {
  const client::Status status = services.Unregister(package_, kOneTouch);
  if (status.ServiceNotReachable()) return {};
  ++names_;
  return status.Ok() || status.result == kNone ? "" : Describe(status);
}

std::string Registrant::Change(client::AppServices& services, unsigned to) {
  tried_ = to;
  const client::Status status =
      to == 0 ? services.Unregister(package_, kOneTouch) : services.Register(package_, Name(to), kOneTouch);
  if (status.Ok()) last_ = tried_;
  return status.Ok() || status.ServiceNotReachable() ? "" : Describe(status);
}

// False when nobody is there to be asked, or with what is wrong.
bool Registrant::Look(client::AppServices& services, std::string* fault) {
  for (const unsigned name : {last_, tried_}) {
    const client::Status status = Query(services, name);
    if (status.ServiceNotReachable()) return false;
    if (!status.Ok()) continue;
    last_ = tried_ = name;
    return true;
  }
  *fault = "neither registration " + std::to_string(last_) + " nor " + std::to_string(tried_) + " is there";
  return false;
}

// Success when the app service of that name, or none, is what is registered.
client::Status Registrant::Query(client::AppServices& services, unsigned name) {
  client::Status status = services.Query(package_, Name(name == 0 ? names_ + 1 : name), kOneTouch);
  if (status.FromRuntime() || name != 0) return status;
  status.result = status.result == kNone ? 0 : 1;
  return status;
}

}  // namespace load
