// The machine's packages, made readable.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace tool {

// The lines for one package of "package.list"; `running` is the list of that name in the same answer.
std::vector<std::string> PackageText(const nlohmann::json& package, const nlohmann::json& running);

}  // namespace tool
