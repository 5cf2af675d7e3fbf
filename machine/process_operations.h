// The operations "process.run", "wait", "list", "history" and "end". Loop thread only.
#pragma once

#include "machine/op_registry.h"
#include "machine/process_table.h"
#include "machine/sessions.h"
#include "machine/user_store.h"

namespace machine {

// "process.run" {"program", a whole path, "arguments", "identity"} answers {"pid","number","startTime"} once the
// program runs, or why it does not. Its token is that of the console's user, or of a plain local account in session 0
// when nobody is logged on there, with the members of "identity" over it; the user may be given as "user", a name.
// Other members: "commandLine" instead of "arguments", split as SplitCommandLine says; "environment", a list of all
// "NAME=value" instead of the daemon's; "directory"; "belowNormal", its priority; "output" and "errorOutput", files
// that take what it writes.
//
// "process.wait" {"number"}, or {"pid"} and perhaps {"startTime"}, answers {"pid","exitCode"} and, ended by a signal,
// {"signal"} when the program has ended; "process.history" lists the programs of the past. All three outlive the
// operations.
void AddProcessOperations(OpRegistry& operations, ProcessTable& processes, UserStore& users, const Sessions& sessions);

// The token of a process from outside the machine, and of programs that are started without an identity.
Token OutsideToken(const Sessions& sessions);

}  // namespace machine
