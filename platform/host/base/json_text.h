// JSON strings for the logs, which are written by hand: a record is one write.
#pragma once

#include <string>
#include <string_view>

namespace host {

// `text` (UTF-8) as a JSON string, in its double quotes.
std::string JsonText(std::string_view text);

}  // namespace host
