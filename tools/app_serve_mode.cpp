#include "tools/app_serve_mode.h"

#include <CLI/CLI.hpp>

#include "tools/numbers.h"

namespace tool {
namespace {

using Kind = AppServeMode::Kind;

struct NamedKind {
  Kind kind;
  const char* option;
  const char* help;
};

constexpr NamedKind kKinds[] = {
    {Kind::kNever, "--never", "take messages and never answer"},
    {Kind::kRefuses, "--refuse", "refuse every connection"},
    {Kind::kDies, "--die", "end at once with the first message"},
};

}  // namespace

void AddModeOptions(CLI::App& command, const std::string& delayOption, AppServeMode* mode) {
  CLI::Option_group* choice = command.add_option_group("how it answers");
  choice->require_option(0, 1);
  AddWord(*choice, delayOption, &mode->delayMs, "answer each message so many milliseconds late");
  for (const NamedKind& named : kKinds)
    choice->add_flag_callback(
        named.option, [mode, kind = named.kind] { mode->kind = kind; }, named.help);
  AddWord(command, "--idle", &mode->idleMs, "end after so many milliseconds without a connection; 0: never");
}

std::vector<std::string> ModeArguments(const AppServeMode& mode) {
  std::vector<std::string> arguments;
  for (const NamedKind& named : kKinds)
    if (named.kind == mode.kind) arguments.push_back(named.option);
  if (mode.delayMs != 0) arguments.insert(arguments.end(), {"--delay", std::to_string(mode.delayMs)});
  if (mode.idleMs != 0) arguments.insert(arguments.end(), {"--idle", std::to_string(mode.idleMs)});
  return arguments;
}

}  // namespace tool
