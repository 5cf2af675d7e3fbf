// The operations "process.run", "process.list" and "process.end". Loop thread only.
#pragma once

#include "machine/op_registry.h"
#include "machine/process_table.h"
#include "machine/sessions.h"
#include "machine/user_store.h"

namespace machine {

// "process.run" {"program","arguments","identity"} answers {"pid"} once the program runs. Its token is that of the
// console's user, or of a plain local account in session 0 when nobody is logged on there, with the members of
// "identity" over it; the user may be given as "user", a name. Its output goes to the files "output" and "errorOutput",
// if they are named. All three outlive the operations.
void AddProcessOperations(OpRegistry& operations, ProcessTable& processes, UserStore& users, const Sessions& sessions);

// The token of a process from outside the machine, and of programs that are started without an identity.
Token OutsideToken(const Sessions& sessions);

}  // namespace machine
