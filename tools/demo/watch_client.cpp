#include "tools/demo/watch_client.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "tools/signals.h"

namespace tool {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

// The machine is told by the environment.
int WatchClient::Start() {
  return process_.Start(ProgramFolder() + "/hkd04a7ctl", {"watch", "--json"}, ChildProcess::Reads::Output);
}

bool WatchClient::AwaitSubscribed(std::chrono::milliseconds patience) {
  return ReadUntil([this] { return subscribed_; }, patience);
}

bool WatchClient::AwaitEvents(std::size_t count, std::chrono::milliseconds patience) {
  return ReadUntil([this, count] { return events_.size() >= count; }, patience);
}

std::optional<int> WatchClient::AwaitEnd(std::chrono::milliseconds patience) {
  ReadUntil([this] { return closed_; }, patience);
  return process_.Wait(patience);
}

template <typename Enough>
bool WatchClient::ReadUntil(Enough enough, std::chrono::milliseconds patience) {
  const auto deadline = Clock::now() + patience;
  while (!enough()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left <= std::chrono::milliseconds(0) || Interrupted()) return false;
    if (!ReadSome(std::min(left, kInterruptLatency))) return enough();
  }
  return true;
}

// False when the output has ended.
bool WatchClient::ReadSome(std::chrono::milliseconds patience) {
  if (closed_) return false;
  pollfd ready = {process_.Output(), POLLIN, 0};
  if (poll(&ready, 1, static_cast<int>(patience.count())) <= 0) return true;
  char block[4096];
  const ssize_t got = read(process_.Output(), block, sizeof block);
  closed_ = got <= 0;
  if (closed_) return false;
  rest_.append(block, static_cast<std::size_t>(got));
  for (std::size_t end; (end = rest_.find('\n')) != std::string::npos; rest_.erase(0, end + 1))
    TakeLine(rest_.substr(0, end));
  return true;
}

void WatchClient::TakeLine(const std::string& line) {
  const auto object = nlohmann::json::parse(line, nullptr, false);
  if (!object.is_object()) return;
  if (object.contains("subscribed")) {
    subscribed_ = true;
  } else if (object.contains("event")) {
    events_.push_back({object.at("event"), object.at("data1"), object.at("data2"), object.at("t")});
  } else if (object.contains("end")) {
    endReason_ = object.at("end").get<std::string>();
    const auto code = object.at("code").get<std::uint32_t>();
    if (code != 0) endReason_ += ", " + client::DescribeCode(code);
  }
}

}  // namespace tool
