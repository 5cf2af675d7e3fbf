// The trace registrations that are open in this process.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>

// All methods may be called from any thread.
class OpenHandles {
 public:
  // A new handle, never 0 and never one that was used before.
  std::uint64_t Add();
  // False when `handle` is not open.
  bool Remove(std::uint64_t handle);
  bool Contains(std::uint64_t handle);

 private:
  std::mutex lock_;
  // Both guarded by lock_.
  std::set<std::uint64_t> open_;
  std::uint64_t next_ = 0x100000001;  // wider than 32 bits, so that a handle cut to them is not taken for one
};
