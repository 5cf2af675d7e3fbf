#include "device/trace_registration.h"

#include <utility>

#include "common/entry_point_call.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {

TraceRegistration::~TraceRegistration() {
  if (!IsOpen()) return;
  const CHkd04a7etwDll& provider = *std::exchange(etwProvider_, nullptr);
  const std::uint64_t handle = std::exchange(etwHandle_, 0);
  Common::CallEntryPoint(provider.Close, handle);
}

bool TraceRegistration::Open(CHkd04a7etwDll& provider) {
  if (IsOpen()) {
    SetLastError(ERROR_ALREADY_INITIALIZED);
    return false;
  }
  std::uint64_t handle = 0;
  if (!Common::CallEntryPoint(provider.Open, &handle)) return false;
  etwProvider_ = &provider;
  etwHandle_ = handle;
  return true;
}

}  // namespace Quorvex::PC::Hkd04a7
