// The tasks listed for an event: which of them are run, in which order, and with what.
#include "tasks/scheduled_task.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/com.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/process_token.h"
#include "tasks/automation_failure.h"
#include "tests/support/registry_values.h"
#include "tests/support/test_machine.h"

using namespace Quorvex::PC::Hkd04a7;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const WideString kEvents = W("Software\\Quorvex\\HKD04A7\\Events\\");

class ScheduledTask : public testing::Test {
 protected:
  ScheduledTask() {
    host::SetOwnToken(host::SystemToken());
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    host::AtCall("CoCreateInstance", [this] { ++connections; });
    for (const char* task : {"A", "B", "C", "Folder\\D"}) AddTask(task);
  }
  ~ScheduledTask() override {
    taskService.Reset();
    CoUninitialize();
  }
  void AddTask(const std::string& path) {
    const nlohmann::json task = {{"path", path}, {"program", "/bin/true"}, {"instances", "parallel"}};
    ASSERT_EQ(machine.Call("task.add", task), 0u) << path;
  }
  static void List(const WideString& key, std::initializer_list<WideString> tasks, REGSAM view = 0) {
    for (const auto& task : tasks) support::SetNumber((kEvents + key).c_str(), task.c_str(), 0, view);
  }
  // "task: parameters" of each run that the event asks for.
  std::vector<std::string> RunsOf(std::uint32_t eventId, std::uint32_t data1) {
    NotifyEventByScheduledTask(taskService, eventId, data1, 0);
    nlohmann::json reply;
    EXPECT_EQ(machine.Call("task.runs", {}, &reply), 0u);
    std::vector<std::string> runs;
    for (; taken_ < reply.at("runs").size(); ++taken_) {
      const auto& run = reply.at("runs")[taken_];
      runs.push_back(run.at("task").get<std::string>() + ": " + run.at("arguments").dump());
    }
    return runs;
  }
  std::vector<std::string> RunsOf32() { return RunsOf(32, 0x40000000); }
  static std::string With32(const std::string& task) { return task + R"(: ["32","1073741824","0"])"; }

  support::TestMachine machine;
  TaskServicePointer taskService;
  int connections = 0;

 private:
  std::size_t taken_ = 0;
};

TEST_F(ScheduledTask, RunsEachListingInBothViews) {
  List(W("0"), {W("A")});
  EXPECT_THAT(RunsOf(0, 0), IsEmpty());
  List(W("32"), {W("B")}, KEY_WOW64_32KEY);
  List(W("32\\1073741824"), {W("Folder\\D")}, KEY_WOW64_32KEY);
  List(W("32\\1073741824"), {W("A")});
  List(W("32"), {W("A")});
  support::SetText((kEvents + W("32")).c_str(), W("b"), W("the data does not matter"));
  EXPECT_THAT(RunsOf32(), ElementsAre(With32("A"), With32("B"), With32("A"), With32("B"), With32("Folder\\D")));
  const std::string largest = R"(: ["32","4294967295","0"])";
  EXPECT_THAT(RunsOf(32, 4294967295), ElementsAre("A" + largest, "B" + largest, "B" + largest));
  EXPECT_THAT(RunsOf(33, 0x40000000), IsEmpty());
  EXPECT_EQ(connections, 1) << "one connection serves all";
}

TEST_F(ScheduledTask, PassesNamesOnAndGoesOnBehindAMissingTask) {
  const std::string longest(199, 'l');
  AddTask(longest);
  List(W("32"), {W("A"), WideString(200, 'k'), WideString(199, 'l'), W("Missing"), W("c")});
  EXPECT_THAT(RunsOf32(), ElementsAre(With32("A"), With32(longest), With32("C")));
  EXPECT_EQ(connections, 2) << "one for the event, one for the missing task; none for a name that is too long";
  List(W("32"), {W("")});
  EXPECT_EQ(RunsOf32().size(), 3u);
  EXPECT_EQ(connections, 4) << "the default value is an empty name";
  host::AtCall("CoCreateInstance", [this] {
    if (connections == 5) AddTask("Missing");
  });
  EXPECT_THAT(RunsOf32(), testing::Contains(With32("Missing"))) << "it is there at the second attempt";
}

TEST_F(ScheduledTask, ConnectsAnewAfterTheSchedulerWasAway) {
  List(W("32"), {W("A"), W("B")});
  for (const bool running : {false, true, false, true}) {
    ASSERT_EQ(machine.Call("task.service", {{"running", running}}), 0u);
    EXPECT_EQ(RunsOf32().size(), running ? 2u : 0u);
    EXPECT_EQ(!taskService, connections == 1) << "a failed connection leaves the old one";
  }
}

TEST_F(ScheduledTask, PassesOverWhatCannotBeReadAndRaisesAllocationFailures) {
  List(W("32"), {W("A"), W("B"), W("C")});
  host::FailCall("RegEnumValueW", 2, ERROR_ACCESS_DENIED);
  EXPECT_THAT(RunsOf32(), ElementsAre(With32("A"), With32("C")));
  host::FailEveryCall("RegEnumValueW", ERROR_KEY_DELETED);
  EXPECT_THAT(RunsOf32(), IsEmpty()) << "a list that is gone has no end of its own";
  for (const char* function : {"SysAllocString", "SafeArrayCreate", "SafeArrayLock", "SafeArrayCopy"}) {
    for (unsigned nth = 1; nth <= (function == std::string("SysAllocString") ? 6 : 1); ++nth) {
      host::ClearFaults();
      host::FailCall(function, nth, static_cast<DWORD>(E_OUTOFMEMORY));
      EXPECT_THROW(NotifyEventByScheduledTask(taskService, 32, 1, 2), AutomationFailure) << function << nth;
    }
  }
  EXPECT_EQ(RunScheduledTask(taskService.Get(), nullptr, MakeTaskParameters(1, 2, 3)), E_INVALIDARG);
}

}  // namespace
