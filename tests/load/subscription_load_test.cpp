// A thousand subscriptions: coming and going under events, and pending at a stop.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/load/load_fixture.h"

namespace load {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

class SubscriptionLoadTest : public LoadTest {};

TEST_F(SubscriptionLoadTest, LosesNothingWhileAThousandComeAndGo) {
  const std::string path = Machine() + "/ledger";
  EventLedger ledger(path);
  EventSource source(Device(), ledger);
  ASSERT_TRUE(source.Start().Ok());
  std::vector<Client> clients;
  for (int i = 0; i < 4; ++i) clients.push_back(BeginClient({"churn", path, "250", "5"}));
  const auto runs = [](const Client& client) { return !client->Wait(milliseconds(0)); };
  while (std::any_of(clients.begin(), clients.end(), runs)) ASSERT_TRUE(source.Send());
  for (const Client& client : clients) EXPECT_EQ(EndOf(*client), "");
  EXPECT_GT(ledger.Delivered(), 100u);
  EXPECT_TRUE(Comes([](const nlohmann::json& rpc) { return rpc.value("openCalls", 0) == 1; })) << "the witness's wait";
}

TEST_F(SubscriptionLoadTest, StopsWithAThousandWaitsPending) {
  const auto holders = BeginHolders(4, 1000);
  const auto before = steady_clock::now();
  EXPECT_EQ(AskService("service.stop").value("error", 0u), 0u);
  const auto took = duration_cast<milliseconds>(steady_clock::now() - before);
  std::printf("stopped in %d ms\n", static_cast<int>(took.count()));
  EXPECT_LT(took, milliseconds(1000) * kSlowness);
  for (const Client& holder : holders)
    EXPECT_THAT(EndOf(*holder), testing::StartsWith("holding\n250 Hkd04a7Rpc_EventNotify_WaitEventAsync answered "
                                                    "0x800704C7"));
  EXPECT_EQ(AskService("service.query").at("win32ExitCode"), 0u);
}

}  // namespace
}  // namespace load
