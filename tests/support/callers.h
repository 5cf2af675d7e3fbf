// Clients of the service, as tests tell them apart: what their tokens say.
#pragma once

#include <string>

#include "platform/host/identity/token_facts.h"

namespace support {

inline constexpr const char* kUserSid = "S-1-5-21-1000000001-1000000002-1000000003-1001";
inline constexpr const char* kOtherUserSid = "S-1-5-21-1000000001-1000000002-1000000003-1002";
// Derived from the name of the hardware-settings capability.
inline constexpr const char* kHardwareSettingsCapability =
    "S-1-15-3-1024-725278066-3482327732-1334690058-336813951-959172379-567848342-2247572830-1619008730";
inline constexpr const char* kPackage = "Quorvex.Panel_m3tq8v0kc2wna";

// A desktop program without package identity.
host::TokenFacts DesktopCaller(const std::string& userSid = kUserSid, std::uint32_t session = 1);

// A packaged program with full trust.
host::TokenFacts PackagedCaller(const std::string& packageFamilyName = kPackage, std::uint32_t session = 1);

// A packaged program in an app container, with or without the hardware-settings capability.
host::TokenFacts ContainerCaller(bool withCapability, const std::string& packageFamilyName = kPackage);

}  // namespace support
