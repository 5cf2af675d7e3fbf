// Everything at once for a while, in stretches between which all clients leave: what the service and the daemon hold at
// the end of each is what they held after the first.
//
// HKD_LOAD_SECONDS sets the length, half a minute at least; a minute otherwise.
#include <algorithm>
#include <cstdlib>
#include <thread>

#include "platform/registry.h"
#include "tests/load/load_fixture.h"
#include "tests/load/process_figures.h"

namespace load {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

constexpr std::uint64_t kMostGrowthKiB = 1024;
// The control manager's history of a service and that of the programs are kept up to a number that a minute does not
// reach.
constexpr std::uint64_t kHistoryKiB = 3072;
constexpr seconds kLinger{6};  // of threads that are not needed any more

seconds Length() {
  const char* given = std::getenv("HKD_LOAD_SECONDS");
  return seconds(std::max(given != nullptr ? std::atoi(given) : 60, 30));
}

struct Level {
  ProcessFigures service, daemon;
  std::size_t connections;  // to the daemon
};

class MixedLoadTest : public LoadTest {
 protected:
  void SetUp() override {
    LoadTest::SetUp();
    Done({"logon", "anna"});
  }

  void Load(milliseconds length) {
    std::vector<Client> workers, guests;
    for (const char* number : {"1", "2", "3"}) workers.push_back(BeginClient({"work", number}));
    const auto end = steady_clock::now() + length;
    for (unsigned turn = 0; steady_clock::now() < end && !HasFailure(); ++turn) {
      Disturb(turn, guests);
      std::this_thread::sleep_for(milliseconds(20));
    }
    for (const Client& worker : workers) EXPECT_EQ(Terminate(*worker), "");
    for (const Client& guest : guests) EndOf(*guest);
  }

  // Every disturbance has a turn of its own.
  void Disturb(unsigned turn, std::vector<Client>& guests) {
    EXPECT_TRUE(Device().Emergency(WordOf(turn)));
    if (turn % 10 == 1) guests.push_back(BeginClient({"crash"}));
    if (turn % 40 == 3) RunInside({"crash"});
    if (turn % 50 == 5) Ask("power.suspend");
    if (turn % 50 == 10) Ask("power.resume");
    if (turn % 15 == 7) ChangeRegistry(turn);
    if (turn % 200 == 12) Device().OneTouch();  // whoever is registered for it is told by a process of its own
    if (turn % 100 == 20) other_ = Ask("session.logon", {{"user", "ben"}, {"remote", true}}).at("session");
    if (turn % 100 == 60) Ask("session.logoff", {{"session", other_}});
    std::erase_if(guests, [](const Client& guest) { return guest->Wait(milliseconds(0)).has_value(); });
  }

  void RunInside(const std::vector<std::string>& arguments) {
    Ask("process.run", {{"program", tool::ProgramFolder() + "/load-client"}, {"arguments", arguments}});
  }

  unsigned other_ = 0;  // the session of somebody who comes and goes

  static void ChangeRegistry(unsigned turn) {
    const WideString path = W("Software\\Quorvex\\HKD04A7\\Events\\35");
    const DWORD value = turn;
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, path.c_str(), W("Load"), REG_DWORD, &value, sizeof value), 0);
    EXPECT_EQ(RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str()), 0);
  }

  Level Measure() {
    EXPECT_TRUE(HoldsNothing());
    Done({"settle"});
    std::this_thread::sleep_for(kLinger);
    const json status = Ask("machine.status");
    const auto daemon = status.at("pid").get<pid_t>();
    EXPECT_EQ(ZombiesBelow(daemon), 0u);
    Level level{FiguresOf(ServicePid()), FiguresOf(daemon), status.at("connections").size()};
    for (const auto& [name, figures] : {std::pair("service", level.service), std::pair("daemon", level.daemon)})
      std::printf("%s: %lu KiB, %lu descriptors, %lu threads; ", name, figures.privateKiB, figures.descriptors,
                  figures.threads);
    std::printf("%zu connections to the daemon\n", level.connections);
    std::fflush(stdout);
    return level;
  }

  // Programs of the load may end late on a busy machine, and what they held with them; a leak never ends.
  Level MeasureDownTo(const Level& first) {
    Level level = Measure();
    const auto rests = [](const ProcessFigures& now, const ProcessFigures& then) {
      return now.descriptors == then.descriptors && now.threads == then.threads;
    };
    for (int i = 0; i < 3 && !(rests(level.service, first.service) && rests(level.daemon, first.daemon)); ++i)
      level = Measure();
    return level;
  }

  static void ExpectLevel(const ProcessFigures& first, const ProcessFigures& last, std::uint64_t growthKiB) {
    // The sanitizers keep memory of their own.
    if (kSlowness == 1) {
      EXPECT_LE(last.privateKiB, first.privateKiB + growthKiB);
    }
    EXPECT_EQ(last.descriptors, first.descriptors);
    EXPECT_EQ(last.threads, first.threads);
  }
};

TEST_F(MixedLoadTest, EndsOnTheLevelOfItsBeginning) {
  const int stretches = std::clamp(static_cast<int>(Length() / seconds(60)), 3, 12);
  const milliseconds stretch = milliseconds(Length()) / stretches - kLinger;
  Load(stretch);
  const Level first = Measure();
  Level last = first;
  for (int i = 1; i < stretches && !HasFailure(); ++i) {
    Load(stretch);
    last = MeasureDownTo(first);
  }
  ExpectLevel(first.service, last.service, kMostGrowthKiB);
  ExpectLevel(first.daemon, last.daemon, kHistoryKiB);
  EXPECT_EQ(last.connections, first.connections);
}

}  // namespace
}  // namespace load
