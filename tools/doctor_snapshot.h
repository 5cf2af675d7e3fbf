// What `doctor` looks at, taken once and then only read: the registry as it stands, and what the machine told.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/registry_access.h"

namespace tool::doctor {

// A key with everything below it. Values and subkeys in the registry's order.
struct KeyTree {
  WideString name;
  std::vector<RegistryKey::Named> values;
  std::vector<KeyTree> subKeys;
};

// The handler lists of one view, the key "Events".
struct HandlerLists {
  int view = 64;
  KeyTree events;
};

// The registrations of one user whose hive is loaded, the key "UwpAppService".
struct UserRegistrations {
  std::string sid;
  KeyTree keys;
};

struct AllowedProgram {
  RegistryKey::Named entry;
  std::string program;         // its first string; empty for none
  bool programExists = false;  // as a file
};

struct RegistrySnapshot {
  std::vector<RegistryKey::Named> product;  // the service's own key, 64-bit view
  std::vector<HandlerLists> handlers;       // one for each view
  std::vector<UserRegistrations> users;
  std::vector<RegistryKey::Named> utility;  // the delays of the client mode
  std::string softwareKey;                  // "HKLM\..."; empty: no device is present
  std::vector<RegistryKey::Named> capabilities;
  std::vector<AllowedProgram> commands;
};

struct TaskFact {
  std::string path;  // relative to the root folder: "Folder\Task"
  bool enabled = true;
  bool allowDemandStart = true;
  std::string instances;  // "parallel", "queue", "ignore-new", "stop-existing"
  std::string account;    // a user's name; empty: LocalSystem
  std::string program;
  bool programExists = true;
};

struct PackageFact {
  std::string family;
  std::vector<std::string> users;  // SIDs; empty: installed for everyone
  std::vector<std::string> services;
};

struct UserFact {
  std::string name;
  std::string sid;
  bool loggedOn = false;
};

struct ServiceFact {
  std::string program;
  std::uint32_t startType = 0;
  bool programExists = true;
  bool hasDeviceLibrary = true;
  bool hasTracingLibrary = true;
};

// Which event sources the device says it has, by the rules by which the service asks it.
struct DeviceSources {
  bool appSwitch = true;
  bool buttons = true;
  bool accelerationSensor = true;
  bool embeddedController = true;
  bool emergency = true;
  bool phonePc = true;
  bool function1015 = true;
  std::uint32_t function101CCount = 3;
};

// What was not to be had is absent, and the rules about it say nothing.
struct MachineFacts {
  bool isUp = false;
  std::optional<std::vector<TaskFact>> tasks;
  std::optional<bool> schedulerRuns;
  std::optional<std::vector<PackageFact>> packages;
  std::optional<std::vector<UserFact>> users;
  std::optional<std::vector<ServiceFact>> services;  // of this service's name: one or none
  std::optional<DeviceSources> device;
};

struct Snapshot {
  RegistrySnapshot registry;
  MachineFacts machine;
};

}  // namespace tool::doctor
