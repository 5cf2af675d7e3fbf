#include "service/service_context.h"

#include "common/module_path.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

bool LoadFromModuleDirectory(Common::CDllHandle& dll, const WCHAR* fileName) {
  Common::PathBuffer path;
  return Common::GetModuleSibling(fileName, path) && dll.Load(Common::DllByPath(path));
}

void OpenTrace(CHkd04a7etwDll& etwDll, TraceRegistration& trace) {
  if (LoadFromModuleDirectory(etwDll, W("hkd04a7-utility-etw.dll")) && !trace.Open(etwDll)) etwDll.Unload();
}

}  // namespace

CServiceContext::CServiceContext() {
  wtsApi.LoadAndBind();
  LoadFromModuleDirectory(deviceDll, W("hkd04a7-utility.dll"));
  OpenTrace(etwDll, trace);
  // Without a connection now, the first event tries again.
  ConnectTaskService(taskService);
}

CServiceContext::~CServiceContext() {
  deviceDll.CancelWaitNotification();
}

}  // namespace Quorvex::PC::Hkd04a7::Service
