// The service killed at chosen calls and at any time, while clients use it.
#include <gmock/gmock.h>
#include <signal.h>
#include <sqlite3.h>

#include <fstream>
#include <random>
#include <thread>

#include "tests/load/load_fixture.h"
#include "tools/machine_control.h"

namespace load {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

// A call before which the service dies, in whichever of its lives comes to it that often.
struct Doom {
  const char* call;
  unsigned nth;
  bool stops = false;  // by a stop; the others come by themselves
};

constexpr Doom kDooms[] = {
    {"RegisterServiceCtrlHandlerExW", 1},  // starting
    {"SetServiceStatus", 3},               //
    {"CreateEventW", 1},                   //
    {"RpcServerUseProtseqEpW", 1},         //
    {"RpcEpRegisterW", 1},                 //
    {"SetEvent", 1},                       // the end of the first wake check
    {"TrySubmitThreadpoolCallback", 3},    // a subscription is destroyed
    {"RpcServerTestCancel", 2},            //
    {"RpcAsyncCompleteCall", 20},          // delivering
    {"RegSetKeyValueW", 3},                // registering
    {"RegDeleteValueW", 1},                //
    {"RegDeleteKeyW", 1},                  //
    {"RpcServerUnregisterIf", 1, true},    // stopping
    {"RpcEpUnregister", 1, true},          //
};

std::string IntegrityOf(const std::string& path) {
  sqlite3* database = nullptr;
  sqlite3_stmt* check = nullptr;
  std::string verdict = "unreadable";
  if (sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
      sqlite3_busy_timeout(database, 5000) == SQLITE_OK &&
      sqlite3_prepare_v2(database, "PRAGMA integrity_check", -1, &check, nullptr) == SQLITE_OK &&
      sqlite3_step(check) == SQLITE_ROW)
    verdict = reinterpret_cast<const char*>(sqlite3_column_text(check, 0));
  sqlite3_finalize(check);
  sqlite3_close(database);
  return path + ": " + verdict;
}

class KilledServiceTest : public LoadTest {
 protected:
  void SetUp() override {
    LoadTest::SetUp();
    Done({"logon", "anna"});
    Done({"stop"});
    const json doomed = {{"name", tool::kServiceName}, {"program", tool::ProgramFolder() + "/doomed-service"}};
    ASSERT_FALSE(Ask("service.config", doomed).contains("error"));
    for (const char* number : {"1", "2", "3"}) workers_.push_back(BeginClient({"work", number}));
    events_ = std::jthread([this](const std::stop_token& over) {
      for (std::uint32_t number = 0; !over.stop_requested(); ++number) {
        Device().Emergency(WordOf(number));  // refused while the service is away for long
        std::this_thread::sleep_for(milliseconds(2));
      }
    });
  }

  void ExpectKilled() {
    ASSERT_TRUE(AwaitState(tool::kStopped));
    const json service = AskService("service.query");
    EXPECT_EQ(service.at("lastError"), "ended unexpectedly: killed by signal 9 (Killed)");
    const json status = Ask("machine.status");
    EXPECT_EQ(status.at("events"), json::array());
    EXPECT_EQ(status.at("endpoints"), json::array());
    for (const char* file : {"/state/registry.db", "/run/registry-volatile.db"})
      EXPECT_EQ(IntegrityOf(Machine() + file), Machine() + file + ": ok");
  }

  std::vector<Client> workers_;
  std::jthread events_;
};

TEST_F(KilledServiceTest, LeavesNothingHalfDone) {
  for (const Doom& doom : kDooms) {
    SCOPED_TRACE(doom.call);
    std::ofstream(Machine() + "/run/doom") << doom.call << ' ' << doom.nth;
    AskService("service.start");
    if (doom.stops) AskService("service.stop");
    ExpectKilled();
  }
  std::filesystem::remove(Machine() + "/run/doom");
  std::minstd_rand random;
  for (int i = 0; i < 10; ++i) {
    ASSERT_EQ(AskService("service.start").value("error", 0u), 0u);
    std::this_thread::sleep_for(milliseconds(random() % 80));
    ASSERT_EQ(kill(ServicePid(), SIGKILL), 0);
    ExpectKilled();
  }
  // Those who were there all the time go on with the next one.
  EXPECT_EQ(AskService("service.start").value("error", 0u), 0u);
  std::this_thread::sleep_for(milliseconds(100));
  for (const Client& worker : workers_) EXPECT_EQ(Terminate(*worker), "");
  events_ = {};
  EXPECT_TRUE(HoldsNothing());
  EXPECT_THAT(Done({"stop"}), testing::HasSubstr("stopped, exit code 0"));
}

}  // namespace
}  // namespace load
