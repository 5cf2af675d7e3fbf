// Asking the device what happened, and turning its answers into events.
//
// All of this runs on the worker's thread. An answer that does not count ends that source's work for this poll
// silently; the next source is still asked.
#pragma once

#include <cstdint>

#include "service/service_context.h"

namespace Quorvex::PC::Hkd04a7 {

// Asks every source the device has, in a fixed order, and makes an event of each answer that reports something. Each
// event is traced and delivered (NotifyEvent) before its source's own trace write.
void PollDeviceEvents(Service::CServiceContext& context);

// Announces a resume from sleep: event 37.
void NotifyPowerResume(Service::CServiceContext& context);

// Which buttons one button answer reports.
struct ButtonPress {
  bool isAnswer;  // bit 30: there may be a further answer
  bool oneTouch;
  bool irOpe;
};
constexpr ButtonPress DecodeButtonAnswer(std::uint32_t answer) {
  const std::uint32_t source = answer & 0xFF00u;
  const bool both = answer == 0x40000000u;
  return {
      .isAnswer = (answer & 0x40000000u) != 0, .oneTouch = both || source == 0x400u, .irOpe = both || source == 0x300u};
}

}  // namespace Quorvex::PC::Hkd04a7
