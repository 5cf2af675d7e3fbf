// Processes below the test's, and a machine's process table as the daemon writes it.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/host/base/process_stat.h"
#include "platform/host/identity/process_token.h"
#include "tests/platform/temporary_machine.h"

inline const host::TokenFacts kContained{"S-1-5-21-1-2-3-1001",         2,    false,
                                         "Quorvex.Panel_m3tq8v0kc2wna", true, {"S-1-15-3-1"}};
inline const host::TokenFacts kPlain{host::kLocalServiceSid, 0, false, "", false, {}};

// Children that live until they are told to end: `depth` processes below this one, the last of which is asked about.
class Family {
 public:
  explicit Family(int depth) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    first_ = fork();
    if (first_ == 0) Live(depth, ends[1]);
    close(ends[1]);
    EXPECT_EQ(read(ends[0], &last_, sizeof(last_)), static_cast<ssize_t>(sizeof(last_)));
    close(ends[0]);
  }
  ~Family() {
    kill(last_, SIGKILL);
    waitpid(first_, nullptr, 0);
  }
  Family(const Family&) = delete;
  Family& operator=(const Family&) = delete;

  pid_t first() const { return first_; }
  pid_t last() const { return last_; }

 private:
  [[noreturn]] static void Live(int depth, int out) {
    if (depth > 1) {
      const pid_t child = fork();
      if (child == 0) Live(depth - 1, out);
      waitpid(child, nullptr, 0);
      _exit(0);
    }
    const pid_t self = getpid();
    if (write(out, &self, sizeof(self)) != sizeof(self)) _exit(1);
    for (;;) pause();
  }

  pid_t first_ = 0;
  pid_t last_ = 0;
};

class IdentityTest : public testing::Test {
 protected:
  ~IdentityTest() override { host::SetOwnToken(std::nullopt); }

  void Enter(pid_t pid, const host::TokenFacts& token, std::uint64_t startTime) {
    Write("processes/" + std::to_string(pid),
          nlohmann::json{{"startTime", startTime}, {"token", ToJson(token)}}.dump());
  }
  void Enter(pid_t pid, const host::TokenFacts& token) { Enter(pid, token, host::ProcessStartTime(pid)); }
  void Write(const std::string& name, const std::string& text) {
    std::filesystem::create_directory(machine_.Runtime() + "/processes");
    const std::string path = machine_.Runtime() + "/" + name;
    std::ofstream(path + ".new") << text;
    std::filesystem::rename(path + ".new", path);
  }
  void Publish(unsigned console, const nlohmann::json& sessions) {
    Write("sessions.json", nlohmann::json{{"console", console}, {"sessions", sessions}}.dump());
  }

  TemporaryMachine machine_;
};
