// The one thread of this process that receives what RPC servers answer, for all bindings. It also runs the notification
// routines of asynchronous calls.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace host::rpc {

// A socket the receiver watches.
class ReceiverSource {
 public:
  ReceiverSource() = default;
  ReceiverSource(const ReceiverSource&) = delete;
  ReceiverSource& operator=(const ReceiverSource&) = delete;
  virtual ~ReceiverSource() = default;

  // On the receiving thread, with no lock held; `events` as epoll gives them.
  virtual void OnReady(std::uint32_t events) = 0;
};

// Thread safe. Lives, with its thread, as long as the process.
class Receiver {
 public:
  static Receiver& Instance();

  // Watches `descriptor` for input (and for room, with `output`) on behalf of `source`; a source that has ended is
  // passed over. False when the system has no room for it.
  bool Watch(int descriptor, std::weak_ptr<ReceiverSource> source, bool output);
  void ChangeWatch(int descriptor, bool output);
  // Before the descriptor is closed.
  void Unwatch(int descriptor);

  // Runs `action` on the receiving thread, soon.
  void Post(std::function<void()> action);

  // A notification routine that makes a call of its own and waits for it keeps receiving meanwhile.
  bool IsThisThread() const;
  void RunOnce();

 private:
  struct Watched {
    int descriptor;
    std::weak_ptr<ReceiverSource> source;
  };

  Receiver();
  void RunPosted();
  std::shared_ptr<ReceiverSource> SourceOf(std::uint64_t key);

  const int poll_;
  const int wake_;
  std::mutex lock_;  // taken last
  // Events name their source by a number that is never used twice, since descriptors are.
  std::map<std::uint64_t, Watched> sources_;
  std::map<int, std::uint64_t> keys_;
  std::uint64_t lastKey_ = 0;
  std::deque<std::function<void()>> posted_;
  std::atomic<std::thread::id> thread_;
};

}  // namespace host::rpc
