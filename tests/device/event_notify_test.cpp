// The fan-out by itself: which identifiers pass, and one target's failure beside the next.
#include "device/event_notify.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/debug_log.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_machine.h"
#include "tests/support/trace_records.h"

using namespace support;
using namespace Quorvex::PC::Hkd04a7;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(NotifyEvent, TracesAndLogsByIdentifier) {
  TestMachine machine;
  LogCapture log;
  g_enableLog = true;
  Service::CServiceContext context;
  ASSERT_TRUE(context.trace.IsOpen());
  for (const std::uint32_t eventId : {43u, 0xFFFFFFFFu}) NotifyEvent(context, eventId, 1, 2);
  EXPECT_THAT(log.Take(), IsEmpty());
  EXPECT_THAT(TraceRecords(), IsEmpty());
  NotifyEvent(context, 0, 1, 2);
  EXPECT_THAT(log.Take(), ElementsAre("hkd04a7 - rpcserver - notify\n"));
  EXPECT_THAT(TraceRecords(), IsEmpty());
  NotifyEvent(context, 42, 0xFFFFFFFF, 2);
  EXPECT_THAT(log.Take(), ElementsAre("hkd04a7 - rpcserver - notify\n"));
  EXPECT_THAT(TraceRecords(), ElementsAre("WriteHkd04a7Event(42, 4294967295, 2)"));
}

}  // namespace
