// What the Task Scheduler's objects have in common: counted references, and the interfaces they have.
#pragma once

#include <atomic>

#include "platform/host/base/com_method.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/task_scheduler/task_scheduler.h"

namespace host::task_scheduler {

// Adds to what LiveTaskObjects answers.
void CountObjects(int change);

template <typename Interface>
class TaskObject : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    if (object == nullptr) return E_POINTER;
    const bool has = iid == iid_ || iid == IID_IUnknown;
    *object = has ? static_cast<Interface*>(this) : nullptr;
    if (!has) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() final { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  explicit TaskObject(REFIID iid) : iid_(iid) { CountObjects(1); }
  virtual ~TaskObject() { CountObjects(-1); }
  TaskObject(const TaskObject&) = delete;
  TaskObject& operator=(const TaskObject&) = delete;

 private:
  const IID iid_;
  std::atomic<ULONG> references_{1};
};

}  // namespace host::task_scheduler
