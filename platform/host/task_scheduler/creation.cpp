#include <atomic>

#include "platform/host/base/fault_injection.h"
#include "platform/host/kernel/com.h"
#include "platform/host/task_scheduler/task_service.h"

namespace {

std::atomic<int> liveObjects{0};

}  // namespace

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  return host::Method("CoCreateInstance", [&] {
    if (!host::IsInApartment()) return CO_E_NOTINITIALIZED;
    const bool known = classId == CLSID_TaskScheduler && (context & CLSCTX_INPROC_SERVER) != 0;
    if (!known) return REGDB_E_CLASSNOTREG;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    auto* service = new host::task_scheduler::TaskService;
    const HRESULT result = service->QueryInterface(iid, object);
    service->Release();
    return result;
  });
}

namespace host {

namespace task_scheduler {

void CountObjects(int change) {
  liveObjects += change;
}

}  // namespace task_scheduler

int LiveTaskObjects() {
  return liveObjects;
}

}  // namespace host
