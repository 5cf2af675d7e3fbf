// The fan-out by itself: which identifiers pass, the order of the targets, and one target's failure beside the next.
#include "device/event_notify.h"

#include <new>

#include "platform/com.h"
#include "platform/host/base/fault_injection.h"
#include "rpc/event_notify_list.h"
#include "tests/support/registry_values.h"
#include "tests/support/trace_records.h"
#include "tests/support/user_sessions.h"

using namespace Quorvex::PC::Hkd04a7;
using support::TraceRecords;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NotifyEventTest : public support::UserSessions {
 protected:
  NotifyEventTest() {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    context = std::make_unique<Service::CServiceContext>();
    EXPECT_TRUE(context->trace.IsOpen() && context->taskService);
    host::SetExecutablePath(u"/bin/true");
  }
  ~NotifyEventTest() override {
    context.reset();
    CoUninitialize();
  }

  std::unique_ptr<Service::CServiceContext> context;
};

TEST_F(NotifyEventTest, TracesAndLogsByIdentifier) {
  for (const std::uint32_t eventId : {43u, 0xFFFFFFFFu}) NotifyEvent(*context, eventId, 1, 2);
  EXPECT_THAT(log.Take(), IsEmpty());
  NotifyEvent(*context, 0, 1, 2);
  EXPECT_THAT(log.Take(), ElementsAre("hkd04a7 - rpcserver - notify\n",
                                      "hkd04a7 - uwpassist notify enter (0, 00000001h, 00000002h)\n",
                                      "hkd04a7, not need notify\n"));
  EXPECT_THAT(TraceRecords(), IsEmpty());
  NotifyEvent(*context, 42, 0xFFFFFFFF, 2);
  EXPECT_EQ(log.Take().size(), 3u);
  EXPECT_THAT(TraceRecords(), ElementsAre("WriteHkd04a7Event(42, 4294967295, 2)"));
}

TEST_F(NotifyEventTest, HandsTheEventToEachTargetInTurnWhateverBecomesOfTheOthers) {
  const auto subscription = std::make_shared<Service::CRpcEventNotify>();
  Service::AddToRpcEventNotifyList(subscription);
  ASSERT_EQ(machine.Call("task.add", {{"path", "T"}, {"program", "/bin/true"}}), 0u);
  support::SetNumber(W("Software\\Quorvex\\HKD04A7\\Events\\38"), W("T"), 0);
  Register(adaSid, "38");
  // What each target does, in the order of doing.
  std::vector<std::string> steps;
  const auto note = [&](const std::string& step) {
    for (const std::string& line : log.Take()) {
      if (line.find("-core 2") != line.npos) steps.push_back("queued");
      if (line.find("out of memory") != line.npos) steps.push_back(line);
    }
    steps.push_back(step);
  };
  host::AtCall("SafeArrayCopy", [&] { note("task, " + std::to_string(TraceRecords().size()) + " traced"); });
  host::AtCall("CreateProcessAsUserW", [&] { note("process"); });
  NotifyEvent(*context, 38, 1, 2);
  EXPECT_THAT(std::exchange(steps, {}), ElementsAre("queued", "task, 1 traced", "process"));

  host::FailCall("SafeArrayCreate", 1, 14);
  NotifyEvent(*context, 38, 1, 2);
  const std::string event = " - notify failed, out of memory (38, 00000001h, 00000002h)\n";
  EXPECT_THAT(std::exchange(steps, {}), ElementsAre("queued", "hkd04a7 - scheduled tasks" + event, "process"));

  host::AtCall("RegQueryInfoKeyW", [] { throw std::bad_alloc(); });
  NotifyEvent(*context, 38, 1, 2);
  note("end");
  EXPECT_THAT(steps, ElementsAre("queued", "task, 3 traced", "hkd04a7 - uwpassist" + event, "end"));
  Service::RemoveFromRpcEventNotifyList(subscription.get());
}

}  // namespace
