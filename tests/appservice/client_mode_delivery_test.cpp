// The client mode, with app services that the test plays: who is told, and the lines that say what became of it.
#include <gmock/gmock.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/clock.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/kernel/com.h"
#include "platform/registry.h"
#include "service/entry_point.h"
#include "tests/support/log_capture.h"
#include "tests/support/played_app_service.h"
#include "tests/support/registry_values.h"

using namespace std::chrono_literals;
using support::PlayedAppService;
using testing::Contains;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kPackage = "Quorvex.Panel_m3tq8v0kc2wna";
constexpr const char* kOther = "Other.App_m3tq8v0kc2wna";
const std::string kEnter = "NotifyEventByUwpAppService, enter (5, 00000007h, 00000009h)";
const std::string kMessage =
    R"({"hkd04a7event":{"type":"UInt32","value":5},"data1":{"type":"UInt32","value":7},"data2":{"type":"UInt32","value":9}})";

std::string Started(const std::string& package, const std::string& service) {
  return "RunRegisteredAppServiceCore, pfn=" + package + ", svc=" + service;
}
std::string Result(const char* result) {
  return std::string("RegisteredAppServiceResultCallback, hr=") + result;
}

// The process stands for the program in the session of Ada.
class ClientMode : public testing::Test {
 protected:
  ClientMode() {
    nlohmann::json user;
    EXPECT_EQ(machine.Call("session.logon", {{"user", "ada"}, {"remote", false}}, &user), 0u);
    self.userSid = user.at("sid");
    self.session = 1;
    host::SetOwnToken(self);
    support::SetNumber(support::kProductKey, W("EnableLog"), 1);
  }

  // A value of a registration key; `key` is the event's number, or both numbers with a hyphen.
  static void SetValue(const std::string& key, const std::string& name, DWORD type, const WideString& text,
                       std::size_t size) {
    const std::string path = "Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService\\" + key;
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, host::ToUtf16(path).c_str(), host::ToUtf16(name).c_str(), type,
                              text.c_str(), static_cast<DWORD>(size)),
              ERROR_SUCCESS);
  }
  static void Register(const std::string& key, const std::string& package, const std::string& service) {
    SetValue(key, package, REG_SZ, host::ToUtf16(service), (service.size() + 1) * sizeof(WCHAR));
  }

  // Runs the program, which always ends with 0; its lines, without the beginning "hkd04a7, " and the line feed.
  std::vector<std::string> Notify(unsigned eventId, unsigned data1 = 0, unsigned data2 = 0) {
    std::vector<WideString> words = {W("p"), W("-appservice")};
    const std::pair<const char*, unsigned> options[] = {{"-event", eventId}, {"-data1", data1}, {"-data2", data2}};
    for (const auto& [name, number] : options) {
      words.push_back(host::ToUtf16(name));
      words.push_back(host::ToUtf16(std::to_string(number)));
    }
    std::vector<WCHAR*> arguments;
    for (WideString& word : words) arguments.push_back(word.data());
    log.Take();
    EXPECT_EQ(Quorvex::PC::Hkd04a7::Service::RunProcess(static_cast<int>(arguments.size()), arguments.data()), 0);
    std::vector<std::string> lines;
    for (const std::string& line : log.Take()) lines.push_back(line.substr(9, line.find('\n') - 9));
    return lines;
  }

  // Of the lines of Notify those that say who is told.
  std::vector<std::string> Told(unsigned eventId) {
    std::vector<std::string> lines = Notify(eventId);
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("RunRegistered"); });
    return lines;
  }

  support::TestMachine machine;
  host::TokenFacts self;
  support::LogCapture log;
};

TEST_F(ClientMode, TellsEachRegistrationOnce) {
  PlayedAppService panel(machine, self, kPackage, "panel");
  PlayedAppService other(machine, self, kOther, "other");
  Register("5", kPackage, "panel");
  Register("5-7", kPackage, "panel");
  Register("5-7", kOther, "other");
  Register("5-8", kPackage, "panel");
  const std::string delivered = Result("00000000h, constat=0, res=1");
  EXPECT_THAT(Notify(5, 7, 9), UnorderedElementsAre(kEnter, Started(kPackage, "panel"), Started(kPackage, "panel"),
                                                    Started(kOther, "other"), delivered, delivered, delivered));
  EXPECT_THAT(panel.Messages(), ElementsAre(kMessage, kMessage)) << "registered under both keys";
  EXPECT_THAT(other.Messages(), ElementsAre(kMessage));
  EXPECT_THAT(Notify(6), ElementsAre(testing::HasSubstr("enter (6,"))) << "no registrations, nothing to wait for";
  Register("0", kPackage, "panel");
  EXPECT_THAT(Notify(0), ElementsAre(testing::HasSubstr("enter (0,")));
}

// Each step fails in turn and is reported once; without a message nothing is delivered.
TEST_F(ClientMode, ReportsTheStepThatFailed) {
  PlayedAppService panel(machine, self, kPackage, "panel");
  Register("5", kPackage, "panel");
  const struct {
    const char* call;
    unsigned nth;
    DWORD code;
    const char* result;  // of the delivery; null: there is no message
  } cases[] = {
      {"RoActivateInstance", 1, 0x80040154, nullptr},
      {"ValueSet.QueryInterface", 2, 0x80004002, nullptr},
      {"RoGetActivationFactory", 1, 0x80040154, nullptr},
      {"IPropertyValueStatics.CreateUInt32", 3, 0x8007000E, nullptr},
      {"IMap.Insert", 1, 0x8007000E, nullptr},
      {"RoActivateInstance", 2, 0x80040154, "80040154h, constat=4, res=0"},
      {"AppServiceConnection.QueryInterface", 1, 0x80004002, "80004002h, constat=4, res=0"},
      {"WindowsCreateString", 2, 0x8007000E, "8007000eh, constat=4, res=0"},
      {"IAppServiceConnection.put_AppServiceName", 1, 0x80070057, "80070057h, constat=4, res=0"},
      {"IAppServiceConnection.OpenAsync", 1, 0x8000000E, "8000000eh, constat=4, res=0"},
      {"IAsyncOperation.put_Completed", 1, 0x80000018, "80000018h, constat=4, res=0"},
      {"AppServiceConnection.Open", 1, 0x800706BA, "80004005h, constat=4, res=0"},
      {"IAsyncOperation.GetResults", 1, 0x80000013, "80000013h, constat=4, res=0"},
      {"IAppServiceConnection.SendMessageAsync", 1, 0x8000000E, "8000000eh, constat=0, res=0"},
      {"IAsyncOperation.put_Completed", 2, 0x80000018, "80000018h, constat=4, res=0"},
      {"IAsyncOperation.GetResults", 2, 0x80000013, "80000013h, constat=4, res=0"},
      {"AppServiceConnection.Send", 1, 0x800704C7, "800704c7h, constat=4, res=0"},
      {"AppServiceConnection.Send", 1, 0x80070005, "80004005h, constat=4, res=0"},
  };
  for (const auto& entry : cases) {
    host::FailCall(entry.call, entry.nth, entry.code);
    std::vector<std::string> expected = {kEnter, "NotifyEventByUwpAppService, Failed CreateEventDataValueSet"};
    if (entry.result != nullptr) expected = {kEnter, Started(kPackage, "panel"), Result(entry.result)};
    EXPECT_EQ(Notify(5, 7, 9), expected) << entry.call << " " << entry.nth;
    EXPECT_THAT(Notify(5, 7, 9), Contains(Result("00000000h, constat=0, res=1"))) << entry.call;
    EXPECT_EQ(host::ComInitializations(), 0) << entry.call;
    host::ClearFaults();
  }
  host::FailCall("RoInitialize", 1, 0x80070008);
  EXPECT_THAT(Notify(5, 7, 9), ElementsAre(kEnter, "NotifyEventByUwpAppService, Failed RoInitialize(), hr=80070008"));
}

TEST_F(ClientMode, SaysWhereThereIsNoOneToTell) {
  const PlayedAppService refusing(machine, self, kPackage, "refusing", nullptr);
  const PlayedAppService dying(machine, self, kPackage, "dying", [](auto&) { return std::nullopt; });
  const struct {
    const char *package, *service, *result;
  } cases[] = {
      {kOther, "panel", "00000000h, constat=1, res=0"},
      {kPackage, "unknown", "00000000h, constat=3, res=0"},
      {kPackage, "refusing", "00000000h, constat=3, res=0"},
      {kPackage, "dying", "00000000h, constat=0, res=1"},  // a response comes, which says that there was no answer
      {"", "panel", "80070057h, constat=4, res=0"},
  };
  for (unsigned number = 10; const auto& entry : cases) {
    Register(std::to_string(++number), entry.package, entry.service);
    EXPECT_THAT(Notify(number), Contains(Result(entry.result))) << entry.package << " " << entry.service;
  }
}

TEST_F(ClientMode, WaitsForTheSlowestWhileOthersAreThrough) {
  PlayedAppService slow(machine, self, kPackage, "slow", [&](const std::string& request) {
    EXPECT_TRUE(log.WaitFor("hkd04a7, " + Result("00000000h, constat=1, res=0") + "\n"));
    EXPECT_TRUE(log.WaitFor("hkd04a7, " + Result("00000000h, constat=0, res=1") + "\n"));
    return PlayedAppService::AnswerTo(request);
  });
  PlayedAppService quick(machine, self, kOther, "quick");
  Register("5", kPackage, "slow");
  Register("5", "Absent", "panel");
  Register("5", kOther, "quick");
  EXPECT_THAT(Notify(5, 7, 9), Contains(Result("00000000h, constat=0, res=1")).Times(2));
}

// Results keep arriving while further deliveries are being started; none of them may end the wait.
TEST_F(ClientMode, EndsWithTheLastResultHoweverEarlyOthersArrive) {
  for (char letter = 'A'; letter <= 'H'; ++letter) Register("5", std::string("Absent") + letter, "panel");
  for (int round = 0; round < 100; ++round) {
    ASSERT_THAT(Notify(5, 7, 9), Contains(Result("00000000h, constat=1, res=0")).Times(8));
  }
}

TEST_F(ClientMode, ReadsRegistrationsThatFit) {
  const std::string s198(198, 's');
  const std::string s199 = s198 + "!";
  const struct {
    std::size_t nameLength;
    DWORD type;
    std::string data;
    std::size_t size;  // in bytes
    const char* told;  // null: passed over
  } cases[] = {
      {199, REG_SZ, "svc", 8, "svc"},        {200, REG_SZ, "svc", 8, nullptr},
      {1, REG_SZ, "svc", 6, "svc"},   // not terminated
      {1, REG_SZ, "svc!", 7, "svc"},  // half a character
      {1, REG_SZ, s198, 398, s198.c_str()},  {1, REG_SZ, s198 + "!", 399, s199.c_str()},
      {1, REG_SZ, s198 + "!", 400, nullptr}, {1, REG_SZ, s198 + s198, 602, nullptr},
      {1, REG_EXPAND_SZ, "svc", 8, nullptr}, {1, REG_MULTI_SZ, "svc", 8, nullptr},
  };
  for (unsigned number = 0; const auto& entry : cases) {
    const std::string key = std::to_string(++number);
    const std::string name(entry.nameLength, 'p');
    SetValue(key, name, entry.type, host::ToUtf16(entry.data), entry.size);
    Register(key, "last", "behind");
    std::vector<std::string> expected = {Started("last", "behind")};
    // A line has 199 characters, with "hkd04a7, " and without the line feed that is cut off.
    if (entry.told != nullptr) expected.insert(expected.begin(), Started(name, entry.told).substr(0, 190));
    EXPECT_EQ(Told(number), expected) << "case " << number;
  }
}

TEST_F(ClientMode, ReadsOnPastAValueThatFails) {
  for (const char* package : {"a", "b", "c"}) Register("5", package, "panel");
  host::FailCall("RegEnumValueW", 2, ERROR_ACCESS_DENIED);
  EXPECT_THAT(Told(5), ElementsAre(Started("a", "panel"), Started("c", "panel")));
  host::FailEveryCall("RegEnumValueW", ERROR_KEY_DELETED);
  EXPECT_THAT(Notify(5), ElementsAre(testing::HasSubstr("enter"))) << "a key that has gone fails at every index";
}

TEST_F(ClientMode, IsPutOffAfterResumeAndLogon) {
  host::FreezeClock();
  Notify(37);  // sleeps for ever if it sleeps, and so do the later ones
  const WCHAR* const key = W("System\\CurrentControlSet\\Services\\Hkd04a7DriverUtilityService\\Utility");
  support::SetNumber(key, W("AppServiceDelayOnResume"), 3000);
  support::SetNumber(key, W("AppServiceDelayOnLogon"), 1500);
  const struct {
    unsigned eventId, data1;
    std::chrono::milliseconds delay;
  } cases[] = {{37, 0, 3000ms}, {41, 5, 1500ms}};
  for (const auto& entry : cases) {
    const auto end = host::MonotonicNow() + entry.delay;
    host::AtCall("RoInitialize", [&] { EXPECT_EQ(host::MonotonicNow(), end) << "nothing is touched before"; });
    std::thread delivery([&] { Notify(entry.eventId, entry.data1); });
    while (host::SleepingThreads() == 0) std::this_thread::yield();
    host::MoveClock(entry.delay - 1ms);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(host::SleepingThreads(), 1u);
    host::MoveClock(1ms);
    delivery.join();
    host::ClearFaults();
  }
  Notify(41, 6);
  Notify(42, 5);
  support::SetText(key, W("AppServiceDelayOnLogon"), W("1500"));
  Notify(41, 5);
  host::ThawClock();
}

}  // namespace
