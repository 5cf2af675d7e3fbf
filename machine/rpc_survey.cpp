#include "machine/rpc_survey.h"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "machine/connection.h"

namespace machine {

using nlohmann::json;

namespace {

constexpr std::chrono::milliseconds kPatience{200};

// Throws json's exception when a figure is missing or none.
json ReadFigures(const json& answer) {
  json figures;
  for (const char* name : {"connections", "associations", "openCalls", "pendingCalls", "threads", "unsentBytes"}) {
    figures[name] = answer.at(name).get<std::uint64_t>();
  }
  for (const char* name : {"handles", "calls", "queues"}) {
    figures[name] = answer.at(name).get<std::map<std::string, std::uint64_t>>();
  }
  return figures;
}

}  // namespace

// One question to everybody.
struct RpcSurvey::Round {
  Done done;
  std::map<std::uint64_t, json> rows;  // by connection
  std::size_t missing = 0;
  Loop::TimerId timer = 0;
};

RpcSurvey::RpcSurvey(Loop& loop, const EndpointMap& endpoints, const ControlServer& server)
    : loop_(loop), endpoints_(endpoints), server_(server) {}

RpcSurvey::~RpcSurvey() {
  for (const auto& [token, round] : rounds_) loop_.Cancel(round->timer);
}

void RpcSurvey::AddOperations(OpRegistry& operations) {
  operations.Add("rpc.tell", [this](const Request& request) { Hear(request); });
}

void RpcSurvey::Begin(Done done) {
  const std::uint64_t token = nextToken_++;
  Round& round = *(rounds_[token] = std::make_unique<Round>());
  round.done = std::move(done);
  for (const std::uint64_t holder : endpoints_.Holders()) {
    const auto connection = server_.connections().find(holder);
    if (connection == server_.connections().end()) continue;
    round.rows[holder] = json{{"pid", connection->second->peer().pid}, {"answering", false}};
    connection->second->Send(json{{"event", "rpc.ask"}, {"token", token}});
  }
  round.missing = round.rows.size();
  if (round.missing == 0) return Finish(token);
  round.timer = loop_.After(kPatience, [this, token] { Finish(token); });
}

void RpcSurvey::Hear(const Request& request) {
  const auto token = request.body.at("token").get<std::uint64_t>();
  const json figures = ReadFigures(request.body);
  request.responder.Done();
  const auto found = rounds_.find(token);
  if (found == rounds_.end()) return;  // too late
  Round& round = *found->second;
  const auto row = round.rows.find(request.connection->id());
  if (row == round.rows.end() || row->second.at("answering") == true) return;
  row->second.update(figures);
  row->second["answering"] = true;
  if (--round.missing == 0) Finish(token);
}

void RpcSurvey::Finish(std::uint64_t token) {
  const auto round = std::move(rounds_.extract(token).mapped());
  loop_.Cancel(round->timer);
  json rows = json::array();
  for (const auto& [connection, row] : round->rows) rows.push_back(row);
  round->done(rows);
}

}  // namespace machine
