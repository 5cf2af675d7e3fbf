// explain: what a code means.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/commands.h"
#include "tools/exit_codes.h"
#include "tools/explain_text.h"

namespace tool {
namespace {

int Explain(const Options& options, std::uint32_t code) {
  std::printf("%s\n", options.json ? ExplainJson(code).dump().c_str() : ExplainText(code).c_str());
  return IsKnownCode(code) ? kDone : kFailed;
}

std::string CodeError(const std::string& text) {
  return ParseCode(text) ? std::string() : "neither a number of 32 bits nor the name of a code: \"" + text + '"';
}

}  // namespace

void AddExplainCommand(CLI::App& app, Options& options) {
  CLI::App* command =
      app.add_subcommand("explain", "say what a code means, in general and from the service's interface");
  auto text = std::make_shared<std::string>();
  command->add_option("code", *text, "decimal, hexadecimal with 0x, negative, or a name")->required()->check(CodeError);
  command->callback(
      [&options, text] { options.action = [&options, text] { return Explain(options, *ParseCode(*text)); }; });
}

}  // namespace tool
