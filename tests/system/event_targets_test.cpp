// What an event sets going, with real processes at every target: clients, tasks, app services of the logged-on users.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "machine/device.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/base/text.h"
#include "platform/host/link/machine_link.h"
#include "platform/registry.h"
#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::UnorderedElementsAreArray;
using Texts = std::vector<std::string>;

const std::string kBell = "Quorvex.Bell_m3tq8v0kc2wna";

std::vector<json> ObjectsIn(const std::string& text) {
  std::vector<json> objects;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (json object = json::parse(line, nullptr, false); object.is_object()) objects.push_back(std::move(object));
  }
  return objects;
}

// Three numbers, or texts of them, with blanks between.
std::string Triple(const json& words) {
  std::string text = words.dump();
  std::erase_if(text, [](char c) { return c == '[' || c == ']' || c == '"'; });
  std::replace(text.begin(), text.end(), ',', ' ');
  return text;
}

class EventTargetsTest : public ToolTest {
 protected:
  void SetUp() override {
    host::UseMachineDirectory(Machine());
    Done({"up"});
    Done({"logon", "anna"});
  }
  void TearDown() override { host::MachineLink::Reset(); }

  json Ask(const json& message) {
    json reply;
    EXPECT_EQ(host::MachineLink::Instance().Call(message, &reply), 0u) << message << reply;
    return reply;
  }
  void AwaitCalm() { Ask({{"op", "machine.settle"}, {"timeoutMs", 60'000}}); }

  // Installed for everybody, and plays an app service as `mode` says.
  void Install(const std::string& package, const Texts& mode = {}) {
    Done(Joined({"package", "add", package, "--service", "hello", "--idle", "0"}, mode));
  }
  void Register(const std::string& user, const std::string& package, const Texts& event) {
    const ToolResult result = RunAs({"--user", user}, Joined({"app", "register", package, "hello", "--event"}, event));
    EXPECT_EQ(result.exitCode, 0) << result.output;
  }

  // "session: event data1 data2" of each process of the client mode, in the order of their starts.
  Texts Started() {
    Texts started;
    const json history = Ask({{"op", "process.history"}});
    for (const json& program : history.at("programs")) {
      const json& words = program.at("arguments");
      if (words.size() != 7 || words.at(0) != "-appservice") continue;
      started.push_back(program.at("token").at("session").dump() + ": " +
                        Triple({words.at(2), words.at(4), words.at(6)}) +
                        (program.at("belowNormal") ? ", below normal" : ""));
      EXPECT_EQ(program.value("exitCode", -1), 0) << program;
    }
    return started;
  }
  // The same of each message that an app service has received.
  Texts Received() {
    Texts received;
    for (const json& record : ObjectsIn(Done({"app", "runs", "--json"}))) {
      if (record.at("what") != "received") continue;
      const auto value = [&](const char* name) { return record.at("message").at(name).at("value"); };
      received.push_back(record.at("session").dump() + ": " +
                         Triple({value("hkd04a7event"), value("data1"), value("data2")}));
    }
    return received;
  }
  // The triples of a log's records; of the trace only those of the fan-out. Runs of tasks must have ended well.
  Texts Logged(const Texts& command, const char* member) {
    Texts triples;
    for (const json& record : ObjectsIn(Done(Joined(command, {"--json", "-n", "1000"})))) {
      if (record.value("event", "WriteHkd04a7Event") == "WriteHkd04a7Event")
        triples.push_back(Triple(record.at(member)));
      EXPECT_TRUE(record.value("state", "ended") == "ended" && record.value("exitCode", 0) == 0) << record;
    }
    return triples;
  }
};

TEST_F(EventTargetsTest, OnePressReachesAllFourInTurn) {
  for (const char* user : {"bob", "carl"}) Done({"logon", user, "--remote"});
  Done({"disconnect", "1"});
  Install(kBell);
  for (const char* user : {"anna", "bob", "carl"}) Register(user, kBell, {"3"});
  const Texts add = {"task", "add", "--for", "3", "--view", "both", "--instances", "parallel"};
  Done(Joined(add, {"--", "Listed", "/bin/true"}));
  Done(Joined(add, {"--data1", "4", "--", "Word", "/bin/true"}));
  const auto watch = BeginWatch();
  AwaitStatus("1 wait pending");
  const json road = json::parse(Done({"road", "3", "--json"}));
  Texts stations;
  for (const json& entry : road.at("entries")) {
    const std::string station = entry.at("station"), what = entry.at("what");
    if (road.at("targets").contains(station)) stations.push_back(station + ", " + what);
  }
  EXPECT_THAT(stations, ElementsAre("trace, WriteHkd04a7Event 3 4 0", "RPC, wait answered", "tasks, run Listed 3 4 0",
                                    "tasks, run Word 3 4 0", "tasks, run Listed 3 4 0", "tasks, run Word 3 4 0",
                                    "user, started -appservice -event 3 -data1 4 -data2 0"));
  EXPECT_TRUE(road.at("inOrder"));
  for (const json& time : road.at("targets")) EXPECT_TRUE(time.is_number() && time > 0) << road.at("targets");
  EXPECT_THAT(Started(), ElementsAre("2: 3 4 0")) << "the first active session";
  EXPECT_THAT(Received(), ElementsAre("2: 3 4 0"));
  EXPECT_EQ(Logged({"task", "runs"}, "arguments"), Texts(4, "3 4 0"));
}

TEST_F(EventTargetsTest, ALogonIsToldToItsOwnUserAndHasLessPriorityAsAResumeHas) {
  Install(kBell);
  for (const Texts& event : {Texts{"41", "--data1", "5"}, Texts{"37"}, Texts{"2"}}) Register("anna", kBell, event);
  Done({"logon", "bob", "--remote"});
  Register("bob", kBell, {"41", "--data1", "5"});
  Done({"logoff", "2"});
  AwaitCalm();
  EXPECT_THAT(Started(), ElementsAre()) << "Anna is not told of Bob's logon";
  const std::string session = json::parse(Done({"logon", "bob", "--remote", "--json"})).at("session").dump();
  AwaitCalm();
  for (const Texts& step : {Texts{"suspend"}, Texts{"resume"}, Texts{"press", "2"}}) {
    Done(step);
    AwaitCalm();
  }
  const std::string logon = session + ": 41 5 " + session;
  EXPECT_THAT(Started(), ElementsAre(logon + ", below normal", "1: 37 0 0, below normal", "1: 2 2 0"));
  EXPECT_THAT(Received(), ElementsAre(logon, "1: 37 0 0", "1: 2 2 0"));
}

TEST_F(EventTargetsTest, ASlowAppServiceAndARefusingOneHoldUpNobody) {
  const std::string slow = "Quorvex.Slow_m3tq8v0kc2wna", closed = "Quorvex.Closed_m3tq8v0kc2wna";
  Install(slow, {"--slow", "2000"});
  Install(closed, {"--refuse"});
  Install(kBell);
  for (const std::string& package : {slow, closed, kBell}) Register("anna", package, {"7"});
  Done({"press", "7"});
  AwaitCalm();
  std::map<std::string, std::int64_t> times;
  for (const json& record : ObjectsIn(Done({"app", "runs", "--json"}))) times[record.at("package")] = record.at("wall");
  EXPECT_LT(times.at(kBell) + 500, times.at(slow));
  EXPECT_LT(times.at(closed) + 500, times.at(slow));
  EXPECT_THAT(Started(), ElementsAre("1: 7 64 0"));
}

// A hundred events, each with a registration and a task.
class EventBurstTest : public EventTargetsTest {
 protected:
  void SetUp() override {
    EventTargetsTest::SetUp();
    Install(kBell);
    Done({"task", "add", "--instances", "parallel", "--", "Note", "sh",
          "-c \"echo $(Arg0) $(Arg1) $(Arg2) >> " + Machine() + "/noted\""});
    const std::string sid = Status().at("users").at(0).at("sid");
    const std::string product = "Software\\Quorvex\\HKD04A7\\", events = "Events\\";
    const std::string registrations = product + "Hkd04a7DriverUtilityService\\" + events + "UwpAppService\\";
    for (unsigned eventId = 1; eventId <= 33; ++eventId) {
      const auto set = [&](HKEY root, const std::string& key, const std::string& name) {
        const auto path = host::ToUtf16(key + std::to_string(eventId));
        ASSERT_EQ(RegSetKeyValueW(root, path.c_str(), host::ToUtf16(name).c_str(), REG_SZ, W("hello"), 12), 0);
      };
      set(HKEY_LOCAL_MACHINE, product + events, "Note");
      set(HKEY_USERS, sid + "\\" + registrations, kBell);
    }
  }

  // Presses all switches at once and both buttons in turn, faster than the service follows; answers what comes of it.
  Texts Burst() {
    constexpr std::uint32_t kAll = 0x7FFFFFFF;
    const auto device = machine::Device::Open(Machine() + "/run", nullptr);
    Texts events;
    EXPECT_TRUE(device->PressMask(kAll));
    for (unsigned eventId = 1; eventId <= 31; ++eventId) events.push_back(Triple({eventId, kAll, 0}));
    for (std::uint32_t press = 0; events.size() < 100; ++press) {
      const std::uint32_t word = (press % 2 == 0 ? 0x40000400 : 0x40000300) + press;
      EXPECT_TRUE(device->Button(word));
      events.push_back(Triple({press % 2 == 0 ? 32 : 33, word, 0}));
    }
    return events;
  }

  // What is held and what runs, sorted: the service's descriptors, and every process below the daemon, zombies too.
  Texts Holdings() {
    std::multiset<std::string> holdings = {Status().at("pid").dump()};
    for (std::size_t before = 0; before != holdings.size();) {
      before = holdings.size();
      for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string pid = entry.path().filename();
        const auto stat = host::ReadStatFile(entry.path() / "stat");
        if (stat && holdings.contains(std::to_string(stat->parent)) && !holdings.contains(pid)) holdings.insert(pid);
      }
    }
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(ServicePid()) + "/fd"))
      holdings.insert(std::filesystem::read_symlink(entry.path(), gone));
    return {holdings.begin(), holdings.end()};
  }
};

TEST_F(EventBurstTest, EveryTargetIsHandedEachEventOnceAndInOrder) {
  // What is opened once for good is open after the first event.
  auto watch = BeginWatch({"--count", "1"});
  Done({"press", "1"});
  EXPECT_EQ(watch->Finish().exitCode, 0);
  AwaitCalm();
  const std::string idle = "0 connections, 0 subscriptions";
  AwaitStatus(idle);
  const Texts before = Holdings();

  watch = BeginWatch({"--json", "--count", "100"});
  const Texts events = Burst();
  Texts watched, delivered, noted;
  for (const json& event : ObjectsIn(watch->Finish(std::chrono::seconds(60)).output))
    if (event.contains("event")) watched.push_back(Triple({event.at("event"), event.at("data1"), event.at("data2")}));
  AwaitCalm();
  Texts traced = Logged({"trace"}, "args");
  traced.erase(traced.begin(), std::find(traced.begin(), traced.end(), events[0]));  // the service's start, the press
  EXPECT_EQ(traced, events);
  EXPECT_EQ(watched, events);
  EXPECT_EQ(Logged({"task", "runs"}, "arguments"), Joined({"1 1 0"}, events));
  for (const std::string& event : Joined({"1 1 0"}, events)) delivered.push_back("1: " + event);
  EXPECT_EQ(Started(), delivered);
  EXPECT_THAT(Received(), UnorderedElementsAreArray(delivered));
  std::ifstream lines(Machine() + "/noted");
  for (std::string line; std::getline(lines, line);) noted.push_back(line);
  EXPECT_THAT(noted, UnorderedElementsAreArray(Joined({"1 1 0"}, events)));

  const json status = Status(), &tasks = status.at("tasks");
  EXPECT_TRUE(tasks.at("runsGoing") == 0 && tasks.at("runsWaiting") == 0 && status.at("clientMode").empty() &&
              status.at("device").at("notificationsOutstanding") == 0)
      << status;
  EXPECT_THAT(AwaitStatus(idle), testing::HasSubstr(idle));
  Texts after = Holdings();
  for (int look = 0; look < 500 && after != before; ++look, after = Holdings())
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_THAT(after, testing::IsSubsetOf(before)) << "left over";
}

}  // namespace
}  // namespace tool
