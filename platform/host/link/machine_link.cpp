#include "platform/host/link/machine_link.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>
#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/frame.h"
#include "platform/host/link/link_listeners.h"
#include "platform/host/link/unix_socket.h"

namespace host {

using nlohmann::json;

namespace {

constexpr DWORD kMachineNotUp = 1062;
constexpr DWORD kInvalidParameter = 87;

std::string Encode(const json& message) {
  return message.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

// Locks: connectMutex, then sendMutex or stateMutex (never both). No lock is held while a listener runs.
struct MachineLink::Impl {
  // One request on its way: filled in by the reader thread.
  struct PendingCall {
    std::optional<json> reply;
    bool lost = false;
  };

  std::mutex connectMutex;  // connecting and closing; guards reader and the life of descriptor
  std::thread reader;

  std::mutex sendMutex;  // one message at a time goes out
  int descriptor = -1;   // written with connectMutex and sendMutex held

  std::mutex stateMutex;
  std::condition_variable changed;
  bool connected = false;
  std::uint64_t nextId = 1;
  std::map<std::uint64_t, PendingCall*> pending;

  LinkListeners listeners;

  bool EnsureConnected();
  void Close();
  void ReapReader();
  bool Send(const std::string& payload);
  void ReadLoop(int socket);
  bool HandleMessage(const std::string& payload);
  void LoseConnection();
  bool WaitForReply(std::unique_lock<std::mutex>& lock, std::uint64_t id, PendingCall* call);
};

bool MachineLink::Impl::EnsureConnected() {
  const std::lock_guard connectLock(connectMutex);
  {
    const std::lock_guard stateLock(stateMutex);
    if (connected) return true;
  }
  if (reader.joinable()) reader.join();
  const std::lock_guard sendLock(sendMutex);
  if (descriptor >= 0) close(descriptor);
  descriptor = ConnectUnixSocket(CurrentMachineDirectory().runtime + "/control");
  if (descriptor < 0) return false;
  {
    const std::lock_guard stateLock(stateMutex);
    connected = true;
  }
  reader = std::thread([this, socket = descriptor] { ReadLoop(socket); });
  return true;
}

void MachineLink::Impl::Close() {
  const std::lock_guard connectLock(connectMutex);
  if (descriptor >= 0) shutdown(descriptor, SHUT_RDWR);
  if (reader.joinable()) reader.join();
  const std::lock_guard sendLock(sendMutex);
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

// At the end of the process: a reader whose connection has ended is not left behind. One that still reads is, as its
// process's other threads are.
void MachineLink::Impl::ReapReader() {
  const std::unique_lock connectLock(connectMutex, std::try_to_lock);
  if (!connectLock.owns_lock() || !reader.joinable() || reader.get_id() == std::this_thread::get_id()) return;
  {
    const std::lock_guard stateLock(stateMutex);
    if (connected) return;
  }
  reader.join();
}

bool MachineLink::Impl::Send(const std::string& payload) {
  if (payload.size() > kMaxFrameSize) return false;
  const std::string frame = EncodeFrame(payload);
  const std::lock_guard sendLock(sendMutex);
  std::size_t sent = 0;
  while (descriptor >= 0 && sent < frame.size()) {
    const ssize_t count = send(descriptor, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
    if (count > 0) sent += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR) return false;
  }
  return sent == frame.size();
}

void MachineLink::Impl::ReadLoop(int socket) {
  FrameReader frames;
  char buffer[65536];
  bool sound = true;
  while (sound) {
    const ssize_t count = recv(socket, buffer, sizeof(buffer), 0);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    frames.Append(buffer, static_cast<std::size_t>(count));
    std::string payload;
    FrameReader::Result result = FrameReader::Result::kIncomplete;
    while (sound && (result = frames.Take(&payload)) == FrameReader::Result::kMessage) sound = HandleMessage(payload);
    if (result == FrameReader::Result::kTooLarge) sound = false;
  }
  shutdown(socket, SHUT_RDWR);
  LoseConnection();
}

bool MachineLink::Impl::HandleMessage(const std::string& payload) {
  json message = json::parse(payload, nullptr, false);
  if (!message.is_object()) return false;
  if (const auto event = message.find("event"); event != message.end() && event->is_string()) {
    listeners.Run(event->get<std::string>(), message);
    return true;
  }
  const auto id = message.find("id");
  if (id == message.end() || !id->is_number_unsigned()) return false;
  const std::lock_guard lock(stateMutex);
  const auto call = pending.find(id->get<std::uint64_t>());
  if (call == pending.end()) return true;
  call->second->reply = std::move(message);
  pending.erase(call);
  changed.notify_all();
  return true;
}

void MachineLink::Impl::LoseConnection() {
  {
    const std::lock_guard lock(stateMutex);
    connected = false;
    for (auto& [id, call] : pending) call->lost = true;
    pending.clear();
    changed.notify_all();
  }
  listeners.Run("link.closed", json{{"event", "link.closed"}});
}

bool MachineLink::Impl::WaitForReply(std::unique_lock<std::mutex>& lock, std::uint64_t id, PendingCall* call) {
  changed.wait(lock, [&] { return call->reply.has_value() || call->lost; });
  pending.erase(id);
  return call->reply.has_value();
}

MachineLink& MachineLink::Instance() {
  // Never destroyed: threads of the process may use it until the very end.
  static MachineLink* const link = [] {
    std::atexit([] { Instance().impl_->ReapReader(); });
    return new MachineLink;
  }();
  return *link;
}

void MachineLink::Reset() {
  Instance().impl_->Close();
}

MachineLink::MachineLink() : impl_(std::make_unique<Impl>()) {}

MachineLink::~MachineLink() {
  impl_->Close();
}

DWORD MachineLink::Call(json request, json* reply) {
  if (!request.is_object()) return kInvalidParameter;
  if (!impl_->EnsureConnected()) return kMachineNotUp;
  Impl::PendingCall call;
  std::uint64_t id = 0;
  {
    const std::lock_guard lock(impl_->stateMutex);
    if (!impl_->connected) return kMachineNotUp;
    id = impl_->nextId++;
    impl_->pending[id] = &call;
  }
  request["id"] = id;
  const bool sent = impl_->Send(Encode(request));
  std::unique_lock lock(impl_->stateMutex);
  if (!sent) {
    impl_->pending.erase(id);
    return kMachineNotUp;
  }
  if (!impl_->WaitForReply(lock, id, &call)) return kMachineNotUp;
  lock.unlock();
  const auto error = call.reply->find("error");
  const DWORD code = error != call.reply->end() && error->is_number_unsigned() ? error->get<DWORD>() : 0;
  if (reply != nullptr) *reply = std::move(*call.reply);
  return code;
}

DWORD MachineLink::Post(json message) {
  if (!message.is_object()) return kInvalidParameter;
  if (!impl_->EnsureConnected()) return kMachineNotUp;
  return impl_->Send(Encode(message)) ? 0 : kMachineNotUp;
}

DWORD MachineLink::Answer(const json& message) {
  return impl_->Send(Encode(message)) ? 0 : kMachineNotUp;
}

void MachineLink::Listen(const std::string& event, std::function<void(const json&)> listener) {
  impl_->listeners.Set(event, std::move(listener));
}

}  // namespace host
