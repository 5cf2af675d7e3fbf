// The process that each interactive session has of its own: "winlogon.exe", as LocalSystem. It is a row of the process
// table and nothing else, with a number that no real process has. Loop thread only.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "machine/op_registry.h"
#include "machine/sessions.h"

namespace machine {

class SessionProcesses {
 public:
  // Follows `sessions` from its next change on; both live equally long.
  SessionProcesses(std::string runtimeFolder, Sessions& sessions);

  // Forgets everything, also what was made different, before the sessions boot.
  void Boot() { rows_.clear(); }

  // "session.winlogon" {"session"} and what is to be different: "present", "name", "system" (false: it runs as a plain
  // local account). A process that was missing comes back with another number.
  void AddOperations(OpRegistry& operations);

  // Those that are there, as they are published: {"pid","name","token","role"}.
  nlohmann::json Rows() const;

 private:
  struct Row {
    std::uint32_t pid;
    bool present = true;
    std::string name = "winlogon.exe";
    bool system = true;
  };

  void Follow();
  void Change(const Request& request);
  static nlohmann::json Published(std::uint32_t session, const Row& row);
  void Publish(std::uint32_t session, const Row& row) const;
  void Withdraw(const Row& row) const;
  std::string Path(const Row& row) const;
  std::uint32_t NewPid();

  const std::string folder_;
  Sessions& sessions_;
  std::map<std::uint32_t, Row> rows_;  // by session
  std::uint32_t nextPid_;
};

}  // namespace machine
