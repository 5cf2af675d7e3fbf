// The program under a keeper, from the fork to the exec.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "machine/unique_descriptor.h"

namespace machine {

// What a child runs, prepared before the fork so that nothing is allocated after it.
struct ChildProgram {
  std::string path;
  std::vector<std::string> arguments;    // all of them, what the program is called first
  std::vector<std::string> environment;  // "NAME=value", all of it
  std::string directory;                 // the current one to begin with; empty: the keeper's
  bool belowNormal = false;              // its priority
  std::string output;                    // file that takes standard output, made when missing
  std::string errorOutput;               // the same for standard error
};

// A forked child that waits. One caller thread.
class KeeperChild {
 public:
  // False with errno when the child cannot be made.
  bool Fork(const ChildProgram& program);

  pid_t pid() const { return pid_; }

  // Lets the child run its program. Returns 0 when the program runs, else the errno of what failed: an output that
  // cannot be opened, the directory, the exec.
  int Go();

  // Ends a child that has not been let go.
  void Abandon() { go_.Close(); }

 private:
  pid_t pid_ = -1;
  UniqueDescriptor go_;
  UniqueDescriptor result_;
};

}  // namespace machine
