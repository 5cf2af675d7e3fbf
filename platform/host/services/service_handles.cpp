#include "platform/host/services/service_handles.h"

#include <utility>

namespace host {

ServiceHandles& ServiceHandles::Instance() {
  static ServiceHandles handles;
  return handles;
}

SC_HANDLE ServiceHandles::Open(OpenedService opened) {
  const std::lock_guard lock(mutex_);
  next_ += 16;
  const auto handle = reinterpret_cast<SC_HANDLE>(next_);
  opened_[handle] = std::move(opened);
  return handle;
}

std::optional<OpenedService> ServiceHandles::Find(SC_HANDLE handle) {
  const std::lock_guard lock(mutex_);
  const auto found = opened_.find(handle);
  return found != opened_.end() ? std::optional(found->second) : std::nullopt;
}

bool ServiceHandles::Close(SC_HANDLE handle) {
  const std::lock_guard lock(mutex_);
  return opened_.erase(handle) != 0;
}

unsigned ServiceHandles::Count() {
  const std::lock_guard lock(mutex_);
  return static_cast<unsigned>(opened_.size());
}

unsigned OpenServiceHandleCount() {
  return ServiceHandles::Instance().Count();
}

}  // namespace host
