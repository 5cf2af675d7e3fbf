// A program started by the tool, and its output.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tool {

// The folder of the running program: its companions lie beside it.
std::string ProgramFolder();

class ChildProcess {
 public:
  ChildProcess() = default;
  // Ends the program if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts `program` in a process group of its own (Ctrl-C at the terminal does not reach it), with this process's
  // environment and error stream; its standard output can be read at Output() when `readOutput`. Returns 0 or an errno
  // value. Call it once.
  int Start(const std::string& program, const std::vector<std::string>& arguments, bool readOutput);

  // A descriptor to read from, owned by this object; -1 when the output is not read.
  int Output() const { return output_; }
  pid_t Pid() const { return pid_; }

  // The exit status, 128 plus the signal for a killed program; nothing when it still runs after `patience`.
  std::optional<int> Wait(std::chrono::milliseconds patience);

  // Asks the program to end, then makes it. Harmless when it has ended.
  void Terminate();

 private:
  pid_t pid_ = 0;
  int output_ = -1;
  std::optional<int> ended_;
};

}  // namespace tool
