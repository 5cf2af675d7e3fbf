// Asks the service to run a command of its allow-list with system rights.
#pragma once

#include "client/connection.h"
#include "client/status.h"
#include "platform/types.h"

namespace client {

struct RunRequest {
  WideString command;            // the identifier in the allow-list, never a path; upper and lower case are the same
  WideString parameters;         // appended to the command line as they stand: neither quoted nor checked; may be empty
  bool wait = true;              // answer when the program has ended; false: as soon as it runs
  bool inClientSession = false;  // run it in the caller's session, not in the services'
};

// Runs the command, over an open connection. Any thread; blocks until the service answers, which with `wait` is when
// the program ends, whenever that may be (client/call_thread.h makes the call elsewhere). On success `*exitCode` is the
// program's exit code, which may be any number, or 0 without `wait`. Refused with 0x80070005 where the calling package
// may not use this, 0x80004001 where the command is not in the allow-list, else with the code (0x8007xxxx) of what
// could not be done to start it. Without an answer of the service `*exitCode` stays as it is.
Status RunAsSystem(Connection& connection, const RunRequest& request, DWORD* exitCode);

}  // namespace client
