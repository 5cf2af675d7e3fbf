// For options that take text: names and arguments reach the machine as Unicode or not at all.
#pragma once

#include <string>

namespace tool {

// What is wrong with `text`, empty when nothing is: it must be UTF-8.
std::string TextError(const std::string& text);

}  // namespace tool
