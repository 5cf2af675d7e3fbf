// The process table, read as a whole.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "platform/host/identity/token_facts.h"

namespace host {

struct ProcessRow {
  pid_t pid = 0;
  std::string name;  // of the program, without its folder
  TokenFacts token;
};

// The programs that run, and the rows that are no real processes, in the order of their numbers. Without keepers, and
// without what a program started itself. Any thread.
std::vector<ProcessRow> ListProcessRows();

}  // namespace host
