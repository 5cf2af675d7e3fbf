// Who takes part in the demo.
#pragma once

namespace tool {

inline constexpr const char* kDemoUser = "demo";
inline constexpr const char* kDemoPackage = "Quorvex.Settings_m3tq8v0kc2wna";
inline constexpr const char* kDemoCommand = "leave";  // in the allow-list

}  // namespace tool
