// The trace registrations that are open in this process.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>

// All methods may be called from any thread.
class OpenHandles {
 public:
  // A new handle for the provider's registration: never 0 and never one that was used before.
  std::uint64_t Add(std::uint64_t registration);
  // The registration; nothing when `handle` is not open.
  std::optional<std::uint64_t> Remove(std::uint64_t handle);
  std::optional<std::uint64_t> Find(std::uint64_t handle);

 private:
  std::mutex lock_;
  // Both guarded by lock_.
  std::map<std::uint64_t, std::uint64_t> registrations_;
  std::uint64_t next_ = 0x100000001;  // wider than 32 bits, so that a handle cut to them is not taken for one
};
