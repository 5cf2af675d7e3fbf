// A UUID as text: "664dee24-d6e1-412e-b15d-31f8a4d04876".
#pragma once

#include <string>

#include "platform/host/base/types.h"

namespace host::rpc {

std::string UuidText(const UUID& uuid);

}  // namespace host::rpc
