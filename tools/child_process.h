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

  // Which of the program's streams are read at Output(); the others are this process's own.
  enum class Reads { Nothing, Output, OutputAndErrors };

  // Starts `program` in a process group of its own (Ctrl-C at the terminal does not reach it), with this process's
  // environment. Returns 0 or an errno value. Call it once.
  int Start(const std::string& program, const std::vector<std::string>& arguments, Reads reads);

  // A descriptor to read from, owned by this object; -1 when nothing is read.
  int Output() const { return output_; }
  // Waits up to `patience` for something at Output() and appends it to `text`. False at the end, or when nothing came.
  bool ReadSome(std::chrono::milliseconds patience, std::string* text);
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
