#include "machine/command_line.h"

#include <algorithm>
#include <utility>

namespace machine {

namespace {

constexpr std::string_view kBlanks = " \t";

// Takes `count` characters off the front.
std::string_view Take(std::string_view* rest, std::size_t count) {
  const std::string_view taken = rest->substr(0, count);
  rest->remove_prefix(taken.size());
  return taken;
}

void SkipBlanks(std::string_view* rest) {
  Take(rest, std::min(rest->find_first_not_of(kBlanks), rest->size()));
}

std::string TakeProgramName(std::string_view* rest) {
  if (!rest->starts_with('"')) return std::string(Take(rest, rest->find_first_of(kBlanks)));
  Take(rest, 1);
  const std::string_view name = Take(rest, rest->find('"'));
  Take(rest, 1);
  return std::string(name);
}

std::string TakeArgument(std::string_view* rest) {
  std::string argument;
  bool quoted = false;
  while (!rest->empty() && (quoted || kBlanks.find(rest->front()) == std::string_view::npos)) {
    const std::size_t backslashes = Take(rest, rest->find_first_not_of('\\')).size();
    if (!rest->starts_with('"')) {
      argument.append(backslashes, '\\');
      // What follows backslashes may be a blank that ends the argument.
      if (backslashes == 0) argument += Take(rest, 1);
      continue;
    }
    argument.append(backslashes / 2, '\\');
    const std::string_view mark = Take(rest, 1);
    if (backslashes % 2 != 0) {
      argument += mark;
    } else {
      quoted = !quoted;
    }
  }
  return argument;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view line) {
  std::vector<std::string> arguments;
  if (line.empty()) return arguments;
  arguments.push_back(TakeProgramName(&line));
  for (SkipBlanks(&line); !line.empty(); SkipBlanks(&line)) arguments.push_back(TakeArgument(&line));
  return arguments;
}

}  // namespace machine
