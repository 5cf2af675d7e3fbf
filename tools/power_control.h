// Sleep and wake of the machine. Each answers an exit code, having reported a failure.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/options.h"

namespace tool {

int Suspend(const Options& options);

struct ResumeRequest {
  std::uint32_t switchWord = 0;  // what the device's wake queries answer from then on
  std::uint32_t buttonWord = 0;
  std::vector<unsigned> notifications;  // 18, 7 or 6, in their order; empty: the usual ones
};

int Resume(const Options& options, const ResumeRequest& resume);

}  // namespace tool
