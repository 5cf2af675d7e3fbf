// Who a process is, made readable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// `token` as the machine tells it, `users` the machine's accounts ({"user","sid"}): "LocalSystem, session 0",
// "anna, session 1, package Some.App_1234, app container, capability S-1-15-3-1". An account that is not
// the machine's shows by its SID.
std::string IdentityText(const nlohmann::json& token, const nlohmann::json& users);

}  // namespace tool
