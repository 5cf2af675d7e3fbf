#include "platform/host/kernel/sync.h"

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/event_object.h"
#include "platform/host/kernel/named_events.h"
#include "platform/host/security/sddl.h"

namespace {

HANDLE FailNull(DWORD code) {
  SetLastError(code);
  return nullptr;
}

// The descriptor as text; false for one that is not null and not valid.
bool DescriptorText(const SECURITY_ATTRIBUTES* attributes, std::string* sddl) {
  if (!attributes || !attributes->lpSecurityDescriptor) return true;
  *sddl = host::DescriptorToSddl(attributes->lpSecurityDescriptor);
  return !sddl->empty();
}

HANDLE CreateNamed(const host::NamedEventRequest& request) {
  if (const DWORD code = host::CheckObjectName(request.name)) return FailNull(code);
  host::NamedEventResult result;
  if (const DWORD code = host::CreateNamedEvent(request, &result)) return FailNull(code);
  const HANDLE handle = host::OpenHandle(std::move(result.event), EVENT_ALL_ACCESS);
  SetLastError(result.existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return handle;
}

// Generic rights as an event understands them.
DWORD EventAccess(DWORD access) {
  struct {
    DWORD generic, specific;
  } constexpr kMapping[] = {{0x80000000, READ_CONTROL | 1},
                            {0x40000000, READ_CONTROL | EVENT_MODIFY_STATE},
                            {0x20000000, READ_CONTROL | SYNCHRONIZE},
                            {0x10000000, EVENT_ALL_ACCESS}};
  for (const auto& [generic, specific] : kMapping) {
    if (access & generic) access = (access & ~generic) | specific;
  }
  return access;
}

}  // namespace

HANDLE CreateEventW(const SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) {
  if (const auto code = host::InjectedFailure("CreateEventW")) return FailNull(*code);
  if (attributes && attributes->bInheritHandle) host::Unsupported("CreateEventW", "bInheritHandle");
  const auto reset = manualReset ? host::EventReset::Manual : host::EventReset::Automatic;
  std::string sddl;
  if (!DescriptorText(attributes, &sddl)) return FailNull(ERROR_INVALID_SECURITY_DESCR);
  if (name && *name) return CreateNamed({name, reset, initialState != FALSE, sddl});
  const HANDLE handle =
      host::OpenHandle(std::make_shared<host::EventObject>(reset, initialState != FALSE), EVENT_ALL_ACCESS);
  SetLastError(ERROR_SUCCESS);
  return handle;
}

HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name) {
  if (const auto code = host::InjectedFailure("OpenEventW")) return FailNull(*code);
  if (inherit) host::Unsupported("OpenEventW", "bInheritHandle");
  if (!name) return FailNull(ERROR_INVALID_PARAMETER);
  if (const DWORD code = host::CheckObjectName(name)) return FailNull(code);
  host::NamedEventResult result;
  const DWORD mapped = EventAccess(access);
  if (const DWORD code = host::OpenNamedEvent(name, mapped, &result)) return FailNull(code);
  return host::OpenHandle(std::move(result.event), mapped);
}

BOOL SetEvent(HANDLE event) {
  if (const auto code = host::InjectedFailure("SetEvent")) return host::FailWith(*code);
  const auto object = host::ObjectOf<host::EventObject>(event, EVENT_MODIFY_STATE);
  if (object) object->Set();
  return object != nullptr;
}

BOOL ResetEvent(HANDLE event) {
  if (const auto code = host::InjectedFailure("ResetEvent")) return host::FailWith(*code);
  const auto object = host::ObjectOf<host::EventObject>(event, EVENT_MODIFY_STATE);
  if (object) object->Reset();
  return object != nullptr;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
  if (const auto code = host::InjectedFailure("WaitForSingleObject")) {
    SetLastError(*code);
    return WAIT_FAILED;
  }
  const auto object = host::ObjectOf(handle, SYNCHRONIZE);
  return object ? object->Wait(host::DeadlineAfter(milliseconds)) : WAIT_FAILED;
}
