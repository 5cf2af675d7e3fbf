#include "device/hkd04a7_etw_dll.h"

namespace Quorvex::PC::Hkd04a7 {

bool CHkd04a7etwDll::BindEntryPoints(HMODULE library) {
  const auto find = [library](const char* name, auto*& address) {
    return Common::FindEntryPoint(library, name, address);
  };
  return find("HKD04A7ETW_Open", Open) && find("HKD04A7ETW_Close", Close) &&
         find("HKD04A7ETW_WriteApplicationSwitchControlEvent", WriteApplicationSwitchControlEvent) &&
         find("HKD04A7ETW_WriteApplicationSwitchControlWakeupEvent", WriteApplicationSwitchControlWakeupEvent) &&
         find("HKD04A7ETW_WriteIROpeOneButtonControlEvent", WriteIROpeOneButtonControlEvent) &&
         find("HKD04A7ETW_WriteIROpeOneButtonControlWakeupEvent", WriteIROpeOneButtonControlWakeupEvent) &&
         find("HKD04A7ETW_WriteInterruptAccelerationSensorEvent", WriteInterruptAccelerationSensorEvent) &&
         find("HKD04A7ETW_WriteEmergencyNotificationEvent", WriteEmergencyNotificationEvent) &&
         find("HKD04A7ETW_WritePhonePCDataControlEvent", WritePhonePCDataControlEvent) &&
         find("HKD04A7ETW_WriteWindowsPowerEvent", WriteWindowsPowerEvent) &&
         find("HKD04A7ETW_WriteInterruptECEvent", WriteInterruptECEvent) &&
         find("HKD04A7ETW_WriteHkd04a7Event", WriteHkd04a7Event);
}

void CHkd04a7etwDll::ClearEntryPoints() {
  Open = nullptr;
  Close = nullptr;
  WriteApplicationSwitchControlEvent = nullptr;
  WriteApplicationSwitchControlWakeupEvent = nullptr;
  WriteIROpeOneButtonControlEvent = nullptr;
  WriteIROpeOneButtonControlWakeupEvent = nullptr;
  WriteInterruptAccelerationSensorEvent = nullptr;
  WriteEmergencyNotificationEvent = nullptr;
  WritePhonePCDataControlEvent = nullptr;
  WriteWindowsPowerEvent = nullptr;
  WriteInterruptECEvent = nullptr;
  WriteHkd04a7Event = nullptr;
}

}  // namespace Quorvex::PC::Hkd04a7
