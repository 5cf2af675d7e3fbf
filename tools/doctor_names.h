// The numbers and names that the service's readers look for, as far as `doctor` needs them. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/types.h"
#include "tools/doctor_finding.h"
#include "tools/doctor_snapshot.h"

namespace tool::doctor {

inline constexpr const char* kProductKey = "HKLM\\Software\\Quorvex\\HKD04A7";
inline constexpr const char* kEventsKey = "HKLM\\Software\\Quorvex\\HKD04A7\\Events";
inline constexpr const char* kUtilityKey =
    "HKLM\\System\\CurrentControlSet\\Services\\Hkd04a7DriverUtilityService\\Utility";
// Below "HKU\<SID>\".
inline constexpr const char* kRegistrationsSubKey =
    "Software\\Quorvex\\HKD04A7\\Hkd04a7DriverUtilityService\\Events\\UwpAppService";

// A number of 32 bits as the readers write it into key names: decimal, no sign, no zero in front.
std::optional<std::uint32_t> ReadNumber(WideStringView text);

// What a key name without such a number may have meant: "032" and "0x20" are 32. Nothing when it is no number at all.
std::optional<std::uint32_t> GuessNumber(const WideString& text);

// "<event>" or "<event>-<data1>".
struct EventKeyName {
  std::uint32_t event = 0;
  std::optional<std::uint32_t> data1;
};
std::optional<EventKeyName> ReadEventKeyName(const WideString& name);

// Why no event of this identifier ever reaches a target; empty when it does.
std::string WhyNoSuchEvent(std::uint32_t event);

// Why an event never carries this first data word; empty when it may.
std::string WhyNoSuchData1(std::uint32_t event, std::uint32_t data1);

// Why this device never makes the event; empty when it may.
std::string WhyNoSource(std::uint32_t event, const DeviceSources& device);

// Names of tasks, packages and values are the same without regard to the case of ASCII letters.
bool SameName(WideStringView left, WideStringView right);

// The data as text, up to the first null: what a reader of a text, or of the first of several, takes.
WideString FirstText(const RegistryValue& value);

// A name for a sentence, in quotes; a long one is cut, with its length.
std::string Quoted(const WideString& name);

// A word of a command line for a shell.
std::string ShellWord(const std::string& word);

// "hkd04a7ctl reg --view 32 delete 'KEY' 'NAME'".
std::string DeleteCommand(const Place& place);

}  // namespace tool::doctor
