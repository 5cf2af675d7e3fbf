// A service that has nothing to do does nothing.
#include <thread>

#include "tests/load/load_fixture.h"
#include "tests/load/process_figures.h"

namespace load {
namespace {

using std::chrono::seconds;

// The thread sanitizer has a thread of its own that looks about ten times a second.
constexpr std::uint64_t kMostSwitches = kSlowness == 1 ? 1 : 60;
constexpr std::uint64_t kMostCpuNs = 1'000'000u * kSlowness;

class IdleServiceTest : public LoadTest {
 protected:
  void ExpectRest() {
    Done({"settle"});
    const pid_t service = ServicePid();
    std::this_thread::sleep_for(seconds(6));  // threads that are not needed linger for a while
    const ProcessFigures before = FiguresOf(service);
    std::this_thread::sleep_for(seconds(2));
    const ProcessFigures after = FiguresOf(service);
    EXPECT_GT(before.threads, 0u);
    EXPECT_LE(after.switches - before.switches, kMostSwitches);
    EXPECT_LE(after.cpuNs - before.cpuNs, kMostCpuNs);
    EXPECT_EQ(after.armedTimers, 0u);
  }
};

TEST_F(IdleServiceTest, RestsWithoutClients) {
  ExpectRest();
}

TEST_F(IdleServiceTest, RestsUnderPendingWaits) {
  const auto holders = BeginHolders(1, 100);
  ExpectRest();
}

}  // namespace
}  // namespace load
