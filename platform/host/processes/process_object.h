// What a process handle stands for.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>

#include "platform/host/processes/token_object.h"

namespace host {

// A process by its number and start time, also after its end. Rows of the process table that are no real processes
// never end. Any thread.
class ProcessObject : public KernelObject, public TokenHolder {
 public:
  enum class Origin {
    kMachine,  // a program that the machine started at this process's wish
    kOther,
  };

  ProcessObject(pid_t pid, std::uint64_t startTime, TokenFacts token, Origin origin);
  ~ProcessObject() override;

  const char* Kind() const override { return "process"; }
  TokenFacts Token() const override { return token_; }
  DWORD Wait(const Deadline& deadline) override;

  // 0 with the exit code, STILL_ACTIVE while it runs; or the code to fail with.
  DWORD ReadExitCode(DWORD* exitCode);

 private:
  void OpenDescriptor();
  bool HasEndedBy(const Deadline& deadline) const;
  DWORD AskForEnd();

  const pid_t pid_;
  const std::uint64_t startTime_;
  const TokenFacts token_;
  const Origin origin_;
  bool over_ = false;    // it had ended before this object was made
  int descriptor_ = -1;  // readable once the process has ended; -1: over, a row only, or no descriptor was to be had
  std::atomic<std::int64_t> exitCode_{-1};  // negative: not known yet
};

}  // namespace host
