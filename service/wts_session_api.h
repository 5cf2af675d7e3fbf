// The terminal-services functions for sessions and their users.
#pragma once

#include "common/dll_handle.h"
#include "platform/sessions.h"

namespace Quorvex::PC::Hkd04a7::Service {

class CWtsSessionApi : public Common::CDllHandle {
 public:
  // Loads "wtsapi32.dll" from the system directory and looks the functions up; a missing one stays null.
  void LoadAndBind();

  decltype(&::WTSEnumerateSessionsW) WTSEnumerateSessionsW = nullptr;
  decltype(&::WTSQueryUserToken) WTSQueryUserToken = nullptr;
  decltype(&::WTSFreeMemory) WTSFreeMemory = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
