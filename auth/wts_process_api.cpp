#include "auth/wts_process_api.h"

namespace Quorvex::PC::Hkd04a7::Service {

void CWtsProcessApi::LoadAndBind() {
  if (!Load(Common::DllFromSystem(W("wtsapi32.dll")))) return;
  Common::FindEntryPoint(this->module, "WTSEnumerateProcessesExW", WTSEnumerateProcessesExW);
  Common::FindEntryPoint(this->module, "WTSFreeMemoryExW", WTSFreeMemoryExW);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
