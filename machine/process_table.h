// The processes of the machine. Programs are started here alone, each under a keeper (keeper.h), and stand in the table
// with their token before they run. Rows are published as `<runtime>/processes/<pid>`, so that looking up a
// peer costs no round trip. Loop thread only.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "machine/loop.h"
#include "machine/process_history.h"
#include "machine/process_request.h"

namespace machine {

class KeptProcess;

class ProcessTable {
 public:
  struct Settings {
    std::string runtimeFolder;
    std::string machineRoot;  // for HKD04A7_MACHINE; empty: the daemon's own environment says it
    std::string keeperProgram;
    // What a killed keeper leaves becomes this process's, which ends it. It is nobody's then: for whoever looks its
    // token up, the search ends at this process's row, which has none.
    bool adopts = false;
  };
  // What the one who launches a program hears of it, each at most once and in this order.
  struct Observer {
    // The program is in the table and about to run.
    std::function<void(pid_t pid)> entered;
    // It runs (0), or it does not: a Win32 code and a sentence; then there is no end to come.
    std::function<void(DWORD error, const std::string& message)> started;
    // The program itself has ended; what it started may still run.
    std::function<void(const ProcessEnd&)> ended;
  };

  ProcessTable(Loop& loop, Settings settings);
  // Every process has ended by then, or is left to its keeper, which ends it.
  ~ProcessTable();

  // The observer is called later, never from within. The program's number, which is never used again.
  std::uint64_t Launch(const ProcessRequest& request, Observer observer);

  // Ends the program and everything below it, in good part first. Harmless for an unknown pid: false.
  bool Terminate(pid_t pid);

  // Ends every process; `done` is called when none is left.
  void TerminateAll(std::function<void()> done);

  // The token of `pid`: its own, or that of its nearest ancestor in the table; none for a process from outside.
  std::optional<Token> TokenOf(pid_t pid) const;

  // Programs and what they left running, with their tokens.
  nlohmann::json Rows() const;
  bool empty() const { return processes_.empty(); }

  // Programs from the moment on at which they are about to run.
  ProcessHistory& history() { return history_; }

 private:
  friend class KeptProcess;
  void Remove(KeptProcess* process);
  void PublishAdopter() const;
  void EndAdopted() const;

  Loop& loop_;
  const Settings settings_;
  std::map<KeptProcess*, std::shared_ptr<KeptProcess>> processes_;
  std::vector<std::function<void()>> whenEmpty_;
  ProcessHistory history_;
  std::uint64_t nextNumber_ = 1;
};

}  // namespace machine
