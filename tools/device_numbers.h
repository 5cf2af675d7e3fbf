// What people type for the device: buttons, words and scripts, read into the device's own terms. Pure functions; each
// answers nothing when the text is not understood.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine/device.h"
#include "tools/numbers.h"

namespace tool {

struct ButtonPress {
  enum class Kind { Switch, SwitchMask, OneTouch, IrOpe };
  Kind kind;
  std::uint32_t number = 0;  // of the switch, or the mask
};

// "3", "0x5" (a mask, bit 31 clear, not 0), "one-touch", "ir".
std::optional<ButtonPress> ParseButton(std::string_view text);
// For options that take a button: what is wrong with `text`, empty when nothing is.
std::string ButtonError(const std::string& text);
bool Press(machine::Device& device, const ButtonPress& press);

struct BitAnswer {
  unsigned bit;
  std::uint32_t word;
};

// "2=0x11"
std::optional<BitAnswer> ParseBitAnswer(std::string_view text);

struct RawScript {
  machine::DeviceFunction call;
  std::vector<machine::DeviceAnswer> answers;
  std::optional<machine::DeviceAnswer> lasting;
};

// {"0x101C", "3", "2", "0", "=", "7", "fail", "always", "0"}: "always" may stand before the last answer only.
std::optional<RawScript> ParseRawScript(const std::vector<std::string>& words);

}  // namespace tool
