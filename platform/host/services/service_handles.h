// Handles of the control manager and of services, as this process opened them.
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/host/services/services.h"

namespace host {

struct OpenedService {
  std::string service;  // empty: the manager
  DWORD access = 0;
};

// Thread safe.
class ServiceHandles {
 public:
  static ServiceHandles& Instance();

  SC_HANDLE Open(OpenedService opened);
  std::optional<OpenedService> Find(SC_HANDLE handle);
  // False for an unknown handle.
  bool Close(SC_HANDLE handle);
  unsigned Count();

 private:
  std::mutex mutex_;
  std::map<SC_HANDLE, OpenedService> opened_;  // guarded by mutex_
  std::uintptr_t next_ = 0x1000;               // guarded by mutex_
};

}  // namespace host
