#include "tools/explain_text.h"

#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "client/interface_answers.h"
#include "tools/numbers.h"

namespace tool {
namespace {

using client::InterfaceAnswer;
using nlohmann::ordered_json;

constexpr std::uint32_t kFailure = 0x80000000;
constexpr std::uint32_t kLastResult = 1;  // up to here a result has a name of its own

std::int32_t Signed(std::uint32_t code) {
  return static_cast<std::int32_t>(code);
}

// The Win32 code that an HRESULT carries; nothing for others.
std::optional<std::uint32_t> CarriedCode(std::uint32_t code) {
  const bool carries = (code & 0xFFFF0000) == 0x80070000 && (code & 0xFFFF) != 0;
  return carries ? std::optional(code & 0xFFFF) : std::nullopt;
}

std::string NumbersText(std::uint32_t code) {
  std::string text = Hex(code) + ", " + std::to_string(code);
  return (code & kFailure) != 0 ? text + ", " + std::to_string(Signed(code)) : text;
}

std::string NamesText(std::uint32_t code) {
  std::string text;
  if (!client::CodeName(code).empty())
    text.append("\n  ").append(client::CodeName(code)).append(": ").append(client::CodeMeaning(code));
  if (code <= kLastResult) text += "\n  as a result: " + std::string(client::ResultName(code));
  if (const auto carried = CarriedCode(code)) text += "\n  as a result it carries the code " + std::to_string(*carried);
  return text;
}

std::string AnswerText(const InterfaceAnswer& answer) {
  const char* layer = answer.fromRuntime ? "from the runtime, " : "result of ";
  return std::string("\n  ").append(layer).append(answer.from).append(": ").append(answer.meaning);
}

ordered_json AnswerJson(const InterfaceAnswer& answer) {
  return {{"layer", answer.fromRuntime ? "runtime" : "procedure"}, {"from", answer.from}, {"meaning", answer.meaning}};
}

}  // namespace

std::optional<std::uint32_t> ParseCode(const std::string& text) {
  const std::optional<std::uint32_t> number = ParseSignedWord(text);
  return number ? number : client::CodeOfName(text);
}

bool IsKnownCode(std::uint32_t code) {
  return !client::CodeName(code).empty() || !client::InterfaceAnswers(code).empty();
}

std::string ExplainText(std::uint32_t code) {
  std::string text = NumbersText(code) + NamesText(code);
  for (const InterfaceAnswer& answer : client::InterfaceAnswers(code)) text += AnswerText(answer);
  return IsKnownCode(code) ? text : text + "\n  not known here";
}

ordered_json ExplainJson(std::uint32_t code) {
  ordered_json answers = ordered_json::array();
  for (const InterfaceAnswer& answer : client::InterfaceAnswers(code)) answers.push_back(AnswerJson(answer));
  ordered_json object = {{"code", code},
                         {"hex", Hex(code)},
                         {"signed", Signed(code)},
                         {"name", client::CodeName(code)},
                         {"meaning", client::CodeMeaning(code)}};
  if (code <= kLastResult) object["result"] = client::ResultName(code);
  if (const auto carried = CarriedCode(code)) object["carries"] = *carried;
  object["answers"] = answers;
  return object;
}

}  // namespace tool
