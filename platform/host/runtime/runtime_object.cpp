#include "platform/host/runtime/runtime_object.h"

#include "platform/host/runtime/runtime_control.h"

namespace host {

namespace {

std::atomic<int> liveObjects{0};

}  // namespace

namespace runtime {

void CountObjects(int change) {
  liveObjects += change;
}

HRESULT NameResult(std::u16string_view className, HSTRING* name) {
  if (!name) return E_POINTER;
  return WindowsCreateString(className.data(), static_cast<UINT32>(className.size()), name);
}

}  // namespace runtime

int LiveRuntimeObjects() {
  return liveObjects;
}

}  // namespace host
