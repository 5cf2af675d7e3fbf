// Packages, and how openings of their app services are answered; the test's process stands for clients and services.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <future>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/machine_link.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* kFamily = "Quorvex.Settings_m3tq8v0kc2wna";

class PackageTest : public MachineTest {
 protected:
  void SetUp() override {
    Start();
    sid_ = Ask("session.logon", {{"user", "ada"}}).at("sid").get<std::string>();
  }

  static unsigned Install(json members) {
    if (!members.contains("package")) members["package"] = kFamily;
    return Code("package.add", std::move(members));
  }
  json Identity(const std::string& package = "") const {
    return {{"userSid", sid_}, {"session", 1}, {"system", false}, {"packageFamilyName", package}};
  }
  json Opening(const std::string& service, const std::string& package = kFamily) const {
    return {{"op", "app.open"}, {"package", package}, {"service", service}, {"identity", Identity()}};
  }
  json Open(const std::string& service, const std::string& package = kFamily) const {
    return Ask("app.open", Opening(service, package));
  }
  json Listening(const std::string& service) const {
    return {{"op", "app.listen"},
            {"package", kFamily},
            {"service", service},
            {"socket", "s"},
            {"identity", Identity(kFamily)}};
  }

  std::string sid_;
};

TEST_F(PackageTest, NamesAndUsersAreChecked) {
  const json service = {{"name", "hello"}};
  struct Case {
    json members;
    unsigned error;
  };
  const Case cases[] = {
      {{{"package", "Quorvex.Settings"}}, 123},
      {{{"package", "Qu_m3tq8v0kc2wna"}}, 123},
      {{{"package", std::string(51, 'a') + "_m3tq8v0kc2wna"}}, 123},
      {{{"package", "Quorvex.Settings_m3tq8v0kc2wn"}}, 123},
      {{{"package", "Quorvex.Settings_m3tq8v0kc2wnl"}}, 123},
      {{{"package", "Quorvex/../x_m3tq8v0kc2wna"}}, 123},
      {{{"service", {{"name", ""}}}}, 123},
      {{{"service", {{"name", "a\nb"}}}}, 123},
      {{{"service", {{"name", "a"}, {"program", "relative"}}}}, 123},
      {{{"service", {{"name", 5}}}}, 87},
      {{{"service", json::object()}}, 87},
      {{{"user", "nobody"}}, 1317},
  };
  for (const Case& c : cases) EXPECT_EQ(Install(c.members), c.error) << c.members;
  EXPECT_TRUE(Ask("package.list").at("packages").empty());
}

TEST_F(PackageTest, InstalledForSomeOrAllAndKeptOverARestart) {
  Ask("user.add", {{"user", "bob"}});
  EXPECT_EQ(Install({{"user", "ADA"}, {"appContainer", true}}), 0u);
  EXPECT_EQ(Install({{"user", "bob"}, {"service", {{"name", "hello"}, {"program", "/bin/true"}}}}), 0u);
  EXPECT_EQ(Install({{"package", "QUORVEX.settings_m3tq8v0kc2wna"}, {"service", {{"name", "hello"}}}}), 0u);
  EXPECT_EQ(Install({{"package", "Other_m3tq8v0kc2wna"}}), 0u);
  EXPECT_EQ(Install({{"package", "Other_m3tq8v0kc2wna"}, {"user", "bob"}}), 183u) << "everybody has it";
  EXPECT_EQ(Code("package.remove", {{"package", "Other_m3tq8v0kc2wna"}, {"user", "bob"}}), 50u);
  Stop();
  Start();
  const json hello = {{"name", "hello"}, {"program", ""}, {"arguments", json::array()}};
  EXPECT_THAT(
      Ask("package.list").at("packages"),
      ElementsAre(
          json{{"package", "Other_m3tq8v0kc2wna"},
               {"users", json::array()},
               {"appContainer", false},
               {"services", json::array()}},
          json{{"package", kFamily}, {"users", {"ada", "bob"}}, {"appContainer", true}, {"services", {hello}}}));
  EXPECT_EQ(Code("package.remove", {{"package", kFamily}, {"user", "bob"}}), 0u);
  EXPECT_EQ(Code("package.remove", {{"package", kFamily}, {"user", "bob"}}), 1168u);
  EXPECT_EQ(Code("package.remove", {{"package", kFamily}, {"user", "ada"}}), 0u);
  EXPECT_EQ(Code("package.remove", {{"package", kFamily}}), 1168u) << "it went with its last user";
}

TEST_F(PackageTest, ADamagedFileKeepsTheMachineDown) {
  Stop();
  for (const char* text : {"{", R"({"packages":[{"package":"x"}]})",
                           R"({"packages":[{"package":"x","users":[],"appContainer":false,"services":[]}]})"}) {
    std::ofstream(host::CurrentMachineDirectory().state + "/packages.json") << text;
    machine::Options options;
    options.directory = host::CurrentMachineDirectory();
    std::string error;
    EXPECT_FALSE(machine::Machine(options).Start(&error)) << text;
    EXPECT_NE(error, "") << text;
  }
}

TEST_F(PackageTest, AnOpeningThatFailsSaysWhyAndIsInTheLog) {
  const auto service = [](const char* name, const char* program) {
    return json{{"service", {{"name", name}, {"program", program}}}};
  };
  for (const json& members : {service("missing", "/no/such"), service("ends", "/bin/true"), service("hello", "/x")})
    ASSERT_EQ(Install(members), 0u);
  ASSERT_EQ(Install({{"package", "Bobs_m3tq8v0kc2wna"}}), 0u);
  Ask("user.add", {{"user", "bob"}});
  ASSERT_EQ(Install({{"package", "Only.Bob_m3tq8v0kc2wna"}, {"user", "bob"}}), 0u);
  struct Case {
    const char* package;
    const char* service;
    int status;
    const char* reason;
  };
  const Case cases[] = {{"None_m3tq8v0kc2wna", "hello", 1, "no such package"},
                        {"Only.Bob_m3tq8v0kc2wna", "hello", 1, "no such package"},
                        {kFamily, "other", 3, "no such service"},
                        {kFamily, "missing", 2, "/no/such"},
                        {kFamily, "ends", 2, "ended before it listened"}};
  for (const Case& c : cases) {
    const json reply = Open(c.service, c.package);
    EXPECT_EQ(reply.value("status", -1), c.status) << c.package << c.service << reply;
    EXPECT_THAT(reply.value("reason", ""), HasSubstr(c.reason));
  }
  std::ifstream log(host::CurrentMachineDirectory().runtime + "/app_services.log");
  std::string line;
  for (const Case& c : cases) {
    ASSERT_TRUE(std::getline(log, line));
    EXPECT_EQ(json::parse(line).at("status"), c.status) << line;
  }
}

TEST_F(PackageTest, WhoListensIsFoundUntilItsConnectionEnds) {
  ASSERT_EQ(Install({{"service", {{"name", "hello"}, {"program", "/bin/true"}}}}), 0u);
  const auto refused = [this](const char* member, const json& value) {
    json message = Listening("hello");
    message[member] = value;
    return host::MachineLink::Instance().Call(message, nullptr);
  };
  EXPECT_EQ(refused("identity", Identity()), 5u);
  EXPECT_EQ(refused("service", "other"), 1168u);
  EXPECT_EQ(refused("socket", "../control"), 123u);
  {
    host::MachineLink service;
    ASSERT_EQ(service.Call(Listening("hello"), nullptr), 0u);
    EXPECT_EQ(refused("socket", "t"), 183u);
    EXPECT_THAT(Open("hello").value("socket", ""), HasSubstr("/appservices/s"));
    json left = {{"op", "app.leave"}, {"package", kFamily}, {"service", "hello"}, {"identity", Identity(kFamily)}};
    json reply;
    ASSERT_EQ(service.Call(left, &reply), 0u);
    EXPECT_FALSE(reply.at("left").get<bool>()) << "who was sent there may not have connected yet";
  }
  EXPECT_TRUE(Eventually([] { return Ask("package.list").at("running").empty(); }));
  EXPECT_EQ(Open("hello").at("status"), 2);
  json refusing = Listening("hello");
  refusing["refuse"] = true;
  host::MachineLink service;
  ASSERT_EQ(service.Call(refusing, nullptr), 0u);
  EXPECT_EQ(Open("hello").at("status"), 3);
}

// A program that is still expected to listen, ended by each of what ends programs.
TEST_F(PackageTest, WhatIsExpectedToListenEndsWithItsUserPackageAndMachine) {
  const auto sleeper = json{{"service", {{"name", "sleeps"}, {"program", "/bin/sleep"}, {"arguments", {"600"}}}}};
  const std::function<void()> enders[] = {
      [] { EXPECT_EQ(Code("session.logoff"), 0u); },
      [] {
        EXPECT_EQ(Code("package.remove", {{"package", kFamily}}), 0u);
      },
      [] { EXPECT_EQ(Code("machine.reboot"), 0u); },
  };
  for (const auto& end : enders) {
    Code("session.logon", {{"user", "ada"}});
    ASSERT_EQ(Install(sleeper), 0u);
    auto opening = std::async(std::launch::async, [this] {
      host::MachineLink client;
      json reply;
      client.Call(Opening("sleeps"), &reply);
      return reply;
    });
    ASSERT_TRUE(Eventually([] { return Ask("process.list").at("processes").size() == 1; }));
    EXPECT_EQ(Ask("process.list").at("processes")[0].at("token").at("packageFamilyName"), kFamily);
    end();
    EXPECT_EQ(opening.get().value("status", -1), 2);
    EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));
    EXPECT_TRUE(Ask("package.list").at("running").empty());
  }
}

}  // namespace
}  // namespace machine_test
