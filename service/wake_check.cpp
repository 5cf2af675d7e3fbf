#include "service/wake_check.h"

#include "device/device_capabilities.h"
#include "device/device_query.h"
#include "device/event_polling.h"
#include "device/trace_writer.h"
#include "platform/sync.h"
#include "rpc/wakeup_check_event.h"
#include "rpc/wakeup_record.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr std::uint32_t kWakeCause = 2;

void RecordButtonWake(CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasButtonEvents || !QueryDevice(context, {DeviceFunction::Buttons, kWakeCause}, answer) ||
      !NamesWakeButton(answer)) {
    return WriteWakeupButtonRecord(0);
  }
  WriteWakeupButtonRecord(answer);
  WriteTrace<&CHkd04a7etwDll::WriteIROpeOneButtonControlWakeupEvent>(context, answer);
}

void RecordSwitchWake(CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasAppSwitch || !QueryDevice(context, {DeviceFunction::AppSwitch, kWakeCause}, answer)) {
    return WriteWakeupSwitchRecord(0);
  }
  // A switch that did not wake the machine leaves the record as it is.
  if (answer == 0) return;
  WriteWakeupSwitchRecord(static_cast<std::int32_t>(answer));
  WriteTrace<&CHkd04a7etwDll::WriteApplicationSwitchControlWakeupEvent>(context, answer);
}

}  // namespace

void RunWakeCheck(CServiceHost& host, CServiceContext& context) {
  if (!IsWakeupCheckCompleted()) {
    RecordButtonWake(context);
    RecordSwitchWake(context);
    SetEvent(host.wakeCheckEvent);
  }
  NotifyPowerResume(context);
  PollDeviceEvents(context);
}

}  // namespace Quorvex::PC::Hkd04a7::Service
