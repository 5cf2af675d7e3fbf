#include "standins/etw/open_handles.h"

std::uint64_t OpenHandles::Add(std::uint64_t registration) {
  const std::lock_guard guard(lock_);
  registrations_.emplace(next_, registration);
  return next_++;
}

std::optional<std::uint64_t> OpenHandles::Remove(std::uint64_t handle) {
  const std::lock_guard guard(lock_);
  const auto node = registrations_.extract(handle);
  return node ? std::optional(node.mapped()) : std::nullopt;
}

std::optional<std::uint64_t> OpenHandles::Find(std::uint64_t handle) {
  const std::lock_guard guard(lock_);
  const auto found = registrations_.find(handle);
  return found != registrations_.end() ? std::optional(found->second) : std::nullopt;
}
