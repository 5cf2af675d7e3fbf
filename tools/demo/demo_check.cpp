#include "tools/demo/demo_check.h"

#include <algorithm>

namespace tool {
namespace {

constexpr double kNanosecondsPerMillisecond = 1e6;

bool Same(const ExpectedEvent& expected, const SeenEvent& seen) {
  return expected.id == seen.id && expected.data1 == seen.data1 && expected.data2 == seen.data2;
}

void Add(CheckedEvent& checked, const WatchClient& client, std::size_t position, std::int64_t cause) {
  if (position >= client.Events().size()) {
    checked.seen.emplace_back();
    checked.milliseconds.emplace_back();
    return;
  }
  const SeenEvent& seen = client.Events()[position];
  checked.seen.push_back(seen);
  const double elapsed = static_cast<double>(seen.arrived - cause) / kNanosecondsPerMillisecond;
  checked.milliseconds.push_back(Same(checked.expected, seen) ? std::optional(elapsed) : std::nullopt);
}

}  // namespace

bool CheckedEvent::Right() const {
  return std::all_of(milliseconds.begin(), milliseconds.end(), [](const auto& time) { return time.has_value(); });
}

std::int64_t StepCauses::At(unsigned index) const {
  return index < notifications.size() ? notifications[index] : begin;
}

std::vector<CheckedEvent> CheckStep(const DemoStep& step, const DemoStage& stage, const StepCauses& causes,
                                    const std::vector<WatchClient*>& clients, std::size_t first) {
  std::vector<CheckedEvent> result;
  for (const ExpectedEvent& expected : step.events) {
    CheckedEvent& checked = result.emplace_back();
    checked.expected = expected;
    if (expected.data2IsSession) checked.expected.data2 = stage.session;
    for (const WatchClient* client : clients)
      Add(checked, *client, first + result.size() - 1, causes.At(expected.cause));
  }
  return result;
}

}  // namespace tool
