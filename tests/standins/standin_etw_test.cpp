// The event-tracing stand-in's records, as a program leaves them after loading the library.
#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>
#include <vector>

#include "platform/host/base/last_error.h"
#include "tests/standins/loaded_library.h"
#include "tests/standins/machine_folder.h"

namespace {

using Json = nlohmann::json;
using Open = std::uint32_t(std::uint64_t*);
using Close = std::uint32_t(std::uint64_t);
using Write1 = std::uint32_t(std::uint64_t, std::uint32_t);
using Write2 = std::uint32_t(std::uint64_t, std::uint32_t, std::uint32_t);
using Write3 = std::uint32_t(std::uint64_t, std::uint32_t, std::uint32_t, std::uint32_t);

class EtwTest : public testing::Test {
 protected:
  std::uint64_t OpenHandle() {
    std::uint64_t handle = 0;
    EXPECT_NE(library_.Find<Open>("HKD04A7ETW_Open")(&handle), 0u);
    EXPECT_NE(handle, 0u);
    return handle;
  }

  template <typename Function>
  Function* Writer(const std::string& event) const {
    return library_.Find<Function>(("HKD04A7ETW_" + event).c_str());
  }

  // Each line of the trace file; one that is no JSON object is a failure.
  std::vector<Json> Records() const {
    std::ifstream file(folder_.Runtime() + "/trace.log");
    std::vector<Json> records;
    for (std::string line; std::getline(file, line);) {
      records.push_back(Json::parse(line, nullptr, false));
      EXPECT_TRUE(records.back().is_object()) << line;
    }
    return records;
  }

  MachineFolder folder_;
  LoadedLibrary library_{"hkd04a7-utility-etw.dll"};
};

TEST_F(EtwTest, EachWriterLeavesItsRecord) {
  const std::uint64_t handle = OpenHandle();
  const struct {
    const char* event;
    const char* name;
  } one[] = {
      {"WriteApplicationSwitchControlEvent", "eventId"},
      {"WriteApplicationSwitchControlWakeupEvent", "switchWake"},
      {"WriteIROpeOneButtonControlEvent", "button"},
      {"WriteIROpeOneButtonControlWakeupEvent", "buttonWake"},
      {"WriteInterruptAccelerationSensorEvent", "sensor"},
      {"WriteEmergencyNotificationEvent", "notification"},
      {"WriteWindowsPowerEvent", "power"},
  };
  std::vector<Json> expected;
  for (const auto& writer : one) {
    EXPECT_NE(Writer<Write1>(writer.event)(handle, 0xFFFFFFFF), 0u);
    expected.push_back({{"event", writer.event}, {"names", {writer.name}}, {"args", {0xFFFFFFFF}}});
  }
  EXPECT_NE(Writer<Write2>("WritePhonePCDataControlEvent")(handle, 1, 2), 0u);
  expected.push_back({{"event", "WritePhonePCDataControlEvent"}, {"names", {"bit", "value"}}, {"args", {1, 2}}});
  EXPECT_NE(Writer<Write2>("WriteInterruptECEvent")(handle, 3, 4), 0u);
  expected.push_back({{"event", "WriteInterruptECEvent"}, {"names", {"kind", "value"}}, {"args", {3, 4}}});
  EXPECT_NE(Writer<Write3>("WriteHkd04a7Event")(handle, 1, 5, 0), 0u);
  expected.push_back({{"event", "WriteHkd04a7Event"}, {"names", {"eventId", "data1", "data2"}}, {"args", {1, 5, 0}}});

  std::vector<Json> records = Records();
  ASSERT_EQ(records.size(), expected.size());
  std::int64_t last = 0;
  for (std::size_t n = 0; n < records.size(); ++n) {
    EXPECT_EQ(records[n].value("pid", 0), getpid());
    EXPECT_GT(records[n].value("wall", std::int64_t{0}), 1'500'000'000'000);
    const std::int64_t time = records[n].value("t", std::int64_t{0});
    EXPECT_GE(time, std::max<std::int64_t>(last, 1));
    last = time;
    for (const char* key : {"t", "wall", "pid"}) records[n].erase(key);
    EXPECT_EQ(records[n], expected[n]);
  }
}

TEST_F(EtwTest, AHandleThatIsNotOpenIsRefused) {
  const std::uint64_t handle = OpenHandle();
  EXPECT_NE(OpenHandle(), handle);
  auto* close = library_.Find<Close>("HKD04A7ETW_Close");
  EXPECT_NE(close(handle), 0u);
  for (const std::uint64_t wrong : {handle, std::uint64_t{0}, std::uint64_t{1}}) {
    SetLastError(0);
    EXPECT_EQ(Writer<Write1>("WriteWindowsPowerEvent")(wrong, 0), 0u);
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_EQ(close(wrong), 0u);
  }
  EXPECT_TRUE(Records().empty());
}

TEST_F(EtwTest, RecordsOfSeveralThreadsDoNotMix) {
  constexpr std::uint32_t kRecords = 200;
  const std::uint64_t handle = OpenHandle();
  auto* write = Writer<Write3>("WriteHkd04a7Event");
  {
    std::vector<std::jthread> threads;
    for (std::uint32_t thread = 0; thread < 4; ++thread) {
      threads.emplace_back([=] {
        for (std::uint32_t n = 0; n < kRecords; ++n) write(handle, thread, n, 0);
      });
    }
  }
  std::set<std::pair<int, int>> seen;
  for (const Json& record : Records()) seen.emplace(record.at("args").at(0), record.at("args").at(1));
  EXPECT_EQ(seen.size(), 4 * kRecords);
}

TEST_F(EtwTest, WithoutAMachinesFolderItDoesNotOpen) {
  std::filesystem::remove_all(folder_.Runtime());
  std::uint64_t handle = 0;
  EXPECT_EQ(library_.Find<Open>("HKD04A7ETW_Open")(&handle), 0u);
  EXPECT_EQ(GetLastError(), 2u);
  EXPECT_EQ(handle, 0u);
}

TEST(EtwVariant, OpenFailsOrIsMissing) {
  const LoadedLibrary fails("variants/etw-open-fails/hkd04a7-utility-etw.dll");
  std::uint64_t handle = 0;
  EXPECT_EQ(fails.Find<Open>("HKD04A7ETW_Open")(&handle), 0u);
  EXPECT_EQ(handle, 0u);
  const LoadedLibrary lacks("variants/etw-lacks-open/hkd04a7-utility-etw.dll");
  EXPECT_EQ(lacks.Find<void>("HKD04A7ETW_Open"), nullptr);
  EXPECT_NE(lacks.Find<Close>("HKD04A7ETW_Close"), nullptr);
}

}  // namespace
