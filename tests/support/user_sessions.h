// A machine with two people logged on, and the programs that the service starts for them.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/host/identity/process_token.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/registry.h"
#include "service/debug_log.h"
#include "tests/support/log_capture.h"
#include "tests/support/test_machine.h"

namespace support {

// The process stands for the service: LocalSystem, with its log switched on. Ada sits at the console, in session 1, and
// Bob works in session 2 from afar; both are active.
class UserSessions : public testing::Test {
 protected:
  UserSessions() : adaSid(LogOn("ada", false)), bobSid(LogOn("bob", true)) {
    host::SetOwnToken(host::SystemToken());
    Quorvex::PC::Hkd04a7::g_enableLog = true;
  }
  ~UserSessions() override { host::SetExecutablePath({}); }

  std::string LogOn(const char* user, bool remote) {
    nlohmann::json reply;
    EXPECT_EQ(machine.Call("session.logon", {{"user", user}, {"remote", remote}}, &reply), 0u);
    return reply.at("sid");
  }
  // A registration of the user's; `key` is the event's number, or both numbers with a hyphen.
  static void Register(const std::string& sid, const std::string& key) {
    const std::string path =
        sid + "\\Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService\\" + key;
    ASSERT_EQ(RegSetKeyValueW(HKEY_USERS, std::u16string(path.begin(), path.end()).c_str(), W("P"), REG_DWORD, "", 0),
              ERROR_SUCCESS);
  }
  // "user session: command line", of each program started for app services since the last look.
  std::vector<std::string> TakeStarted() {
    nlohmann::json reply;
    EXPECT_EQ(machine.Call("process.history", {}, &reply), 0u);
    std::vector<std::string> started;
    for (; taken_ < reply.at("programs").size(); ++taken_) {
      const auto& program = reply.at("programs")[taken_];
      const std::string commandLine = program.at("commandLine"), sid = program.at("token").at("userSid");
      if (commandLine.find("-appservice") == std::string::npos) continue;
      started.push_back((sid == adaSid   ? "ada "
                         : sid == bobSid ? "bob "
                                         : sid + " ") +
                        program.at("token").at("session").dump() + (program.at("belowNormal") ? " below" : "") + ": " +
                        commandLine);
    }
    return started;
  }

  TestMachine machine;
  LogCapture log;
  const std::string adaSid, bobSid;

 private:
  std::size_t taken_ = 0;
};

}  // namespace support
