#include "service/wts_session_api.h"

namespace Quorvex::PC::Hkd04a7::Service {

void CWtsSessionApi::LoadAndBind() {
  if (!Load(Common::DllFromSystem(W("wtsapi32.dll")))) return;
  Common::FindEntryPoint(this->module, "WTSEnumerateSessionsW", WTSEnumerateSessionsW);
  Common::FindEntryPoint(this->module, "WTSQueryUserToken", WTSQueryUserToken);
  Common::FindEntryPoint(this->module, "WTSFreeMemory", WTSFreeMemory);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
