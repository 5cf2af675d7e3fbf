// The service's state, configuration and history, made readable.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// "running", "start pending", ..., or "state 9".
std::string StateName(std::uint32_t state);

// "running, process 4711"; a stopped one with how it ended: "stopped, exit code 1066 (...), service code 190".
std::string ServiceStateText(const nlohmann::json& service);

// Name, state and configuration over several lines.
std::string ServiceText(const nlohmann::json& service);

// One entry of the history: "12:34:56.789  control           stop, answered 0".
std::string HistoryLine(const nlohmann::json& entry);

}  // namespace tool
