#include "tools/doctor_names.h"

#include <algorithm>

#include "tools/event_text.h"
#include "tools/numbers.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

constexpr std::uint32_t kLastEvent = 42;
constexpr std::uint32_t kLastSwitch = 31;
constexpr std::uint32_t kInvalidAnswer = 0x80000000;
constexpr std::size_t kShownName = 60;

WCHAR FoldCase(WCHAR unit) {
  return unit >= 'a' && unit <= 'z' ? static_cast<WCHAR>(unit - 'a' + 'A') : unit;
}

// The answer of a button: bit 30 is set, and bits 8 to 15 name the button, or nothing else is set.
bool IsButtonAnswer(std::uint32_t answer, std::uint32_t kind) {
  return answer == 0x40000000 || ((answer & 0x40000000) != 0 && (answer & 0xFF00) == kind);
}

std::string SwitchDataFault(std::uint32_t event, std::uint32_t data1) {
  const std::uint32_t bit = 1u << (event - 1);
  return (data1 & bit) != 0 ? "" : "its data1 is the mask of all pressed switches, which then has " + Hex(bit) + " set";
}

}  // namespace

std::optional<std::uint32_t> ReadNumber(WideStringView text) {
  if (text.empty() || text.size() > 10 || (text[0] == '0' && text.size() > 1)) return std::nullopt;
  std::uint64_t number = 0;
  for (const WCHAR digit : text) {
    if (digit < '0' || digit > '9') return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(digit - '0');
  }
  return number <= 0xFFFFFFFF ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

std::optional<std::uint32_t> GuessNumber(const WideString& text) {
  std::string digits = ToNarrow(text);
  std::erase(digits, ' ');
  return ParseWord(digits);
}

std::optional<EventKeyName> ReadEventKeyName(const WideString& name) {
  const std::size_t dash = name.find('-');
  const auto event = ReadNumber(WideStringView(name).substr(0, dash));
  if (!event) return std::nullopt;
  if (dash == WideString::npos) return EventKeyName{*event, std::nullopt};
  const auto data1 = ReadNumber(WideStringView(name).substr(dash + 1));
  return data1 ? std::optional(EventKeyName{*event, data1}) : std::nullopt;
}

std::string WhyNoSuchEvent(std::uint32_t event) {
  if (event == 0) return "identifier 0 carries no event";
  if (event > kLastEvent) return "events above " + std::to_string(kLastEvent) + " are dropped";
  return event == 39 ? "nothing makes event 39" : "";
}

std::string WhyNoSuchData1(std::uint32_t event, std::uint32_t data1) {
  if (event >= 1 && event <= 36 && (data1 & kInvalidAnswer) != 0) return "an answer with bit 31 set makes no event";
  if (event >= 1 && event <= kLastSwitch) return SwitchDataFault(event, data1);
  switch (event) {
    case 32:
      return IsButtonAnswer(data1, 0x400) ? "" : "its data1 is 0x40000000, or has bit 30 set and 0x04 in bits 8 to 15";
    case 33:
      return IsButtonAnswer(data1, 0x300) ? "" : "its data1 is 0x40000000, or has bit 30 set and 0x03 in bits 8 to 15";
    case 34:
      return (data1 & 1) != 0 ? "" : "its data1 has bit 0 set";
    case 35:
      return (data1 & 3) != 0 ? "" : "its data1 has bit 0 or bit 1 set";
    case 36:
    case 40:
      return data1 <= 30 ? "" : "its data1 is the number of a bit, 0 to 30";
    case 37:
      return data1 == 0 ? "" : "its data1 is always 0";
    case 38:
      return data1 == 1 ? "" : "its data1 is always 1";
    case 42:
      return data1 != 0 ? "" : "its data1 is an index from 1 on";
    default:
      return "";
  }
}

std::string WhyNoSource(std::uint32_t event, const DeviceSources& device) {
  const auto lacks = [&](bool has) { return has ? "" : "the device says it has no " + EventSource(event); };
  if (event >= 1 && event <= kLastSwitch)
    return device.appSwitch ? "" : "the device says it has no application switches";
  switch (event) {
    case 32:
    case 33:
      return lacks(device.buttons);
    case 34:
      return lacks(device.accelerationSensor);
    case 35:
      return lacks(device.emergency);
    case 36:
      return lacks(device.phonePc);
    case 38:
      return lacks(device.embeddedController);
    case 40:
      return lacks(device.function1015);
    case 42:
      return lacks(device.function101CCount != 0);
    default:
      return "";
  }
}

bool SameName(WideStringView left, WideStringView right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](WCHAR one, WCHAR other) { return FoldCase(one) == FoldCase(other); });
}

WideString FirstText(const RegistryValue& value) {
  const auto* units = reinterpret_cast<const WCHAR*>(value.data.data());
  const WideStringView text(units, value.data.size() / sizeof(WCHAR));
  return WideString(text.substr(0, text.find(WCHAR{0})));
}

std::string Quoted(const WideString& name) {
  if (name.size() <= kShownName) return '"' + ToNarrow(name) + '"';
  return '"' + ToNarrow(name.substr(0, kShownName)) + "...\" (" + std::to_string(name.size()) + " characters)";
}

std::string ShellWord(const std::string& word) {
  std::string quoted = "'";
  for (const char character : word) {
    if (character == '\'')
      quoted += "'\\''";
    else
      quoted += character;
  }
  return quoted + "'";
}

std::string DeleteCommand(const Place& place) {
  std::string command = "hkd04a7ctl reg ";
  if (place.view == 32) command += "--view 32 ";
  command += "delete " + ShellWord(place.key);
  return place.value ? command + ' ' + ShellWord(*place.value) : command + " --tree";
}

}  // namespace tool::doctor
