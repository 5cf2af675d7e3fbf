#include "tools/numbers.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>

namespace tool {

std::optional<std::uint32_t> ParseWord(std::string_view text) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  auto [rest, error] = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
  if (error != std::errc() || rest != end) return std::nullopt;
  return value;
}

std::string WordError(const std::string& text) {
  return ParseWord(text) ? std::string() : "not a number of 32 bits: \"" + text + '"';
}

std::optional<std::uint32_t> ParseSignedWord(std::string_view text) {
  if (!text.starts_with('-')) return ParseWord(text);
  std::int32_t value = 0;
  const char* end = text.data() + text.size();
  auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

std::string Hex(std::uint32_t word) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(word));
  return text;
}

CLI::Option* AddWord(CLI::App& app, const std::string& name, std::uint32_t* word, const std::string& help) {
  auto take = [word](const std::string& text) { *word = *ParseWord(text); };
  return app.add_option_function<std::string>(name, take, help)->check(WordError)->type_name("N");
}

}  // namespace tool
