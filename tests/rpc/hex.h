// Bytes as people write them: "05 00 0b". Blanks and line ends are passed over.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

std::vector<std::byte> FromHex(std::string_view text);
std::string ToHex(std::span<const std::byte> bytes);
