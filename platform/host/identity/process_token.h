// Which token a process of the machine has.
//
// The daemon enters every program it starts in the process table, `<runtime>/processes/<pid>`, before it runs. A
// process that is not in the table has the token of its nearest ancestor that is; without one it comes from outside.
// Reading the table costs no round trip. Any thread.
#pragma once

#include <sys/types.h>

#include <optional>

#include "platform/host/identity/token_facts.h"

namespace host {

// Rows from this number up are no real processes: they stand for the platform's own, such as a session's logon process.
inline constexpr pid_t kFirstRowOnly = 0x40000000;

// The token of a process from outside: the console user's plain one, and with nobody there that of a plain local
// account (LocalService) in session 0.
TokenFacts OutsideToken();

// The token of `pid`: its own in the table, or that of its nearest ancestor there, or the outside one. None when there
// is no such process, neither a row nor a living one, and when its row cannot be read.
std::optional<TokenFacts> TokenOfProcess(pid_t pid);

// The token of this process: the one set below, else as TokenOfProcess says, and where that says nothing (its row
// cannot be read) one that says least: that of a plain local account (LocalService) in session 0.
TokenFacts OwnToken();

// For tests whose process stands for another: makes `facts` this process's own token, with no privilege enabled; none
// takes it back.
void SetOwnToken(std::optional<TokenFacts> facts);

}  // namespace host
