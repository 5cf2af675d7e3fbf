// Power events and session changes: what reaches the worker, and what the wake-up record says afterwards.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/services.h"
#include "rpc/wakeup_check_event.h"
#include "rpc/wakeup_record.h"
#include "tests/support/registry_values.h"
#include "tests/support/service_process.h"
#include "tests/support/trace_records.h"

using namespace support;
using Quorvex::PC::Hkd04a7::Service::IsWakeupCheckCompleted;

namespace {

class Controls : public testing::Test {
 protected:
  void SetUp() override { service.StartAndSettle(); }

  unsigned Power(unsigned eventType) { return service.Control(SERVICE_CONTROL_POWEREVENT, eventType); }
  unsigned Session(unsigned eventType, unsigned session) {
    return service.Control(SERVICE_CONTROL_SESSIONCHANGE, eventType, session);
  }
  void SuspendAndResume() {
    const std::size_t polls = service.Polls();
    Power(PBT_APMSUSPEND);
    Power(PBT_APMRESUMEAUTOMATIC);
    service.AwaitPolls(polls + 1);
  }
  static std::size_t Resumes() {
    const auto records = TraceRecords();
    return static_cast<std::size_t>(std::count(records.begin(), records.end(), "WriteHkd04a7Event(37, 0, 0)"));
  }
  static DWORD Record(const WCHAR* name) { return Number(kWakeupKey, name).value_or(0xDEAD); }

  ServiceProcess service;
};

TEST_F(Controls, OneResumeIsOneWakeCheckHoweverItIsTold) {
  EXPECT_EQ(Resumes(), 1u) << "the start's own";
  EXPECT_EQ(Power(PBT_APMRESUMESUSPEND), 0u);
  EXPECT_EQ(Resumes(), 1u) << "no suspend has been seen";

  std::vector<unsigned> kinds = {PBT_APMRESUMECRITICAL, PBT_APMRESUMESUSPEND, PBT_APMRESUMEAUTOMATIC};
  std::size_t expected = 1;
  for (unsigned subset = 1; subset < 8; ++subset) {
    std::vector<unsigned> told;
    for (unsigned bit = 0; bit < 3; ++bit) {
      if (subset >> bit & 1u) told.push_back(kinds[bit]);
    }
    std::sort(told.begin(), told.end());
    do {
      const std::size_t polls = service.Polls();
      EXPECT_EQ(Power(PBT_APMSUSPEND), 0u);
      EXPECT_FALSE(IsWakeupCheckCompleted());
      for (const unsigned kind : told) EXPECT_EQ(Power(kind), 0u);
      service.AwaitPolls(polls + 1);
      service.Poll();  // whatever else was posted is behind us then
      EXPECT_TRUE(IsWakeupCheckCompleted());
      EXPECT_EQ(Resumes(), ++expected);
    } while (std::next_permutation(told.begin(), told.end()));
  }
}

TEST_F(Controls, RecordsWhatWokeTheMachine) {
  const struct {
    std::uint32_t switchWord, buttonWord;
    DWORD switchInfo, oneTouch, irOpe;
  } cases[] = {
      {0, 0x40000401, 0, 0x40000401, 0}, {0, 0x40000312, 0, 0, 0x40000312},
      {0x00000004, 0, 4, 0, 0},          {0, 0x00000401, 0, 0, 0},  // bit 30 clear: asked of the device, not recorded
      {0x80000004, 0x80000401, 0, 0, 0},                            // answers that do not count
      {0, 0x40000500, 0, 0, 0},
  };
  DWORD counter = Record(W("WrittenWakeupHistoryCounter"));
  EXPECT_EQ(counter, 0u) << "the first write since the machine started";
  for (const auto& entry : cases) {
    service.Device().SetWake(entry.switchWord, entry.buttonWord);
    SuspendAndResume();
    EXPECT_EQ(Record(W("WakeupSwitchInfo")), entry.switchInfo);
    EXPECT_EQ(Record(W("WakeupOnetouchButtonInfo")), entry.oneTouch);
    EXPECT_EQ(Record(W("WakeupIrOpeButtonInfo")), entry.irOpe);
    EXPECT_EQ(Record(W("WrittenWakeupEvent")), 1u);
    EXPECT_EQ(Record(W("WrittenWakeupSwitchEvent")), 1u);
    counter += 2;  // the suspend's reset and the wake check
    EXPECT_EQ(Record(W("WrittenWakeupHistoryCounter")), counter);
  }
  EXPECT_THAT(TraceRecords(), testing::IsSupersetOf({"WriteIROpeOneButtonControlWakeupEvent(1073742849)",
                                                     "WriteIROpeOneButtonControlWakeupEvent(1073742610)",
                                                     "WriteApplicationSwitchControlWakeupEvent(4)"}));
}

TEST_F(Controls, WritesNoSwitchRecordForASwitchThatDidNotWake) {
  EXPECT_EQ(Record(W("WrittenWakeupSwitchEvent")), 0xDEADu) << "the start's check found 0";
  EXPECT_EQ(Record(W("WrittenWakeupEvent")), 1u);
}

TEST_F(Controls, CounterWrapsAndNegativeSwitchWordsAreStoredAsZero) {
  SetNumber(kWakeupKey, W("WrittenWakeupHistoryCounter"), 0xFFFFFFFF);
  Quorvex::PC::Hkd04a7::Service::WriteWakeupButtonRecord(0);
  EXPECT_EQ(Record(W("WrittenWakeupHistoryCounter")), 0u);
  Quorvex::PC::Hkd04a7::Service::WriteWakeupSwitchRecord(7);
  EXPECT_EQ(Record(W("WakeupSwitchInfo")), 7u);
  Quorvex::PC::Hkd04a7::Service::WriteWakeupSwitchRecord(-5);
  EXPECT_EQ(Record(W("WakeupSwitchInfo")), 0u);
}

TEST_F(Controls, SessionChangesBecomeEventsAndSomeClearTheRecord) {
  service.Device().SetWake(4, 0x40000401);
  const struct {
    unsigned eventType;
    bool clears;
  } cases[] = {{WTS_SESSION_LOGON, false},     {WTS_SESSION_LOGOFF, true}, {WTS_CONSOLE_CONNECT, false},
               {WTS_CONSOLE_DISCONNECT, true}, {WTS_SESSION_LOCK, false},  {99, false}};
  for (const auto& entry : cases) {
    SuspendAndResume();
    ASSERT_EQ(Record(W("WakeupSwitchInfo")), 4u);
    EXPECT_EQ(Session(entry.eventType, 7), 0u);
    EXPECT_EQ(Record(W("WakeupSwitchInfo")), entry.clears ? 0u : 4u) << entry.eventType;
    EXPECT_EQ(Record(W("WakeupOnetouchButtonInfo")), entry.clears ? 0u : 0x40000401u) << entry.eventType;
    EXPECT_TRUE(IsWakeupCheckCompleted());
    service.Poll();
    EXPECT_EQ(TraceRecords().back(), "WriteHkd04a7Event(41, " + std::to_string(entry.eventType) + ", 7)");
  }
}

TEST_F(Controls, AnswersTheManagerAtOnce) {
  const std::size_t reports = service.ReportedStates().size();
  EXPECT_EQ(service.Control(SERVICE_CONTROL_INTERROGATE), 0u);
  EXPECT_EQ(service.ReportedStates().size(), reports + 1);
  EXPECT_EQ(Power(10), 0u) << "a power event of no interest";
  EXPECT_EQ(service.Control(200), static_cast<unsigned>(ERROR_CALL_NOT_IMPLEMENTED));
}

// The check that a suspend overtakes still marks itself as done: the record is then the one of the suspend.
TEST_F(Controls, SuspendDuringAWakeCheckIsForgottenByTheCheck) {
  service.Device().SetWake(0, 0x40000401);
  Power(PBT_APMSUSPEND);
  host::AtCall("SetEvent", [this] {
    host::ClearFaults();
    Power(PBT_APMSUSPEND);
  });
  const std::size_t polls = service.Polls();
  Power(PBT_APMRESUMEAUTOMATIC);
  service.AwaitPolls(polls + 1);
  EXPECT_TRUE(IsWakeupCheckCompleted());
  EXPECT_EQ(Record(W("WakeupOnetouchButtonInfo")), 0u);
}

}  // namespace
