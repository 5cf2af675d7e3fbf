#include "tests/client/scripted_procedures.h"

#include <chrono>

#include "platform/host/base/text.h"

namespace client {

ScriptedProcedures& ScriptedProcedures::Instance() {
  // Never destroyed: the runtime's threads run handles down until the process is gone.
  static auto& procedures = *new ScriptedProcedures;
  return procedures;
}

void ScriptedProcedures::Set(const std::string& procedure, const Answer& answer) {
  std::lock_guard guard(lock_);
  answers_[procedure] = answer;
}

void ScriptedProcedures::Hold() {
  std::lock_guard guard(lock_);
  held_ = true;
}

void ScriptedProcedures::Release() {
  std::lock_guard guard(lock_);
  held_ = false;
  changed_.notify_all();
}

std::vector<std::string> ScriptedProcedures::Calls() {
  std::lock_guard guard(lock_);
  return calls_;
}

bool ScriptedProcedures::AwaitCalls(std::size_t number) {
  std::unique_lock guard(lock_);
  return changed_.wait_for(guard, std::chrono::seconds(10), [&] { return calls_.size() >= number; });
}

ScriptedProcedures::Answer ScriptedProcedures::Serve(const std::string& procedure, const std::string& arguments) {
  std::unique_lock guard(lock_);
  calls_.push_back(procedure + arguments);
  changed_.notify_all();
  changed_.wait(guard, [this] { return !held_; });
  return answers_[procedure];
}

}  // namespace client

namespace {

int deviceBlock;

std::string Text(DWORD number) {
  return ' ' + std::to_string(number);
}

std::string Text(const WCHAR* text) {
  return " '" + host::ToUtf8(text) + "'";
}

template <typename... Arguments>
HRESULT Serve(const char* procedure, DWORD* value, Arguments... arguments) {
  const auto answer = client::ScriptedProcedures::Instance().Serve(procedure, (std::string() + ... + Text(arguments)));
  if (answer.raise != 0) RpcRaiseException(answer.raise);
  if (value != nullptr) *value = answer.value;
  return answer.result;
}

}  // namespace

extern "C" {

HRESULT Hkd04a7Rpc_Device_Create(handle_t, Hkd04a7Rpc_DeviceHandle* device) {
  const HRESULT result = Serve("Device_Create", nullptr);
  *device = result == 0 ? &deviceBlock : nullptr;
  return result;
}

HRESULT Hkd04a7Rpc_Device_Close(Hkd04a7Rpc_DeviceHandle* device) {
  *device = nullptr;
  return Serve("Device_Close", nullptr);
}

HRESULT Hkd04a7Rpc_Device_CallFuncMethod(Hkd04a7Rpc_DeviceHandle, DWORD functionCode, DWORD arg1, DWORD arg2,
                                         DWORD arg3, DWORD* result) {
  return Serve("Device_CallFuncMethod", result, functionCode, arg1, arg2, arg3);
}

HRESULT Hkd04a7Rpc_Device_GetWakeupStatus(Hkd04a7Rpc_DeviceHandle, DWORD wakeupKind, DWORD* wakeupInfo) {
  return Serve("Device_GetWakeupStatus", wakeupInfo, wakeupKind);
}

HRESULT Hkd04a7Rpc_RegisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName,
                                                     const WCHAR* appServiceName, DWORD flags, DWORD eventId,
                                                     DWORD data1) {
  return Serve("RegisterAppService", nullptr, packageFamilyName, appServiceName, flags, eventId, data1);
}

HRESULT Hkd04a7Rpc_UnregisterAppServiceForNotification(handle_t, const WCHAR* packageFamilyName, DWORD flags,
                                                       DWORD eventId, DWORD data1) {
  return Serve("UnregisterAppService", nullptr, packageFamilyName, flags, eventId, data1);
}

HRESULT Hkd04a7Rpc_RunFileAsSystem(handle_t, DWORD flags, const WCHAR* command, const WCHAR* par, DWORD* exitCode) {
  return Serve("RunFileAsSystem", exitCode, flags, command, par);
}

void Hkd04a7Rpc_DeviceHandle_rundown(Hkd04a7Rpc_DeviceHandle) {
  Serve("DeviceHandle_rundown", nullptr);
}

}  // extern "C"
