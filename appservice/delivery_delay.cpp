#include "appservice/delivery_delay.h"

#include "device/event_id.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "platform/threads.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

constexpr const WCHAR* kUtilityKey = W("System\\CurrentControlSet\\Services\\Hkd04a7DriverUtilityService\\Utility");

// The first data word of a session change: a logon.
constexpr std::uint32_t kSessionLogon = 5;

// The value with the delay of the event; null for an event that is never put off.
const WCHAR* DelayValueOf(std::uint32_t eventId, std::uint32_t data1) {
  if (eventId == EventId::PowerResume) return W("AppServiceDelayOnResume");
  if (eventId == EventId::SessionChange && data1 == kSessionLogon) return W("AppServiceDelayOnLogon");
  return nullptr;
}

// 0 where none is configured.
DWORD ReadDelay(const WCHAR* valueName) {
  DWORD milliseconds = 0;
  DWORD size = sizeof(milliseconds);
  const LSTATUS status =
      RegGetValueW(HKEY_LOCAL_MACHINE, kUtilityKey, valueName, RRF_RT_REG_DWORD, nullptr, &milliseconds, &size);
  return status == ERROR_SUCCESS ? milliseconds : 0;
}

}  // namespace

void SleepBeforeDelivery(std::uint32_t eventId, std::uint32_t data1) {
  const WCHAR* valueName = DelayValueOf(eventId, data1);
  const DWORD milliseconds = valueName != nullptr ? ReadDelay(valueName) : 0;
  if (milliseconds != 0) Sleep(milliseconds);
}

}  // namespace Quorvex::PC::Hkd04a7
