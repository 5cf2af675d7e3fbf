// How an app service that the tool plays behaves, as the command line says it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

struct AppServeMode {
  enum class Kind { kAnswers, kNever, kRefuses, kDies };

  Kind kind = Kind::kAnswers;
  std::uint32_t delayMs = 0;  // of each answer, from its message on
  std::uint32_t idleMs = 0;   // it ends when nobody was connected for so long; 0: never
};

// Adds the options --never, --refuse, --die, --idle and `delayOption`, of which the first three exclude each other and
// the last. `mode` outlives the parsing.
void AddModeOptions(CLI::App& command, const std::string& delayOption, AppServeMode* mode);

// The mode as options of "app serve".
std::vector<std::string> ModeArguments(const AppServeMode& mode);

}  // namespace tool
