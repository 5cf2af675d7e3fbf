// The terminal-services functions for the processes of a session.
#pragma once

#include "common/dll_handle.h"
#include "platform/sessions.h"

namespace Quorvex::PC::Hkd04a7::Service {

class CWtsProcessApi : public Common::CDllHandle {
 public:
  // Loads "wtsapi32.dll" from the system directory and looks the functions up; a missing one stays null.
  void LoadAndBind();

  decltype(&::WTSEnumerateProcessesExW) WTSEnumerateProcessesExW = nullptr;
  decltype(&::WTSFreeMemoryExW) WTSFreeMemoryExW = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
