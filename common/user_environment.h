// The environment of a program that is started with a user's token.
#pragma once

#include "common/handles.h"

namespace Quorvex::PC::Common {

// The environment of the token's user (TOKEN_QUERY and TOKEN_DUPLICATE), with nothing of the service's own; empty, with
// the last error telling why, when there is none to be had.
inline UniqueEnvironmentBlock CreateUserEnvironment(HANDLE token) {
  UniqueEnvironmentBlock environment;
  if (!CreateEnvironmentBlock(environment.Receive(), token, FALSE)) environment.Release();
  return environment;
}

}  // namespace Quorvex::PC::Common
