#include "tools/device_numbers.h"

namespace tool {
namespace {

constexpr std::size_t kCallWords = 4;  // function and three arguments
constexpr unsigned kLastSwitch = 31;
constexpr unsigned kLastPhoneBit = 30;
constexpr std::uint32_t kFailureBit = 0x80000000;

std::optional<machine::DeviceAnswer> ParseAnswer(const std::string& text) {
  if (text == "fail") return machine::DeviceAnswer{0, 0};
  const auto word = ParseWord(text);
  if (!word) return std::nullopt;
  return machine::DeviceAnswer{1, *word};
}

std::optional<machine::DeviceFunction> ParseCall(const std::vector<std::string>& words) {
  std::uint32_t numbers[kCallWords];
  for (std::size_t i = 0; i < kCallWords; ++i) {
    const auto word = ParseWord(words[i]);
    if (!word) return std::nullopt;
    numbers[i] = *word;
  }
  return machine::DeviceFunction{numbers[0], numbers[1], numbers[2], numbers[3]};
}

}  // namespace

std::optional<ButtonPress> ParseButton(std::string_view text) {
  if (text == "one-touch") return ButtonPress{ButtonPress::Kind::OneTouch};
  if (text == "ir") return ButtonPress{ButtonPress::Kind::IrOpe};
  const auto word = ParseWord(text);
  if (!word || *word == 0 || (*word & kFailureBit) != 0) return std::nullopt;
  if (text.starts_with("0x") || text.starts_with("0X")) return ButtonPress{ButtonPress::Kind::SwitchMask, *word};
  if (*word > kLastSwitch) return std::nullopt;
  return ButtonPress{ButtonPress::Kind::Switch, *word};
}

std::string ButtonError(const std::string& text) {
  return ParseButton(text) ? std::string() : "not a button: " + text;
}

bool Press(machine::Device& device, const ButtonPress& press) {
  switch (press.kind) {
    case ButtonPress::Kind::Switch:
      return device.Press(press.number);
    case ButtonPress::Kind::SwitchMask:
      return device.PressMask(press.number);
    case ButtonPress::Kind::OneTouch:
      return device.OneTouch();
    case ButtonPress::Kind::IrOpe:
      return device.IrOpe();
  }
  return false;
}

std::optional<BitAnswer> ParseBitAnswer(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const auto bit = ParseWord(text.substr(0, equals));
  const auto word = ParseWord(text.substr(equals + 1));
  if (!bit || !word || *bit > kLastPhoneBit) return std::nullopt;
  return BitAnswer{*bit, *word};
}

std::optional<RawScript> ParseRawScript(const std::vector<std::string>& words) {
  if (words.size() < kCallWords + 2 || words[kCallWords] != "=") return std::nullopt;
  const auto call = ParseCall(words);
  if (!call) return std::nullopt;
  RawScript script{*call, {}, std::nullopt};
  for (std::size_t i = kCallWords + 1; i < words.size(); ++i) {
    const bool lasting = words[i] == "always" && i + 2 == words.size();
    const auto answer = ParseAnswer(words[lasting ? ++i : i]);
    if (!answer) return std::nullopt;
    if (lasting)
      script.lasting = answer;
    else
      script.answers.push_back(*answer);
  }
  return script;
}

}  // namespace tool
