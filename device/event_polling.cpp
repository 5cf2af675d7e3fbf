#include "device/event_polling.h"

#include <bit>

#include "device/device_capabilities.h"
#include "device/device_query.h"
#include "device/event_id.h"
#include "device/event_notify.h"
#include "device/trace_writer.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Service::CServiceContext;

// Calls `action` with the index of each set bit, from bit 0 upwards.
template <typename Action>
void ForEachSetBit(std::uint32_t mask, Action action) {
  for (; mask != 0; mask &= mask - 1) action(static_cast<std::uint32_t>(std::countr_zero(mask)));
}

void PollAccelerationSensor(CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasAccelerationSensor) return;
  if (!QueryDevice(context, {DeviceFunction::Sensors, 0x12}, answer) || (answer & 0x1u) == 0) return;
  NotifyEvent(context, EventId::AccelerationSensor, answer, 0);
  WriteTrace<&CHkd04a7etwDll::WriteInterruptAccelerationSensorEvent>(context, answer);
}

void PollInterruptEc(CServiceContext& context) {
  constexpr std::uint32_t kInterruptKind = 1;
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasInterruptEc) return;
  if (!QueryDevice(context, {DeviceFunction::Sensors, 0x22, kInterruptKind}, answer) || (answer & 0x1u) == 0) return;
  NotifyEvent(context, EventId::InterruptEc, kInterruptKind, answer);
  WriteTrace<&CHkd04a7etwDll::WriteInterruptECEvent>(context, kInterruptKind, answer);
}

void PollAppSwitch(CServiceContext& context) {
  std::uint32_t mask = 0;
  if (!g_deviceCapabilities.hasAppSwitch) return;
  if (!QueryDevice(context, {DeviceFunction::AppSwitch, 1}, mask)) return;
  ForEachSetBit(mask, [&](std::uint32_t bit) {
    const std::uint32_t eventId = EventId::FirstAppSwitch + bit;
    NotifyEvent(context, eventId, mask, 0);
    WriteTrace<&CHkd04a7etwDll::WriteApplicationSwitchControlEvent>(context, eventId);
  });
}

// The device hands out one button answer for each query until its queue is empty.
void PollButtons(CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasButtonEvents) return;
  while (QueryDevice(context, {DeviceFunction::Buttons, 1}, answer)) {
    const ButtonPress press = DecodeButtonAnswer(answer);
    if (!press.isAnswer) return;
    if (press.oneTouch) NotifyEvent(context, EventId::OneTouchButton, answer, 0);
    if (press.irOpe) NotifyEvent(context, EventId::IrOpeButton, answer, 0);
    WriteTrace<&CHkd04a7etwDll::WriteIROpeOneButtonControlEvent>(context, answer);
  }
}

void PollEmergencyNotification(CServiceContext& context) {
  std::uint32_t answer = 0;
  if (!g_deviceCapabilities.hasEmergencyNotification) return;
  if (!QueryDevice(context, {DeviceFunction::EmergencyNotification, 1}, answer) || (answer & 0x3u) == 0) return;
  NotifyEvent(context, EventId::EmergencyNotification, answer, 0);
  WriteTrace<&CHkd04a7etwDll::WriteEmergencyNotificationEvent>(context, answer);
}

void PollPhonePcDataControl(CServiceContext& context, std::uint32_t bit) {
  std::uint32_t answer = 0;
  if (!QueryDevice(context, {DeviceFunction::PhonePcDataControl, 1, bit}, answer)) return;
  NotifyEvent(context, EventId::PhonePcDataControl, bit, answer);
  WriteTrace<&CHkd04a7etwDll::WritePhonePCDataControlEvent>(context, bit, answer);
}

void PollPhonePcMask(CServiceContext& context) {
  std::uint32_t mask = 0;
  if (!g_deviceCapabilities.hasPhonePcDataControl) return;
  if (!QueryDevice(context, {DeviceFunction::PhonePcDataControl, 3}, mask)) return;
  ForEachSetBit(mask, [&](std::uint32_t bit) { PollPhonePcDataControl(context, bit); });
}

void PollFunction1015Events(CServiceContext& context) {
  std::uint32_t mask = 0;
  if (!g_deviceCapabilities.hasFunction1015Events) return;
  if (!QueryDevice(context, {DeviceFunction::Function1015, 5}, mask)) return;
  ForEachSetBit(mask, [&](std::uint32_t bit) { NotifyEvent(context, EventId::Function1015, bit, 0); });
}

void PollFunction101CEvents(CServiceContext& context) {
  for (std::uint32_t left = g_deviceCapabilities.function101CCount, index = 1; left > 0; --left, ++index) {
    std::uint32_t answer = 0;
    if (!QueryDevice(context, {DeviceFunction::Function101C, 3, index}, answer) || answer == 0) continue;
    NotifyEvent(context, EventId::Function101C, index, answer);
  }
}

}  // namespace

void PollDeviceEvents(CServiceContext& context) {
  PollAccelerationSensor(context);
  PollInterruptEc(context);
  PollAppSwitch(context);
  PollButtons(context);
  PollEmergencyNotification(context);
  PollPhonePcMask(context);
  PollFunction1015Events(context);
  PollFunction101CEvents(context);
}

void NotifyPowerResume(CServiceContext& context) {
  NotifyEvent(context, EventId::PowerResume, 0, 0);
  WriteTrace<&CHkd04a7etwDll::WriteWindowsPowerEvent>(context, 0u);
}

}  // namespace Quorvex::PC::Hkd04a7
