// How a stand-in leaves an error code with the thread that called it.
#pragma once

#include <cstdint>

#ifdef _WIN32
#include <windows.h>

inline void LeaveLastError(std::uint32_t code) {
  SetLastError(code);
}
#else
// The last error belongs to the program that loaded the library, which exports this; a program without one has none.
[[gnu::weak]] void SetLastError(std::uint32_t code);

inline void LeaveLastError(std::uint32_t code) {
  if (SetLastError != nullptr) SetLastError(code);
}
#endif

// The codes the stand-ins leave.
constexpr std::uint32_t kFileNotFound = 2;
constexpr std::uint32_t kInvalidHandle = 6;
constexpr std::uint32_t kBadFormat = 11;
constexpr std::uint32_t kGeneralFailure = 31;
constexpr std::uint32_t kInvalidParameter = 87;
constexpr std::uint32_t kCallNotImplemented = 120;
constexpr std::uint32_t kAlreadyInitialized = 1247;
constexpr std::uint32_t kNoSystemResources = 1450;
