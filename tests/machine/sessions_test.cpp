// Sessions and users, the endpoint map, and what a boot clears.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "machine/sessions.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/registry/registry_control.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using machine::SessionChange;
using machine::Sessions;
using nlohmann::json;
using testing::ElementsAre;

// The changes as "event:session", or "error n".
class SessionsTest : public testing::Test {
 protected:
  using Changes = std::vector<SessionChange>;

  static std::vector<std::string> Text(unsigned error, const Changes& changes) {
    std::vector<std::string> text;
    if (error != 0) text.push_back("error " + std::to_string(error));
    for (const SessionChange& change : changes)
      text.push_back(std::to_string(static_cast<int>(change.event)) + ":" + std::to_string(change.session));
    return text;
  }

  std::vector<std::string> Logon(const std::string& user, bool remote = false,
                                 std::optional<std::uint32_t> session = std::nullopt) {
    Changes changes;
    machine::Session who;
    who.user = user;
    who.sid = "S-" + user;
    who.remote = remote;
    return Text(sessions_.Logon(who, session, &changes), changes);
  }
  std::vector<std::string> Logoff(std::uint32_t session) {
    Changes changes;
    std::string sid;
    return Text(sessions_.Logoff(session, &changes, &sid), changes);
  }
  std::vector<std::string> Disconnect(std::uint32_t session) {
    Changes changes;
    return Text(sessions_.Disconnect(session, &changes), changes);
  }
  std::vector<std::string> Connect(std::uint32_t session, bool remote = false) {
    Changes changes;
    return Text(sessions_.Connect(session, remote, &changes), changes);
  }

  TemporaryFolder folder_;
  Sessions sessions_{folder_.path() + "/sessions.json"};
};

TEST_F(SessionsTest, TheConsoleAndRemoteSessions) {
  EXPECT_THAT(Logoff(1), ElementsAre("error 1312"));
  EXPECT_THAT(Logon("ada"), ElementsAre("5:1"));
  EXPECT_THAT(Logon("bob"), ElementsAre("error 183"));
  EXPECT_THAT(Logon("bob", true), ElementsAre("3:2", "5:2"));
  EXPECT_THAT(Disconnect(2), ElementsAre("4:2"));
  EXPECT_THAT(Disconnect(2), ElementsAre("error 50"));
  EXPECT_THAT(Connect(2), ElementsAre("2:1", "1:2")) << "who is at the console leaves it first";
  EXPECT_EQ(sessions_.console(), 2u);
  EXPECT_THAT(Connect(1, true), ElementsAre("3:1"));
  EXPECT_THAT(Logoff(1), ElementsAre("6:1"));
  EXPECT_THAT(Logoff(1), ElementsAre("error 7022")) << "a session away from the console ends with its user";
  EXPECT_THAT(Disconnect(2), ElementsAre("2:2"));
  EXPECT_EQ(sessions_.console(), machine::kNoSession);
  EXPECT_THAT(Logon("eve"), ElementsAre("1:3", "5:3"));
  EXPECT_THAT(Disconnect(0), ElementsAre("error 7022"));
  EXPECT_THAT(Logon("mallory", false, 0), ElementsAre("error 7022"));
}

TEST_F(SessionsTest, EveryChangeIsInTheFileAtOnce) {
  Logon("ada");
  std::ifstream file(folder_.path() + "/sessions.json");
  const json published = json::parse(file);
  EXPECT_EQ(published.at("console"), 1);
  EXPECT_EQ(published.at("sessions").at(1),
            (json{{"id", 1}, {"state", 0}, {"remote", false}, {"user", "ada"}, {"sid", "S-ada"}}));
}

class PeopleTest : public MachineTest {
 protected:
  void SetUp() override { Start(); }
};

TEST_F(PeopleTest, AUserKeepsTheSidAndTheHiveFollowsTheLogon) {
  const json first = Ask("session.logon", {{"user", "Ada"}});
  const auto sid = first.at("sid").get<std::string>();
  EXPECT_THAT(sid, testing::MatchesRegex("S-1-5-21-[0-9]+-[0-9]+-[0-9]+-1001"));
  EXPECT_TRUE(host::IsHiveLoaded(sid));
  EXPECT_EQ(Ask("session.logon", {{"user", "bob"}, {"remote", true}}).at("session"), 2);
  EXPECT_EQ(Code("session.logoff"), 0u);
  EXPECT_FALSE(host::IsHiveLoaded(sid));
  Stop();
  Start();
  EXPECT_EQ(Ask("session.logon", {{"user", "ADA"}}).at("sid"), sid);
  EXPECT_EQ(Code("session.logon", {{"user", "a/b"}, {"remote", true}}), 123u);
  EXPECT_EQ(Code("session.logon", {{"user", std::string(1, '\0')}, {"remote", true}}), 123u);
  EXPECT_EQ(Code("session.logon", {{"user", 7}}), 87u);
}

TEST_F(PeopleTest, ABootClearsWhatItMust) {
  const json logon = Ask("session.logon", {{"user", "Ada"}});
  ASSERT_EQ(Code("power.suspend"), 0u);
  ASSERT_EQ(Code("event.create", {{"name", "Global\\Test"}, {"manual", true}, {"initial", true}, {"sddl", ""}}), 0u);
  ASSERT_EQ(Code("epmap.register", {{"uuid", "u"}, {"version", "1.0"}, {"bindings", {"ncalrpc:[E]"}}}), 0u);
  const std::string runtime = host::CurrentMachineDirectory().runtime;
  std::filesystem::create_directories(runtime + "/ncalrpc");
  std::ofstream(runtime + "/ncalrpc/Stale") << "x";
  std::ofstream(runtime + "/debug.log") << "a line\n";

  ASSERT_EQ(Code("machine.reboot"), 0u);
  const json status = Ask("machine.status");
  EXPECT_EQ(status.at("boots"), 2);
  EXPECT_FALSE(status.at("suspended").get<bool>());
  EXPECT_TRUE(status.at("events").empty());
  EXPECT_TRUE(status.at("endpoints").empty());
  EXPECT_EQ(status.at("sessions").at("sessions").at(1).at("user"), "");
  EXPECT_FALSE(host::IsHiveLoaded(logon.at("sid").get<std::string>()));
  EXPECT_FALSE(std::filesystem::exists(runtime + "/ncalrpc"));
  EXPECT_TRUE(std::filesystem::exists(runtime + "/debug.log"));
}

TEST_F(PeopleTest, TheEndpointMapAnswersByVersionAndForgetsWithTheConnection) {
  host::MachineLink server;
  const json entry = {{"op", "epmap.register"}, {"uuid", "ABC"}, {"version", "1.2"}, {"bindings", {"ncalrpc:[E]"}}};
  ASSERT_EQ(server.Call(entry, nullptr), 0u);
  struct Case {
    const char* uuid;
    const char* version;
    unsigned error;
  };
  const Case cases[] = {{"abc", "1.2", 0},    {"abc", "1.0", 0}, {"abc", "1.3", 1753}, {"abc", "2.0", 1753},
                        {"abd", "1.2", 1753}, {"abc", "1", 87},  {"abc", "x.y", 87}};
  for (const Case& c : cases)
    EXPECT_EQ(Code("epmap.lookup", {{"uuid", c.uuid}, {"version", c.version}}), c.error) << c.uuid << c.version;
  EXPECT_EQ(Ask("epmap.lookup", {{"uuid", "abc"}, {"version", "1.0"}}).at("bindings"), json({"ncalrpc:[E]"}));
  json removal = entry;
  removal["op"] = "epmap.unregister";
  EXPECT_EQ(host::MachineLink::Instance().Call(removal, nullptr), 1753u) << "registered by another process";
  EXPECT_EQ(server.Call(removal, nullptr), 0u);
  ASSERT_EQ(server.Call(entry, nullptr), 0u);
  { const host::MachineLink other; }
  EXPECT_EQ(Ask("epmap.list").at("endpoints").size(), 1u);
}

TEST_F(PeopleTest, ADamagedConfigurationKeepsTheMachineDown) {
  Stop();
  const std::string path = host::CurrentMachineDirectory().state + "/services.json";
  for (const char* text : {"{", "[]", "{\"services\":[{\"name\":5}]}", "{\"services\":[{\"name\":\"a\"}]}"}) {
    std::ofstream(path) << text;
    machine::Options options;
    options.directory = host::CurrentMachineDirectory();
    machine::Machine machine(options);
    std::string error;
    EXPECT_FALSE(machine.Start(&error)) << text;
    EXPECT_NE(error, "") << text;
    EXPECT_EQ(Code("ping"), 1062u);
  }
}

}  // namespace
}  // namespace machine_test
