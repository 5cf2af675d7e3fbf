// The control manager over real service processes.
#include <gmock/gmock.h>
#include <signal.h>

#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr unsigned kStopped = 1;
constexpr unsigned kRunning = 4;

class ServiceManagerTest : public MachineTest {
 protected:
  void SetUp() override {
    Start();
    CreateDummy();
  }

  unsigned ControlDummy(unsigned control, unsigned eventType, unsigned session, json* reply) {
    *reply = Ask("service.control",
                 {{"name", "Dummy"}, {"control", control}, {"eventType", eventType}, {"session", session}});
    return reply->value("error", 0u);
  }
};

TEST_F(ServiceManagerTest, StartsAndStops) {
  const json started = Ask("service.start", {{"name", "dummy"}});
  EXPECT_EQ(started.at("state"), kRunning);
  const auto pid = started.at("pid").get<pid_t>();
  EXPECT_EQ(kill(pid, 0), 0);
  EXPECT_EQ(StartDummy(), 1056u);

  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}}), 0u);
  EXPECT_TRUE(Eventually([&] { return Query().at("pid") == 0; }));
  EXPECT_NE(kill(pid, 0), 0) << "its keeper has looked after it";
  EXPECT_EQ(Query().at("win32ExitCode"), 0);
  // What the process does and what its keeper tells of it come by different ways.
  std::vector<std::string> history = History();
  EXPECT_THAT(history, UnorderedElementsAre("start", "process-started", "dispatched", "2", "4", "3", "control", "1",
                                            "process-ended"));
  std::erase_if(history, [](const std::string& kind) { return kind.size() > 1; });
  EXPECT_THAT(history, ElementsAre("2", "4", "3", "1"));
  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}}), 1062u);
}

TEST_F(ServiceManagerTest, TimesOfTheHistoryDoNotGoBack) {
  EXPECT_EQ(StartDummy(), 0u);
  std::int64_t last = 0;
  const json reply = Ask("service.history", {{"name", "Dummy"}});
  for (const json& entry : reply.at("history")) {
    EXPECT_GE(entry.at("t").get<std::int64_t>(), last);
    last = entry.at("t").get<std::int64_t>();
  }
  EXPECT_GT(last, 0);
}

TEST_F(ServiceManagerTest, ControlsAreAnsweredByTheHandlerWhenAccepted) {
  ASSERT_EQ(StartDummy(), 0u);
  struct Case {
    unsigned control, eventType, session, error, result;
  };
  const Case cases[] = {
      {4, 0, 0, 0, 0},      // interrogate is always sent
      {13, 4, 0, 0, 104},   // power event
      {14, 5, 3, 0, 203},   // session change carries its session
      {200, 0, 0, 0, 120},  // a code of the service's own
      {2, 0, 0, 1052, 0},   // pause is not accepted
      {5, 0, 0, 1052, 0},   // nor is shutdown
      {77, 0, 0, 1052, 0},  // no such control
  };
  for (const Case& c : cases) {
    json reply;
    EXPECT_EQ(ControlDummy(c.control, c.eventType, c.session, &reply), c.error) << c.control;
    if (c.error == 0) {
      EXPECT_EQ(reply.at("result"), c.result) << c.control;
    }
  }
}

TEST_F(ServiceManagerTest, PowerAndSessionNoticesReachTheService) {
  ASSERT_EQ(StartDummy(), 0u);
  const auto results = [](const json& reply) {
    std::vector<unsigned> list;
    for (const json& entry : reply.at("delivered")) list.push_back(entry.at("result").get<unsigned>());
    return list;
  };
  EXPECT_THAT(results(Ask("power.suspend")), ElementsAre(104u));
  EXPECT_THAT(results(Ask("power.resume")), ElementsAre(118u, 107u));
  EXPECT_THAT(results(Ask("power.resume", {{"notifications", {6, 7, 18}}})), ElementsAre(106u, 107u, 118u));
  EXPECT_THAT(results(Ask("power.resume", {{"notifications", json::array()}})), ElementsAre());
  EXPECT_EQ(Code("power.resume", {{"notifications", {4}}}), 87u);
  EXPECT_THAT(results(Ask("session.logon", {{"user", "Ada"}})), ElementsAre(201u));
  EXPECT_THAT(results(Ask("session.logoff")), ElementsAre(201u));
}

TEST_F(ServiceManagerTest, AProcessThatEndsWithoutStoppingIsShown) {
  EXPECT_EQ(StartDummy(), 0u);
  ASSERT_EQ(kill(Query().at("pid").get<pid_t>(), SIGKILL), 0);
  EXPECT_TRUE(Eventually([&] { return StateOfDummy() == kStopped; }));
  const json query = Query();
  EXPECT_TRUE(query.at("endedUnexpectedly").get<bool>());
  EXPECT_EQ(query.at("win32ExitCode"), 1067);
  EXPECT_EQ(query.at("lastError"), "ended unexpectedly: killed by signal 9 (Killed)");
  EXPECT_EQ(StartDummy(), 0u) << "it can be started again";
  EXPECT_FALSE(Query().at("endedUnexpectedly").get<bool>());
}

TEST_F(ServiceManagerTest, AServiceThatEndsAtOnceGivesItsExitStatus) {
  EXPECT_EQ(StartDummy("end"), 0u) << "it reported that it runs before it ended";
  EXPECT_TRUE(Eventually([&] { return StateOfDummy() == kStopped; }));
  EXPECT_EQ(Query().at("lastError"), "ended unexpectedly: exit status 3");
}

TEST_F(ServiceManagerTest, AServiceThatRefusesToStartGivesItsCodes) {
  const json answer = Ask("service.start", {{"name", "Dummy"}, {"arguments", {"refuse"}}});
  EXPECT_EQ(answer.at("error"), 1066);
  EXPECT_EQ(Query().at("serviceSpecificExitCode"), 77);
  EXPECT_FALSE(Query().at("endedUnexpectedly").get<bool>());
}

TEST_F(ServiceManagerTest, AReportAfterStoppedIsAnError) {
  EXPECT_EQ(StartDummy("late"), 0u);
  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}}), 0u);
  EXPECT_TRUE(Eventually([&] { return Query().at("lastError") == "a status was reported after STOPPED"; }));
  EXPECT_EQ(StateOfDummy(), kStopped);
}

TEST_F(ServiceManagerTest, AServiceThatDoesNotStopTimesOut) {
  EXPECT_EQ(StartDummy("hang"), 0u);
  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}, {"timeoutMs", 200}}), 1053u);
  json reply;
  EXPECT_EQ(ControlDummy(4, 0, 0, &reply), 1061u) << "nothing is sent to a service that is stopping";
}

TEST_F(ServiceManagerTest, ProgramsThatCannotServe) {
  struct Case {
    const char* program;
    unsigned error;
  };
  const std::string noProgram = folder_.path() + "/nothing";
  const Case cases[] = {{noProgram.c_str(), 2}, {folder_.path().c_str(), 5}, {"/bin/true", 1067}};
  for (const Case& c : cases) {
    ASSERT_EQ(Code("service.config", {{"name", "Dummy"}, {"program", c.program}}), 0u);
    EXPECT_EQ(StartDummy(), c.error) << c.program;
    EXPECT_EQ(StateOfDummy(), kStopped);
  }
}

TEST_F(ServiceManagerTest, ConfigurationIsCheckedAndKept) {
  EXPECT_EQ(Code("service.create", {{"name", "DUMMY"}, {"program", "/bin/true"}}), 1073u);
  EXPECT_EQ(Code("service.create", {{"name", ""}, {"program", "/bin/true"}}), 87u);
  EXPECT_EQ(Code("service.create", {{"name", "Other"}}), 87u);
  EXPECT_EQ(Code("service.config", {{"name", "Dummy"}, {"startType", 9}}), 87u);
  EXPECT_EQ(Code("service.config", {{"name", "Dummy"}, {"startType", "two"}}), 87u);
  EXPECT_EQ(Code("service.config", {{"name", "Dummy"}, {"startType", 4}}), 0u);
  EXPECT_EQ(StartDummy(), 1058u);
  Stop();
  Start();
  EXPECT_EQ(Query().at("startType"), 4);
  EXPECT_EQ(Code("service.delete", {{"name", "Dummy"}}), 0u);
  EXPECT_EQ(Code("service.query", {{"name", "Dummy"}}), 1060u);
}

TEST_F(ServiceManagerTest, ADeletedServiceStaysUntilItStops) {
  ASSERT_EQ(StartDummy(), 0u);
  EXPECT_EQ(Code("service.delete", {{"name", "Dummy"}}), 0u);
  EXPECT_EQ(Code("service.create", {{"name", "Dummy"}, {"program", "/bin/true"}}), 1072u);
  EXPECT_EQ(Code("service.config", {{"name", "Dummy"}, {"startType", 4}}), 1072u);
  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}}), 0u);
  EXPECT_TRUE(Eventually([] { return Code("service.query", {{"name", "Dummy"}}) == 1060u; }));
}

TEST_F(ServiceManagerTest, AnAutomaticServiceStartsAtBootAndADemandOneDoesNot) {
  ASSERT_EQ(Code("service.config", {{"name", "Dummy"}, {"startType", 2}}), 0u);
  ASSERT_EQ(Code("service.create", {{"name", "Other"}, {"program", ProgramBeside("machine-dummy-service")}}), 0u);
  ASSERT_EQ(Code("service.start", {{"name", "Other"}}), 0u);
  const auto before = Ask("service.query", {{"name", "Other"}}).at("pid").get<pid_t>();
  EXPECT_EQ(Code("machine.reboot"), 0u);
  EXPECT_NE(kill(before, 0), 0);
  EXPECT_TRUE(Eventually([&] { return StateOfDummy() == kRunning; }));
  const json other = Ask("service.query", {{"name", "Other"}});
  EXPECT_EQ(other.at("state"), kStopped);
  EXPECT_FALSE(other.at("endedUnexpectedly").get<bool>()) << "a shutdown is expected";
  Stop();
  Start();
  EXPECT_TRUE(Eventually([&] { return StateOfDummy() == kRunning; }));
  EXPECT_EQ(Ask("machine.status").at("processes").size(), 1u);
}

TEST_F(ServiceManagerTest, ARestartWaitsForTheProcessBefore) {
  for (int round = 0; round < 5; ++round) {
    ASSERT_EQ(StartDummy(), 0u);
    ASSERT_EQ(Code("service.stop", {{"name", "Dummy"}}), 0u);
  }
  ASSERT_EQ(StartDummy(), 0u);
  EXPECT_EQ(Ask("machine.status").at("processes").size(), 1u);
}

TEST_F(ServiceManagerTest, TheMachineSettles) {
  ASSERT_EQ(StartDummy("hang"), 0u);
  EXPECT_EQ(Code("machine.settle"), 0u);
  EXPECT_EQ(Code("service.stop", {{"name", "Dummy"}, {"wait", false}}), 0u);
  const json answer = Ask("machine.settle", {{"timeoutMs", 100}});
  EXPECT_EQ(answer.at("error"), 1460);
  EXPECT_EQ(answer.at("message"), "still outstanding: a control or a change of a service's state");
}

}  // namespace
}  // namespace machine_test
