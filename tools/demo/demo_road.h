// The press of the demo that is followed through all four targets.
#pragma once

#include <optional>

#include "tools/options.h"
#include "tools/road.h"

namespace tool {

class DemoRoad {
 public:
  // Before the press. An exit code; a failure has been reported.
  int Follow(const Options& options, machine::Device& device);

  // Once everything has come to rest: prints the road. Whether the event came to every target, in their order, its task
  // ran well and its app service has the message.
  bool Show();

 private:
  std::optional<RoadRecorder> recorder_;
};

}  // namespace tool
