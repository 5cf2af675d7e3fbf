// How the service is registered with the service control manager: what is registered, and the steps that lead there and
// back. All functions are pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/types.h"

namespace tool {

inline constexpr const char* kServiceName = "Hkd04a7DriverUtilityService";
inline constexpr const char* kServiceDisplayName = "HKD04A7 driver utility service";
inline constexpr const char* kServiceDescription =
    "Hands the events of the HKD04A7 device to the programs, tasks and apps that wait for them, and serves their "
    "requests to the device.";

struct ServiceRegistration {
  WideString program;      // its full path
  bool automatic = false;  // started with the machine, else on demand
  std::string version;     // as InstalledVersion gives it
};

// What of an installation is there.
struct InstalledParts {
  bool registered = false;
  bool running = false;  // or on its way there
  bool version = false;
};

enum class ServiceStep { Create, Change, Describe, SetFailureActions, RecordVersion, Stop, Delete, RemoveVersion };

// The project's version as four numbers: "4.1" is "4.1.0.0". Nothing when it is no version, or one that the service
// takes for too old to run with (a first number below 4).
std::optional<std::string> InstalledVersion(std::string_view projectVersion);

// What is registered to be run: the program in quotes, as a service.
WideString ServiceCommandLine(const WideString& program);

// What is wrong with a program's path, whether or not there is such a file; empty when nothing is. A service whose path
// has 260 characters or more finds none of its libraries.
std::string ProgramPathError(const WideString& program);

std::vector<ServiceStep> InstallSteps(const InstalledParts& parts);
// None when nothing is installed.
std::vector<ServiceStep> UninstallSteps(const InstalledParts& parts);

// "describe it: ...": what is about to be done, for people. The registration matters to the installing steps alone.
std::string StepText(ServiceStep step, const ServiceRegistration& registration);

}  // namespace tool
