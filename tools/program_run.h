// One program of the machine, from its start to its end, with its output at this process's own streams.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/options.h"
#include "tools/output_pipe.h"

namespace tool {

class ProgramRun {
 public:
  explicit ProgramRun(const Options& options) : options_(options) {}

  // Starts a program ("program", "arguments", "identity", "directory" of process.run in `request`) and returns when it
  // has ended, everything it wrote until then having been passed on: its exit code, 128 and the signal's number for a
  // killed one, kInterrupted after Ctrl-C, which ends it; or the exit code of a failure that has been reported. What
  // the program leaves running goes on without an output. Call it once.
  int Run(nlohmann::json request);

 private:
  struct End;

  int Start(nlohmann::json request);
  void Follow(const End& end);
  int Result(const End& end) const;
  bool RelayBoth();
  void EndProgram();

  const Options& options_;
  std::string program_;
  std::uint64_t number_ = 0;
  int pid_ = 0;
  OutputPipe output_;
  OutputPipe errors_;
  bool ending_ = false;
};

}  // namespace tool
