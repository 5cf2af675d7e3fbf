// Who a process is: the process table, ancestors, sessions.
#include "tests/platform/identity_fixture.h"

namespace {

using host::TokenFacts;
using nlohmann::json;

TEST_F(IdentityTest, StatFilesAreReadWhateverTheProgramIsCalled) {
  const auto stat =
      host::ParseProcessStat("12 (a) b) (c) R 7 12 12 0 -1 4194560 118 0 0 0 0 0 0 0 20 0 1 0 987654321 1 2 3 4\n");
  ASSERT_TRUE(stat);
  EXPECT_EQ(stat->state, 'R');
  EXPECT_EQ(stat->parent, 7);
  EXPECT_EQ(stat->startTime, 987654321u);
  for (const char* text : {"", "12 name R 7", "12 (name) R 7 1 2"}) EXPECT_FALSE(host::ParseProcessStat(text)) << text;
  const auto own = host::ReadProcessStat(getpid());
  ASSERT_TRUE(own);
  EXPECT_EQ(own->parent, getppid());
  EXPECT_FALSE(host::ReadProcessStat(0x3FFFFFFF));
}

TEST_F(IdentityTest, AProcessHasTheTokenOfItsNearestAncestorInTheTable) {
  const Family family(3);
  EXPECT_EQ(host::TokenOfProcess(family.last()), kPlain) << "none in the table: from outside";
  Enter(getpid(), host::SystemToken());
  EXPECT_EQ(host::TokenOfProcess(family.last()), host::SystemToken());
  Enter(family.first(), kContained);
  EXPECT_EQ(host::TokenOfProcess(family.last()), kContained) << "a child of a contained process is contained";
  EXPECT_EQ(host::TokenOfProcess(getpid()), host::SystemToken());
  EXPECT_EQ(host::OwnToken(), host::SystemToken());
}

TEST_F(IdentityTest, ARowOfAnEarlierProcessCountsForNobody) {
  Enter(getpid(), host::SystemToken(), host::ProcessStartTime(getpid()) - 1);
  EXPECT_EQ(host::TokenOfProcess(getpid()), kPlain);
}

TEST_F(IdentityTest, ARowThatCannotBeReadIsNoWayOut) {
  const Family family(1);
  Enter(getpid(), host::SystemToken());
  for (const char* text : {"", "{", "[]", "{}", R"({"token": 1})", R"({"token": {"session": "one"}})"}) {
    Write("processes/" + std::to_string(family.last()), text);
    EXPECT_FALSE(host::TokenOfProcess(family.last())) << text;
  }
  Publish(1, json::array({{{"id", 1}, {"sid", "S-1-5-21-9"}}}));
  Write("processes/" + std::to_string(getpid()), "{");
  EXPECT_EQ(host::OwnToken(), kPlain) << "not the console's user";
}

TEST_F(IdentityTest, NoProcessHasNoToken) {
  pid_t ended = 0;
  {
    const Family family(1);
    ended = family.last();
  }
  for (const pid_t pid : {0, -1, ended, host::kFirstRowOnly}) EXPECT_FALSE(host::TokenOfProcess(pid)) << pid;
  Write("processes/" + std::to_string(host::kFirstRowOnly), json{{"token", ToJson(host::SystemToken())}}.dump());
  EXPECT_EQ(host::TokenOfProcess(host::kFirstRowOnly), host::SystemToken()) << "a row only";
}

TEST_F(IdentityTest, SomeoneFromOutsideIsTheConsolesUser) {
  const json ada = {{"id", 1}, {"sid", "S-1-5-21-9"}};
  const json nobody = {{"id", 1}, {"sid", ""}};
  const json remote = {{"id", 2}, {"sid", "S-1-5-21-8"}};
  const struct {
    unsigned console;
    json sessions;
    TokenFacts expected;
  } cases[] = {
      {1, {ada, remote}, {"S-1-5-21-9", 1}}, {1, {nobody, remote}, kPlain}, {0xFFFFFFFF, {remote}, kPlain},
      {2, {ada, remote}, {"S-1-5-21-8", 2}}, {1, "no list", kPlain},
  };
  for (const auto& each : cases) {
    Publish(each.console, each.sessions);
    EXPECT_EQ(host::OutsideToken(), each.expected) << each.sessions;
    EXPECT_EQ(host::OwnToken(), each.expected) << "follows whoever is there";
  }
}

TEST_F(IdentityTest, FactsSurviveTheTable) {
  TokenFacts read;
  ReadToken(ToJson(kContained), &read);
  EXPECT_EQ(read, kContained);
  const host::Identity identity = host::IdentityOf(kContained);
  EXPECT_EQ(identity.userSid, kContained.userSid);
  EXPECT_EQ(identity.capabilitySids, kContained.capabilities);
  EXPECT_TRUE(identity.isAppContainer);
  EXPECT_FALSE(identity.isSystem);
  EXPECT_TRUE(host::IdentityOf(host::SystemToken()).isSystem);
}

}  // namespace
