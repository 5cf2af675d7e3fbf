#include "platform/host/link/link_listeners.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace host {

void LinkListeners::Set(const std::string& event, Listener listener) {
  std::unique_lock lock(mutex_);
  if (listener) {
    listeners_[event] = std::move(listener);
    return;
  }
  listeners_.erase(event);
  if (thread_ == std::this_thread::get_id()) return;
  returned_.wait(lock, [&] { return running_ != event; });
}

void LinkListeners::Run(const std::string& event, const nlohmann::json& message) {
  Listener listener;
  {
    const std::lock_guard lock(mutex_);
    const auto found = listeners_.find(event);
    if (found == listeners_.end()) return;
    listener = found->second;
    running_ = event;
    thread_ = std::this_thread::get_id();
  }
  listener(message);
  const std::lock_guard lock(mutex_);
  running_.clear();
  thread_ = {};
  returned_.notify_all();
}

}  // namespace host
