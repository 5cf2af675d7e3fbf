// A part of the registry as text, one JSON object a line: {"key"} for each key, a key before what it holds, followed by
// {"key","name","type","data"} for each of its values.
#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tools/registry_path.h"

namespace tool {

// One line: a key, or a value in it.
struct RegistryLine {
  RegistryPath path;
  bool hasValue = false;
  WideString name;
  RegistryValue value;
};

// Writes the key `path`, which ParseRegistryPath takes, and all below it. Returns the Win32 code,
// ERROR_NO_UNICODE_TRANSLATION when a name cannot be written as text; `out` is of no use after a failure.
LSTATUS WriteRegistryText(std::ostream& out, const std::string& path, REGSAM view);

// Reads such a text to its end. Nothing when a line is not understood; its number, from 1, is then in `*badLine`.
std::optional<std::vector<RegistryLine>> ReadRegistryText(std::istream& in, std::size_t* badLine);

// Creates the key, or writes the value, of one line. Returns the Win32 code.
LSTATUS ApplyRegistryLine(const RegistryLine& line, REGSAM view);

}  // namespace tool
