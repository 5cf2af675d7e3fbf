// The handle table of the process: handle values, the objects they stand for and what each handle may do.
//
// An object is counted by its handles and by those who use it at the moment, so closing a handle never takes an
// object away from under a call. Values are not used twice, so a stale one is always found out.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/host/base/clock.h"
#include "platform/host/base/types.h"

namespace host {

// The moment a wait ends; none for INFINITE.
using Deadline = std::optional<MonotonicTime>;
Deadline DeadlineAfter(DWORD milliseconds);

class KernelObject {
 public:
  virtual ~KernelObject() = default;

  // What OpenHandleCounts counts it as: "event", "completion port", "thread", ...
  virtual const char* Kind() const = 0;

  // Called once, by the thread that closed the object's last handle; no lock of the table is held.
  virtual void OnLastHandleClosed() {}

  // Waits until the object is signalled (0) or the deadline passes (WAIT_TIMEOUT). WAIT_FAILED, with last error
  // ERROR_INVALID_HANDLE, for kinds that cannot be waited for.
  virtual DWORD Wait(const Deadline& deadline);

 protected:
  KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;

 private:
  friend class HandleTable;
  int handles_ = 0;  // guarded by the table's lock
};

// Opens a handle to `object` that may do what `access` names. Never null. Any thread.
HANDLE OpenHandle(std::shared_ptr<KernelObject> object, DWORD access);

// The object behind `handle`, when the handle has all bits of `access`. Otherwise null, with the last error
// ERROR_INVALID_HANDLE or ERROR_ACCESS_DENIED.
std::shared_ptr<KernelObject> ObjectOf(HANDLE handle, DWORD access);

// The same for one kind of object; a handle of another kind is ERROR_INVALID_HANDLE.
template <typename Object>
std::shared_ptr<Object> ObjectOf(HANDLE handle, DWORD access);

// Open handles by kind, for leak checks; kinds without any are absent.
std::map<std::string, int> OpenHandleCounts();

namespace detail {
std::shared_ptr<KernelObject> FindObject(HANDLE handle, DWORD* access);
bool AccessAllows(DWORD granted, DWORD wanted);
void FailInvalidHandle();
}  // namespace detail

template <typename Object>
std::shared_ptr<Object> ObjectOf(HANDLE handle, DWORD access) {
  DWORD granted = 0;
  auto object = std::dynamic_pointer_cast<Object>(detail::FindObject(handle, &granted));
  if (!object) {
    detail::FailInvalidHandle();
    return nullptr;
  }
  return detail::AccessAllows(granted, access) ? object : nullptr;
}

}  // namespace host
