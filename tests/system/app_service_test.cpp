// App services as real processes: started on demand, told of an event by the client mode.
#include <gmock/gmock.h>

#include <map>
#include <sstream>
#include <thread>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

std::string PackageNamed(const std::string& name) {
  return "Quorvex." + name + "_m3tq8v0kc2wna";
}

class AppServiceTest : public ToolTest {
 protected:
  void SetUp() override {
    Done({"up"});
    Done({"logon", "anna"});
  }

  // Installed for everybody, and anna's registration for event 7.
  void Install(const std::string& package, const std::vector<std::string>& mode) {
    Done(Joined({"package", "add", package, "--service", "hello"}, mode));
    EXPECT_EQ(RunAs({}, {"app", "register", package, "hello", "--event", "7"}).exitCode, 0);
  }

  // The client mode, as anna, for one event; returns when it has ended.
  void Deliver(const std::string& data1) {
    const std::string service = ProgramFolder() + "/hkd04a7-service";
    Done({"run", "--user", "anna", "--", service, "-appservice", "-event", "7", "-data1", data1, "-data2", "9"});
  }

  // What happened to each package's messages and openings, in order.
  std::map<std::string, std::vector<std::string>> Runs() {
    std::map<std::string, std::vector<std::string>> runs;
    std::istringstream lines(Done({"app", "runs", "--json"}));
    for (std::string line; std::getline(lines, line);) {
      const json record = json::parse(line);
      runs[record.at("package")].push_back(record.at("what"));
      if (record.at("what") == "received") messages_.push_back(record.at("message"));
    }
    return runs;
  }

  std::vector<json> messages_;
};

TEST_F(AppServiceTest, EachAnswersAsItWasTold) {
  Install(PackageNamed("Prompt"), {});
  Install(PackageNamed("Slow"), {"--slow", "300"});
  Install(PackageNamed("Dying"), {"--die"});
  Install(PackageNamed("Closed"), {"--refuse"});
  Deliver("5");
  const auto runs = Runs();
  EXPECT_THAT(runs.at(PackageNamed("Prompt")), ElementsAre("received", "answered"));
  EXPECT_THAT(runs.at(PackageNamed("Slow")), ElementsAre("received", "answered"));
  EXPECT_THAT(runs.at(PackageNamed("Dying")), ElementsAre("received", "died"));
  EXPECT_THAT(runs.at(PackageNamed("Closed")), ElementsAre("not opened"));
  for (const json& message : messages_)
    EXPECT_EQ(message, json::parse(R"({"hkd04a7event":{"type":"UInt32","value":7},
        "data1":{"type":"UInt32","value":5},"data2":{"type":"UInt32","value":9}})"));
}

TEST_F(AppServiceTest, EndsWhenIdleAndWithItsUserAndStartsAgain) {
  const std::string package = PackageNamed("Brief");
  Install(package, {"--idle", "50"});
  Deliver("1");
  EXPECT_THAT(AwaitStatus("app serve", false), testing::Not(HasSubstr("app serve")));
  Deliver("2");
  EXPECT_THAT(Runs().at(package), ElementsAre("received", "answered", "received", "answered"));
  Install(package, {"--idle", "0"});
  Deliver("3");
  EXPECT_THAT(Done({"package", "list"}), HasSubstr("listens for anna in session 1"));
  Done({"logoff", "1"});
  EXPECT_THAT(AwaitStatus("app serve", false), testing::Not(HasSubstr("app serve")));
}

TEST_F(AppServiceTest, PlayedByHandItShowsEachMessage) {
  const std::string package = PackageNamed("Hand");
  const ToolResult missing = RunAs({"--package", package}, {"app", "serve", package, "hello"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.output, HasSubstr("has no package"));
  Install(package, {});
  const ToolResult outside = Run({"app", "serve", package, "hello"});
  EXPECT_EQ(outside.exitCode, 1);
  EXPECT_THAT(outside.output, HasSubstr("not one of the package"));
  const auto played = BeginAs({"--package", package}, {"app", "serve", package, "hello"});
  ASSERT_TRUE(played->AwaitOutput("serving as hello")) << played->Output();
  Deliver("6");
  EXPECT_TRUE(played->AwaitOutput("1  hkd04a7event 7, data1 0x00000006, data2 0x00000009")) << played->Output();
  EXPECT_THAT(Run({"app", "runs"}).output, HasSubstr("message 1 answered"));
  Done({"package", "remove", package});
  EXPECT_NE(played->Finish().exitCode, 0);
}

TEST_F(AppServiceTest, WhatIsInstalledIsCheckedAndShown) {
  const std::string package = PackageNamed("Own");
  struct Case {
    std::vector<std::string> arguments;
    int exitCode;
    const char* words;
  };
  const Case cases[] = {
      {{"add", "Quorvex.Own"}, 1, "no package family name"},
      {{"add", package, "--user", "nobody"}, 1, "there is no user nobody"},
      {{"add", package, "--user", ""}, 2, "it is empty"},
      {{"add", package, "--never"}, 2, "that hkd04a7ctl plays"},
      {{"add", package, "--service", "own", "--never", "--", "/bin/true"}, 2, "that hkd04a7ctl plays"},
      {{"add", package, "--service", "own", "--never", "--die"}, 2, "at most 1"},
      {{"add", package, "--", "/bin/true"}, 2, "requires --service"},
      {{"add", package, "--service", "own", "--", "no-such-program"}, 1, "no program no-such-program"},
      {{"remove", package}, 1, "not installed"},
      {{"add", package, "--user", "anna", "--service", "own", "--", "sh", "-c", "exit $0", "--x"},
       0,
       "sh -c exit $0 --x"},
      {{"list"}, 0, "for anna"},
  };
  for (const Case& test : cases) {
    const ToolResult result = Run(Joined({"package"}, test.arguments));
    EXPECT_EQ(result.exitCode, test.exitCode) << testing::PrintToString(test.arguments) << result.output;
    EXPECT_THAT(result.output, HasSubstr(test.words));
  }
}

}  // namespace
}  // namespace tool
