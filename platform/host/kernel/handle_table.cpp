#include "platform/host/kernel/handle_table.h"

#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/kernel/close_handle.h"
#include "platform/host/kernel/sync.h"

namespace host {

class HandleTable {
 public:
  static HandleTable& Instance() {
    static auto* table = new HandleTable;  // outlives every thread of the process
    return *table;
  }

  HANDLE Open(std::shared_ptr<KernelObject> object, DWORD access) {
    std::lock_guard lock(mutex_);
    ++object->handles_;
    const std::uintptr_t value = next_;
    next_ += 4;
    entries_.emplace(value, Entry{std::move(object), access});
    return reinterpret_cast<HANDLE>(value);
  }

  // The object is let go by the caller, outside the lock. Null for an unknown handle.
  std::shared_ptr<KernelObject> Close(HANDLE handle, bool* last) {
    std::lock_guard lock(mutex_);
    const auto found = entries_.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == entries_.end()) return nullptr;
    auto object = std::move(found->second.object);
    entries_.erase(found);
    *last = --object->handles_ == 0;
    return object;
  }

  std::shared_ptr<KernelObject> Find(HANDLE handle, DWORD* access) {
    std::lock_guard lock(mutex_);
    const auto found = entries_.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == entries_.end()) return nullptr;
    *access = found->second.access;
    return found->second.object;
  }

  std::map<std::string, int> Counts() {
    std::lock_guard lock(mutex_);
    std::map<std::string, int> counts;
    for (const auto& [value, entry] : entries_) ++counts[entry.object->Kind()];
    return counts;
  }

 private:
  struct Entry {
    std::shared_ptr<KernelObject> object;
    DWORD access;
  };

  std::mutex mutex_;
  std::unordered_map<std::uintptr_t, Entry> entries_;
  std::uintptr_t next_ = 0x100;
};

namespace {

bool IsPseudoHandle(HANDLE handle) {
  const auto value = reinterpret_cast<LONG_PTR>(handle);
  return value == -1 || value == -2;
}

}  // namespace

Deadline DeadlineAfter(DWORD milliseconds) {
  if (milliseconds == INFINITE) return std::nullopt;
  return MonotonicNow() + std::chrono::milliseconds(milliseconds);
}

DWORD KernelObject::Wait(const Deadline&) {
  SetLastError(ERROR_INVALID_HANDLE);
  return WAIT_FAILED;
}

HANDLE OpenHandle(std::shared_ptr<KernelObject> object, DWORD access) {
  return HandleTable::Instance().Open(std::move(object), access);
}

std::shared_ptr<KernelObject> ObjectOf(HANDLE handle, DWORD access) {
  return ObjectOf<KernelObject>(handle, access);
}

std::map<std::string, int> OpenHandleCounts() {
  return HandleTable::Instance().Counts();
}

namespace detail {

std::shared_ptr<KernelObject> FindObject(HANDLE handle, DWORD* access) {
  return HandleTable::Instance().Find(handle, access);
}

bool AccessAllows(DWORD granted, DWORD wanted) {
  if ((granted & wanted) == wanted) return true;
  SetLastError(ERROR_ACCESS_DENIED);
  return false;
}

void FailInvalidHandle() {
  SetLastError(ERROR_INVALID_HANDLE);
}

}  // namespace detail
}  // namespace host

BOOL CloseHandle(HANDLE handle) {
  if (const auto code = host::InjectedFailure("CloseHandle")) return host::FailWith(*code);
  if (host::IsPseudoHandle(handle)) return TRUE;
  bool last = false;
  auto object = host::HandleTable::Instance().Close(handle, &last);
  if (!object) return host::FailWith(ERROR_INVALID_HANDLE);
  const DWORD lastError = GetLastError();
  if (last) object->OnLastHandleClosed();
  object.reset();
  SetLastError(lastError);
  return TRUE;
}
