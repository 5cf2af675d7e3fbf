// Numbers as people type them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tool {

// Decimal, or hexadecimal with 0x; at most 32 bits. Nothing when the text is none. Pure.
std::optional<std::uint32_t> ParseWord(std::string_view text);

// For options that take such a word: what is wrong with `text`, empty when nothing is.
std::string WordError(const std::string& text);

// The same, or a negative number of 32 bits, as a code is often shown: -2147467259. Pure.
std::optional<std::uint32_t> ParseSignedWord(std::string_view text);

// "0x40000401". Pure.
std::string Hex(std::uint32_t word);

// Adds an option, or a positional, that takes such a word; `word` outlives the parsing and keeps its value when the
// option is not given.
CLI::Option* AddWord(CLI::App& app, const std::string& name, std::uint32_t* word, const std::string& help);

}  // namespace tool
