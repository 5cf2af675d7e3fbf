#include "machine/task_action.h"

#include <charconv>

namespace machine {

namespace {

constexpr std::string_view kArgumentBegins = "$(Arg";

// The number of the argument that `text`, behind the opening, names; kMaxTaskArguments when it names none.
std::size_t ReadArgumentNumber(std::string_view text, std::size_t* length) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  *length = static_cast<std::size_t>(end - text.data());
  const bool plain = error == std::errc() && (*length == 1 || text.front() != '0');
  const bool closed = *length < text.size() && text[*length] == ')';
  return plain && closed && number < kMaxTaskArguments ? number : kMaxTaskArguments;
}

}  // namespace

std::string SubstituteArguments(std::string_view text, const std::vector<std::string>& arguments) {
  std::string result;
  for (std::size_t at = text.find(kArgumentBegins); at != text.npos; at = text.find(kArgumentBegins)) {
    std::size_t length = 0;
    const std::size_t number = ReadArgumentNumber(text.substr(at + kArgumentBegins.size()), &length);
    const bool named = number < kMaxTaskArguments;
    result += text.substr(0, named ? at : at + kArgumentBegins.size());
    if (number < arguments.size()) result += arguments[number];
    text.remove_prefix(at + kArgumentBegins.size() + (named ? length + 1 : 0));
  }
  return result.append(text);
}

std::string TaskCommandLine(const Task& task, const std::vector<std::string>& arguments) {
  const std::string line = '"' + task.program + '"';
  return task.arguments.empty() ? line : line + ' ' + SubstituteArguments(task.arguments, arguments);
}

}  // namespace machine
