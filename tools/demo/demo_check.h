// Compares what the clients saw with what a step must bring, and measures it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/demo/demo_steps.h"
#include "tools/demo/watch_client.h"

namespace tool {

// One expected event at every client.
struct CheckedEvent {
  ExpectedEvent expected;                           // with the session filled in
  std::vector<std::optional<SeenEvent>> seen;       // for each client; nothing: it did not come
  std::vector<std::optional<double>> milliseconds;  // from its cause to the client; nothing where it is not the event

  bool Right() const;
};

// The moments (CLOCK_MONOTONIC, nanoseconds) at which a step's causes happened.
struct StepCauses {
  std::int64_t begin = 0;
  std::vector<std::int64_t> notifications;

  // Of notification `index`; the step's beginning where it raised none.
  std::int64_t At(unsigned index) const;
};

// `first` is the number of events that each client had to have before the step.
std::vector<CheckedEvent> CheckStep(const DemoStep& step, const DemoStage& stage, const StepCauses& causes,
                                    const std::vector<WatchClient*>& clients, std::size_t first);

}  // namespace tool
