// One row of the process table and the daemon's end of its keeper. Loop thread only.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "machine/frame_channel.h"
#include "machine/process_table.h"

namespace machine {

class KeptProcess : public std::enable_shared_from_this<KeptProcess> {
 public:
  KeptProcess(ProcessTable& table, std::uint64_t number, ProcessRequest request, ProcessTable::Observer observer);
  ~KeptProcess();
  KeptProcess(const KeptProcess&) = delete;
  KeptProcess& operator=(const KeptProcess&) = delete;

  // Starts the keeper and hands it the program. False, with errno, when there is no keeper to be had.
  bool Begin();
  void Terminate();

  pid_t pid() const { return pid_; }
  pid_t keeper() const { return keeper_; }
  const Token& token() const { return request_.token; }
  // The keeper counts too: what its program leaves running becomes its child.
  bool Covers(pid_t pid) const { return pid == keeper_ || (pid == pid_ && !over_); }
  nlohmann::json Row() const;

 private:
  bool SpawnKeeper(int socket);
  nlohmann::json KeeperRequest() const;
  nlohmann::json Environment() const;
  void HandleKeeper();
  void HandleMessage(const nlohmann::json& message);
  void EnterChild(pid_t child);
  void FailStart(DWORD error, const std::string& message);
  void End(const ProcessEnd& end);
  void HandleKeeperGone();
  void Publish(pid_t pid) const;
  void Withdraw(pid_t pid) const;

  ProcessTable& table_;
  const std::uint64_t number_;
  const ProcessRequest request_;
  ProcessTable::Observer observer_;
  std::optional<FrameChannel> channel_;
  pid_t keeper_ = -1;
  pid_t pid_ = -1;
  bool terminating_ = false;
  bool over_ = false;  // the program itself has ended; what it started may still run
};

}  // namespace machine
