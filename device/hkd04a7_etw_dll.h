// Binding of the event-tracing library.
#pragma once

#include <cstdint>

#include "common/dll_handle.h"
#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// The entry points stand in the order in which they are looked up; each is null while no library is bound. The first
// argument of all but Open is the handle that Open returned. Results of the writers mean nothing.
class CHkd04a7etwDll : public Common::CDllHandle {
 public:
  using OpenFunction = std::uint32_t(WINAPI*)(std::uint64_t* handle);  // non-zero on success
  using CloseFunction = std::uint32_t(WINAPI*)(std::uint64_t handle);
  using WriteOneFunction = std::uint32_t(WINAPI*)(std::uint64_t handle, std::uint32_t value);
  using WriteTwoFunction = std::uint32_t(WINAPI*)(std::uint64_t handle, std::uint32_t first, std::uint32_t second);
  using WriteEventFunction = std::uint32_t(WINAPI*)(std::uint64_t handle, std::uint32_t eventId, std::uint32_t data1,
                                                    std::uint32_t data2);

  OpenFunction Open = nullptr;
  CloseFunction Close = nullptr;
  WriteOneFunction WriteApplicationSwitchControlEvent = nullptr;        // event identifier
  WriteOneFunction WriteApplicationSwitchControlWakeupEvent = nullptr;  // switch wake value
  WriteOneFunction WriteIROpeOneButtonControlEvent = nullptr;           // button value
  WriteOneFunction WriteIROpeOneButtonControlWakeupEvent = nullptr;     // button wake value
  WriteOneFunction WriteInterruptAccelerationSensorEvent = nullptr;     // sensor value
  WriteOneFunction WriteEmergencyNotificationEvent = nullptr;           // notification value
  WriteTwoFunction WritePhonePCDataControlEvent = nullptr;              // bit index, value
  WriteOneFunction WriteWindowsPowerEvent = nullptr;                    // power value
  WriteTwoFunction WriteInterruptECEvent = nullptr;                     // interrupt kind, value
  WriteEventFunction WriteHkd04a7Event = nullptr;                       // event identifier, data1, data2

 protected:
  bool BindEntryPoints(HMODULE library) override;
  void ClearEntryPoints() override;
};

}  // namespace Quorvex::PC::Hkd04a7
