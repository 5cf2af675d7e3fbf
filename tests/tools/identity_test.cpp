// Who a program is to be, and who a process is.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tools/identity_text.h"
#include "tools/run_identity.h"

namespace tool {
namespace {

using nlohmann::json;

const json kUsers = json::parse(R"([{"user":"Anna","sid":"S-1-5-21-1-2-3-1001"},
                                    {"user":"bob","sid":"S-1-5-21-1-2-3-1002"}])");
const json kSessions = json::parse(R"([{"id":0,"user":"","sid":""}, {"id":1,"user":"","sid":""},
                                       {"id":2,"user":"Anna","sid":"S-1-5-21-1-2-3-1001"}])");

std::string Members(const RunIdentity& identity) {
  std::string error;
  const auto members = IdentityMembers(identity, kUsers, kSessions, &error);
  return members ? members->dump() : error;
}

TEST(RunIdentityTest, FindsUsersAndSessions) {
  struct Case {
    RunIdentity identity;
    std::string members;
  };
  const Case cases[] = {
      {{}, "{}"},
      {{.user = "anna"}, R"({"session":2,"userSid":"S-1-5-21-1-2-3-1001"})"},
      {{.user = "anna", .session = 1}, R"({"session":1,"userSid":"S-1-5-21-1-2-3-1001"})"},
      {{.user = "bob"}, R"({"userSid":"S-1-5-21-1-2-3-1002"})"},
      {{.user = "bob", .session = 2}, R"({"session":2,"userSid":"S-1-5-21-1-2-3-1002"})"},
      {{.session = 2}, R"({"session":2,"userSid":"S-1-5-21-1-2-3-1001"})"},
      {{.session = 0}, R"({"session":0})"},
      {{.package = "Some.App_1", .appContainer = true, .capabilities = {"S-1-15-3-1"}},
       R"({"appContainer":true,"capabilities":["S-1-15-3-1"],"packageFamilyName":"Some.App_1"})"},
      {{.user = "carl"}, "there is no user carl"},
      {{.session = 9}, "there is no session 9"},
  };
  for (const Case& test : cases) EXPECT_EQ(Members(test.identity), test.members);
}

TEST(RunIdentityTest, DerivesTheSidOfACapability) {
  EXPECT_EQ(CapabilitySid("Quorvex.hkd04A7DeviceHardwareSettings_m3tq8v0kc2wna"),
            "S-1-15-3-1024-725278066-3482327732-1334690058-336813951-959172379-567848342-2247572830-1619008730");
  EXPECT_EQ(CapabilitySid("S-1-15-3-1"), "S-1-15-3-1");
  EXPECT_EQ(CapabilitySid("S-1-x"), "");
}

TEST(IdentityTextTest, NamesEveryFact) {
  struct Case {
    const char* token;
    const char* text;
  };
  const Case cases[] = {
      {R"({"userSid":"S-1-5-18","system":true})", "LocalSystem, session 0"},
      {R"({"userSid":"S-1-5-18","session":1})", "S-1-5-18, session 1"},
      {R"({"userSid":"S-1-5-21-1-2-3-1001","session":2,"packageFamilyName":"Some.App_1","appContainer":true,
           "capabilities":["S-1-15-3-1","S-1-15-3-2"]})",
       "Anna, session 2, package Some.App_1, app container, capability S-1-15-3-1, capability S-1-15-3-2"},
  };
  for (const Case& test : cases) EXPECT_EQ(IdentityText(json::parse(test.token), kUsers), test.text);
}

}  // namespace
}  // namespace tool
