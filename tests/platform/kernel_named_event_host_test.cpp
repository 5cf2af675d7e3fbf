// Named events between processes, and who may do what with them.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/host/kernel/named_event_map.h"
#include "platform/sync.h"
#include "platform/threads.h"
#include "tests/platform/named_event_server.h"

namespace {

constexpr const char16_t* kName = u"Global\\HKD04A7-HostTest";
constexpr const char* kWireName = "Global\\HKD04A7-HostTest";
const host::Identity kEveryone{.userSid = "S-1-5-21-1-2-3-1001"};

// The contract cases of this program need named events; a child process uses those of its parent.
class ServerEnvironment : public testing::Environment {
 public:
  void SetUp() override {
    if (!getenv("HKD04A7_MACHINE")) server = std::make_unique<NamedEventServer>();
  }
  void TearDown() override {
    EXPECT_TRUE(host::OpenHandleCounts().empty());
    server.reset();
  }

  std::unique_ptr<NamedEventServer> server;
};

auto* const environment = static_cast<ServerEnvironment*>(testing::AddGlobalTestEnvironment(new ServerEnvironment));

// Another process that uses the machine, as the daemon sees it.
class OtherProcess {
 public:
  DWORD Create(const std::string& sddl) {
    return Call({{"op", "event.create"}, {"name", kWireName}, {"manual", true}, {"initial", false}, {"sddl", sddl}});
  }
  DWORD Open(DWORD access) { return Call({{"op", "event.open"}, {"name", kWireName}, {"access", access}}); }
  DWORD CloseSlot(unsigned slot) { return Call({{"op", "event.close"}, {"slot", slot}}); }
  DWORD Call(const nlohmann::json& request) { return link_.Call(request, &reply); }

  nlohmann::json reply;

 private:
  host::MachineLink link_;
};

TEST(NamedEventHost, EndOfAProcessLetsGoOfItsEvents) {
  auto other = std::make_optional<OtherProcess>();
  ASSERT_EQ(other->Create(""), 0u);
  const HANDLE kept = OpenEventW(SYNCHRONIZE, FALSE, kName);
  ASSERT_NE(kept, nullptr);
  other.reset();
  OtherProcess third;
  for (int i = 0; i < 1000 && third.Open(SYNCHRONIZE) == 0; ++i) {
    ASSERT_EQ(third.CloseSlot(third.reply["slot"]), 0u);
    if (i == 0) CloseHandle(kept);  // the name outlived its creator until here
    usleep(1000);
  }
  EXPECT_EQ(third.Open(SYNCHRONIZE), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST(NamedEventHost, DescriptorDecidesForOthers) {
  constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
  OtherProcess owner;
  ASSERT_EQ(owner.Create("D:(A;;0x100000;;;WD)"), 0u);
  environment->server->SetCaller(kEveryone);
  struct {
    DWORD access, error;
  } constexpr kOpenings[] = {{SYNCHRONIZE, 0},
                             {EVENT_MODIFY_STATE, kDenied},
                             {SYNCHRONIZE | EVENT_MODIFY_STATE, kDenied},
                             {EVENT_ALL_ACCESS, kDenied}};
  OtherProcess other;
  for (const auto& c : kOpenings) EXPECT_EQ(other.Open(c.access), c.error) << c.access;
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, kName), nullptr);
  EXPECT_EQ(GetLastError(), kDenied);
  EXPECT_EQ(OpenEventW(0x40000000, FALSE, kName), nullptr);  // generic write
  EXPECT_EQ(GetLastError(), kDenied);
  environment->server->SetCaller(NamedEventServer::LocalSystem());
}

// A service that starts again while a client holds its event gets it back.
TEST(NamedEventHost, LocalSystemCreatesOverAHeldEvent) {
  OtherProcess client;
  ASSERT_EQ(client.Create("D:(A;;0x100000;;;WD)"), 0u);
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, kName);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_TRUE(SetEvent(event));
  CloseHandle(event);
}

TEST(NamedEventHost, NobodyClosesWhatIsNotTheirs) {
  OtherProcess owner, other;
  ASSERT_EQ(owner.Create(""), 0u);
  const unsigned slot = owner.reply["slot"];
  EXPECT_EQ(other.CloseSlot(slot), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(other.CloseSlot(1'000'000), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_EQ(other.Open(SYNCHRONIZE), 0u);
}

TEST(NamedEventHost, SlotsRunOutAndComeBack) {
  std::optional<OtherProcess> greedy(std::in_place);
  nlohmann::json request{{"op", "event.create"}, {"manual", true}, {"initial", true}, {"sddl", ""}};
  DWORD error = 0;
  for (unsigned i = 0; error == 0 && i <= host::kNamedEventSlots; ++i) {
    request["name"] = "Local\\" + std::to_string(i);
    error = greedy->Call(request);
  }
  EXPECT_EQ(error, static_cast<DWORD>(ERROR_NO_SYSTEM_RESOURCES));
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, kName), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_SYSTEM_RESOURCES));
  greedy.reset();
  HANDLE event = nullptr;
  for (int i = 0; i < 1000 && !event; ++i, usleep(1000)) event = CreateEventW(nullptr, TRUE, FALSE, kName);
  EXPECT_EQ(WaitForSingleObject(event, 0), static_cast<DWORD>(WAIT_TIMEOUT));  // nothing of the old state is left
  CloseHandle(event);
}

TEST(NamedEventHost, NoMachineMeansNoNamedEvents) {
  environment->server.reset();
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, kName), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_NOT_ACTIVE));
  environment->server = std::make_unique<NamedEventServer>();
}

// Run in a child process by the next case.
TEST(NamedEventChild, DISABLED_SetsTheEvent) {
  const HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, kName);
  ASSERT_NE(event, nullptr);
  EXPECT_TRUE(SetEvent(event));
  CloseHandle(event);
}

TEST(NamedEventHost, AnotherProcessReleasesAWait) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, kName);
  std::string arguments[] = {"child", "--gtest_filter=NamedEventChild.*", "--gtest_also_run_disabled_tests"};
  char* argv[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};
  pid_t child = 0;
  ASSERT_EQ(posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, argv, environ), 0);
  EXPECT_EQ(WaitForSingleObject(event, 30'000), WAIT_OBJECT_0);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  CloseHandle(event);
}

// Whether a thread of this process sleeps in the kernel.
bool IsAsleep(DWORD thread) {
  std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string pid, name, state;
  status >> pid >> name >> state;
  return state == "S";
}

// A waiter is released although the reset follows the set at once.
TEST(NamedEventHost, SetThenResetReleasesManualWaiters) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, kName);
  for (int i = 0; i < 20; ++i) {
    std::atomic<DWORD> id{0};
    std::thread waiter([&] {
      id = GetCurrentThreadId();
      EXPECT_EQ(WaitForSingleObject(event, 10'000), WAIT_OBJECT_0);
    });
    while (id == 0 || !IsAsleep(id)) usleep(100);
    SetEvent(event);
    ResetEvent(event);
    waiter.join();
  }
  CloseHandle(event);
}

}  // namespace
