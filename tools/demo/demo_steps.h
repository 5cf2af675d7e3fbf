// What the demo plays, and what its clients must see: a script written by hand, event by event.
#pragma once

#include <cstdint>
#include <vector>

#include "machine/device.h"
#include "tools/demo/demo_requests.h"
#include "tools/options.h"

namespace tool {

// What a step works on and leaves behind.
struct DemoStage {
  const Options& options;
  machine::Device& device;
  std::uint32_t session = 0;  // the session of the last logon
};

struct ExpectedEvent {
  std::uint32_t id;
  std::uint32_t data1;
  std::uint32_t data2;
  unsigned cause = 0;           // which of the step's notifications it answers
  bool data2IsSession = false;  // data2 is the stage's session instead
};

struct DemoStep {
  const char* title;
  int (*act)(DemoStage& stage);  // an exit code; a failure has been reported
  std::vector<ExpectedEvent> events;
  bool showWakeupRecord = false;
  std::vector<DemoRequest> requests{};  // asked once the events have come
  bool followRoad = false;              // through all four targets
};

// In the order they are played. Steps without device notifications (power, sessions) have their time counted from the
// moment the step begins.
const std::vector<DemoStep>& DemoSteps();

}  // namespace tool
