// Who a process of the machine is.
#pragma once

#include "platform/host/identity/token_facts.h"

namespace machine {

using Token = host::TokenFacts;
using host::kLocalSystemSid;
using host::ReadToken;
using host::SystemToken;
using host::ToJson;

}  // namespace machine
