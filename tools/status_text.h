// The machine's status, made readable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// `status` as the daemon tells it, with "runtime" added. Several lines, without the last line end; parts
// that are missing are left out.
std::string StatusText(const nlohmann::json& status);

}  // namespace tool
