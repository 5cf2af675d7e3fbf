// What a code of the interface, the platform or the machine means.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace tool {

// A code as people have it: decimal, hexadecimal, negative, or its name in any letter case. Nothing when it is none.
// Pure.
std::optional<std::uint32_t> ParseCode(const std::string& text);

// Whether anything but the number is known of it. Pure.
bool IsKnownCode(std::uint32_t code);

// Its numbers and name, and what it means when the interface answers it; several lines, without the last line end.
// Pure.
std::string ExplainText(std::uint32_t code);
nlohmann::ordered_json ExplainJson(std::uint32_t code);

}  // namespace tool
