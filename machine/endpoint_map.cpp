#include "machine/endpoint_map.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <nlohmann/json.hpp>

#include "machine/connection.h"
#include "platform/host/base/error_codes.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr DWORD kNotRegistered = 1753;

struct Version {
  unsigned major = 0;
  unsigned minor = 0;
};

bool ParseVersion(const std::string& text, Version* version) {
  const char* const end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, version->major);
  if (major.ec != std::errc{} || major.ptr == end || *major.ptr != '.') return false;
  const auto minor = std::from_chars(major.ptr + 1, end, version->minor);
  return minor.ec == std::errc{} && minor.ptr == end;
}

bool Serves(const std::string& registered, const std::string& wanted) {
  Version server;
  Version client;
  if (!ParseVersion(registered, &server) || !ParseVersion(wanted, &client)) return false;
  return server.major == client.major && server.minor >= client.minor;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

struct InterfaceName {
  std::string uuid;
  std::string version;
};

// Answers the request itself when the version is none.
bool ReadInterface(const Request& request, InterfaceName* name) {
  name->uuid = LowerCase(request.body.at("uuid").get<std::string>());
  name->version = request.body.at("version").get<std::string>();
  Version version;
  if (ParseVersion(name->version, &version)) return true;
  request.responder.Fail(ERROR_INVALID_PARAMETER, "a version is written major.minor");
  return false;
}

}  // namespace

void EndpointMap::AddOperations(OpRegistry& operations) {
  operations.Add("epmap.register", [this](const Request& request) { Register(request); });
  operations.Add("epmap.unregister", [this](const Request& request) { Unregister(request); });
  operations.Add("epmap.lookup", [this](const Request& request) { Lookup(request); });
  operations.Add("epmap.list", [this](const Request& request) {
    request.responder.Reply(json{{"endpoints", Report()}});
  });
}

void EndpointMap::Register(const Request& request) {
  InterfaceName name;
  if (!ReadInterface(request, &name)) return;
  const auto bindings = request.body.at("bindings").get<std::vector<std::string>>();
  const std::uint64_t holder = request.connection->id();
  for (const std::string& binding : bindings) {
    // The latest registration of a binding replaces what stood there.
    std::erase_if(entries_, [&](const Entry& entry) { return entry.uuid == name.uuid && entry.binding == binding; });
    entries_.push_back({name.uuid, name.version, binding, holder, request.connection->peer().pid});
  }
  request.connection->OnClose(
      [this, holder] { std::erase_if(entries_, [&](const Entry& entry) { return entry.connection == holder; }); });
  request.responder.Done();
}

void EndpointMap::Unregister(const Request& request) {
  InterfaceName name;
  if (!ReadInterface(request, &name)) return;
  const auto bindings = request.body.at("bindings").get<std::vector<std::string>>();
  const auto removed = std::erase_if(entries_, [&](const Entry& entry) {
    return entry.uuid == name.uuid && entry.version == name.version && entry.connection == request.connection->id() &&
           std::find(bindings.begin(), bindings.end(), entry.binding) != bindings.end();
  });
  if (removed == 0) return request.responder.Fail(kNotRegistered, "this process registered no such endpoint");
  request.responder.Done();
}

void EndpointMap::Lookup(const Request& request) const {
  InterfaceName name;
  if (!ReadInterface(request, &name)) return;
  json bindings = json::array();
  for (const Entry& entry : entries_) {
    if (entry.uuid == name.uuid && Serves(entry.version, name.version)) bindings.push_back(entry.binding);
  }
  if (bindings.empty()) return request.responder.Fail(kNotRegistered, "nobody serves this interface");
  request.responder.Reply(json{{"bindings", bindings}});
}

std::set<std::uint64_t> EndpointMap::Holders() const {
  std::set<std::uint64_t> holders;
  for (const Entry& entry : entries_) holders.insert(entry.connection);
  return holders;
}

json EndpointMap::Report() const {
  json report = json::array();
  for (const Entry& entry : entries_) {
    report.push_back(
        json{{"uuid", entry.uuid}, {"version", entry.version}, {"binding", entry.binding}, {"pid", entry.pid}});
  }
  return report;
}

}  // namespace machine
