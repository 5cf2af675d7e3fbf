// Who hears what the daemon tells of its own accord, by event. Any thread may set a listener; the link's reader runs
// them.
#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <thread>

namespace host {

class LinkListeners {
 public:
  using Listener = std::function<void(const nlohmann::json&)>;

  // Replaces the listener of `event`. An empty function removes it and returns only when no call of it is running, but
  // for one that removes itself.
  void Set(const std::string& event, Listener listener);

  // Calls the listener of `event`, if there is one; no lock is held meanwhile. One thread at a time.
  void Run(const std::string& event, const nlohmann::json& message);

 private:
  std::mutex mutex_;  // guards all below
  std::condition_variable returned_;
  std::map<std::string, Listener> listeners_;
  std::string running_;
  std::thread::id thread_;
};

}  // namespace host
