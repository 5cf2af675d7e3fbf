#include "standins/etw/open_handles.h"

std::uint64_t OpenHandles::Add() {
  const std::lock_guard guard(lock_);
  open_.insert(next_);
  return next_++;
}

bool OpenHandles::Remove(std::uint64_t handle) {
  const std::lock_guard guard(lock_);
  return open_.erase(handle) != 0;
}

bool OpenHandles::Contains(std::uint64_t handle) {
  const std::lock_guard guard(lock_);
  return open_.contains(handle);
}
