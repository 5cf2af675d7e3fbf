// The events that a subscription has not been asked for yet, oldest first.
#pragma once

#include <cstddef>
#include <vector>

#include "platform/rpc_interface.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Not thread safe. Nearly all of them are empty nearly all the time, and need no memory then.
class EventQueue {
 public:
  bool IsEmpty() const { return taken_ == events_.size(); }
  std::size_t Size() const { return events_.size() - taken_; }

  // Throws std::bad_alloc when it cannot grow, and is then as it was.
  void Push(const Hkd04a7Rpc_EventRecord& event) {
    // Moved together only where that makes half of the room free: an event is moved once or twice in all.
    if (taken_ > 0 && taken_ >= Size() && events_.size() == events_.capacity()) Compact();
    events_.push_back(event);
  }

  // The oldest one. The queue is not empty.
  Hkd04a7Rpc_EventRecord Take() {
    const Hkd04a7Rpc_EventRecord oldest = events_[taken_++];
    if (IsEmpty()) Clear();
    return oldest;
  }

 private:
  // What a queue keeps of its memory when it has become empty: a few events that come faster than they are asked for.
  static constexpr std::size_t kKept = 16;

  void Compact() {
    events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(taken_));
    taken_ = 0;
  }
  void Clear() {
    if (events_.capacity() > kKept) events_ = {};
    events_.clear();
    taken_ = 0;
  }

  std::vector<Hkd04a7Rpc_EventRecord> events_;
  std::size_t taken_ = 0;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
