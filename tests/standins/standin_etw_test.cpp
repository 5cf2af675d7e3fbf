// The event-tracing stand-in's records, as a program leaves them after loading the library.
#include <fstream>
#include <regex>
#include <set>
#include <thread>
#include <vector>

#include "platform/host/base/last_error.h"
#include "tests/standins/loaded_library.h"
#include "tests/standins/machine_folder.h"

namespace {

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

  std::vector<std::string> Records() const {
    std::ifstream file(folder_.Runtime() + "/trace.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
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
  std::vector<std::string> expected;
  for (const auto& writer : one) {
    EXPECT_NE(Writer<Write1>(writer.event)(handle, 0xFFFFFFFF), 0u);
    expected.push_back(std::string("\"event\":\"") + writer.event + "\",\"names\":[\"" + writer.name +
                       "\"],\"args\":[4294967295]}");
  }
  EXPECT_NE(Writer<Write2>("WritePhonePCDataControlEvent")(handle, 1, 2), 0u);
  expected.emplace_back(R"("event":"WritePhonePCDataControlEvent","names":["bit","value"],"args":[1,2]})");
  EXPECT_NE(Writer<Write2>("WriteInterruptECEvent")(handle, 3, 4), 0u);
  expected.emplace_back(R"("event":"WriteInterruptECEvent","names":["kind","value"],"args":[3,4]})");
  EXPECT_NE(Writer<Write3>("WriteHkd04a7Event")(handle, 1, 5, 0), 0u);
  expected.emplace_back(R"("event":"WriteHkd04a7Event","names":["eventId","data1","data2"],"args":[1,5,0]})");

  const std::vector<std::string> records = Records();
  ASSERT_EQ(records.size(), expected.size());
  const std::regex head(R"(\{"t":[1-9][0-9]+,"wall":[1-9][0-9]+,"pid":)" + std::to_string(getpid()) + ",");
  for (std::size_t n = 0; n < records.size(); ++n) {
    const std::size_t event = records[n].find("\"event\"");
    ASSERT_NE(event, std::string::npos) << records[n];
    EXPECT_TRUE(std::regex_match(records[n].substr(0, event), head)) << records[n];
    EXPECT_EQ(records[n].substr(event), expected[n]);
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
  const std::regex form(R"re(\{"t":\d+,"wall":\d+,"pid":\d+,"event":"WriteHkd04a7Event","names":\["eventId","data1",)re"
                        R"re("data2"\],"args":\[(\d+,\d+),0\]\})re");
  std::set<std::string> seen;
  for (const std::string& record : Records()) {
    std::smatch match;
    ASSERT_TRUE(std::regex_match(record, match, form)) << record;
    seen.insert(match[1]);
  }
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
