#include "tools/app_serve_loop.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "platform/host/link/app_service_frames.h"

namespace tool {

using nlohmann::ordered_json;
using std::chrono::milliseconds;

namespace {

constexpr std::size_t kReadBlock = 4096;
// Out of descriptors: what this costs everybody else, instead of being woken for ever by a connection nobody can take.
constexpr milliseconds kAcceptPause{10};

// Names with values that are no lists or objects themselves.
bool IsMessage(const ordered_json& message) {
  if (!message.is_object()) return false;
  return std::all_of(message.begin(), message.end(), [](const ordered_json& value) {
    return value.is_object() &&
           std::all_of(value.begin(), value.end(), [](const ordered_json& member) { return member.is_primitive(); });
  });
}

}  // namespace

struct AppServeLoop::Client {
  int socket;
  host::FrameReader frames{};
};

// An answer that is owed.
struct AppServeLoop::Due {
  Clock::time_point at;
  int socket;
  std::uint64_t id;      // the client's
  std::uint64_t number;  // ours
};

AppServeLoop::AppServeLoop(const AppServeMode& mode, AppServeReceipts receipts, int listener, int ended,
                           std::function<bool()> leave)
    : mode_(mode),
      receipts_(std::move(receipts)),
      listener_(listener),
      ended_(ended),
      leave_(std::move(leave)),
      idleAt_(Clock::now() + milliseconds(mode.idleMs)) {}

AppServeLoop::~AppServeLoop() {
  for (const Client& client : clients_) close(client.socket);
}

bool AppServeLoop::Run() {
  while (Wait()) {
    AnswerDue();
    if (IsIdle()) return true;
  }
  return false;
}

// False when the machine has gone.
bool AppServeLoop::Wait() {
  std::vector<pollfd> ready = {{ended_, POLLIN, 0}, {listener_, POLLIN, 0}};
  for (const Client& client : clients_) ready.push_back({client.socket, POLLIN, 0});
  if (poll(ready.data(), ready.size(), Timeout()) <= 0) return true;
  if (ready[0].revents != 0) return false;
  auto client = clients_.begin();
  for (std::size_t i = 2; i < ready.size(); ++i) {
    const auto current = client++;
    if (ready[i].revents != 0 && !Read(*current)) Drop(current);
  }
  if (ready[1].revents != 0) Accept();
  return true;
}

// Until the next answer is due, or the service is idle for too long; -1: neither.
int AppServeLoop::Timeout() const {
  const bool idling = clients_.empty() && mode_.idleMs != 0;
  if (due_.empty() && !idling) return -1;
  const auto next = due_.empty() ? idleAt_ : due_.front().at;
  const auto left = std::chrono::ceil<milliseconds>(next - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT32_MAX));
}

void AppServeLoop::Accept() {
  const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  if (socket >= 0) clients_.push_back({socket});
  if (socket < 0 && (errno == EMFILE || errno == ENFILE)) std::this_thread::sleep_for(kAcceptPause);
}

// False when the connection is over.
bool AppServeLoop::Read(Client& client) {
  char block[kReadBlock];
  const ssize_t got = recv(client.socket, block, sizeof block, 0);
  if (got < 0) return errno == EAGAIN || errno == EINTR;
  if (got == 0) return false;
  client.frames.Append(block, static_cast<std::size_t>(got));
  std::string payload;
  for (;;) {
    switch (client.frames.Take(&payload)) {
      case host::FrameReader::Result::kIncomplete:
        return true;
      case host::FrameReader::Result::kTooLarge:
        return false;
      case host::FrameReader::Result::kMessage:
        if (!Take(client, payload)) return false;
    }
  }
}

// False for what is no message.
bool AppServeLoop::Take(Client& client, const std::string& payload) {
  const ordered_json request = ordered_json::parse(payload, nullptr, false);
  if (!request.is_object() || !request.contains("id") || !request["id"].is_number_unsigned() ||
      !request.contains("message") || !IsMessage(request["message"]))
    return false;
  const std::uint64_t number = receipts_.Receive(request["message"]);
  if (mode_.kind == AppServeMode::Kind::kNever) return true;
  if (mode_.kind == AppServeMode::Kind::kDies) {
    receipts_.Tell(number, "died");
    raise(SIGKILL);
  }
  const auto at = Clock::now() + milliseconds(mode_.delayMs);
  due_.push_back({at, client.socket, request["id"].get<std::uint64_t>(), number});
  return true;
}

void AppServeLoop::AnswerDue() {
  while (!due_.empty() && due_.front().at <= Clock::now()) {
    const Due due = due_.front();
    due_.pop_front();
    receipts_.Tell(due.number, Answer(due) ? "answered" : "unread");
  }
}

bool AppServeLoop::Answer(const Due& due) {
  const ordered_json answer = {
      {"id", due.id}, {"status", host::kAppServiceSuccess}, {"message", ordered_json::object()}};
  const std::string frame = host::EncodeFrame(answer.dump());
  const ssize_t sent = send(due.socket, frame.data(), frame.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent == static_cast<ssize_t>(frame.size())) return true;
  // A client that lets answers pile up is not waited for; the next reading finds the end.
  shutdown(due.socket, SHUT_RDWR);
  return false;
}

// What was owed to the client nobody reads any more.
void AppServeLoop::Drop(std::list<Client>::iterator client) {
  const int socket = client->socket;
  for (const Due& due : due_)
    if (due.socket == socket) receipts_.Tell(due.number, "unread");
  due_.remove_if([socket](const Due& due) { return due.socket == socket; });
  close(socket);
  clients_.erase(client);
  idleAt_ = Clock::now() + milliseconds(mode_.idleMs);
}

bool AppServeLoop::IsIdle() {
  if (mode_.idleMs == 0 || !clients_.empty() || Clock::now() < idleAt_) return false;
  if (leave_()) return true;
  idleAt_ = Clock::now() + milliseconds(mode_.idleMs);
  return false;
}

}  // namespace tool
