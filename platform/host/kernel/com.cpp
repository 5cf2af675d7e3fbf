#include "platform/host/kernel/com.h"

#include <atomic>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"

namespace {

struct Apartment {
  int count = 0;
  bool singleThreaded = false;
};

thread_local Apartment apartment;
std::atomic<int> initializations{0};
std::atomic<int> multithreadedInitializations{0};

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD mode) {
  if (const auto code = host::InjectedFailure("CoInitializeEx")) return static_cast<HRESULT>(*code);
  if (reserved || (mode & ~(COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE | COINIT_SPEED_OVER_MEMORY))) {
    return E_INVALIDARG;
  }
  const bool singleThreaded = (mode & COINIT_APARTMENTTHREADED) != 0;
  if (apartment.count > 0 && apartment.singleThreaded != singleThreaded) return RPC_E_CHANGED_MODE;
  apartment.singleThreaded = singleThreaded;
  ++initializations;
  if (!singleThreaded) ++multithreadedInitializations;
  return apartment.count++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
  if (apartment.count == 0) return;
  --apartment.count;
  --initializations;
  if (!apartment.singleThreaded) --multithreadedInitializations;
}

namespace host {

int ComInitializations() {
  return initializations;
}

bool IsInApartment() {
  return apartment.count > 0 || multithreadedInitializations > 0;
}

}  // namespace host
