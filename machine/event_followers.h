// What goes on after the service has handed an event over: the service's own program in client mode ("-appservice" on
// its command line) and the runs of tasks. Loop thread only.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace machine {

// Those of `programs` (ProcessTable::Rows) that are in client mode and have not ended: their rows with "event",
// "data1", "data2" (as they were given, null where not) and "ageMs" (null while the program is being started).
nlohmann::json ClientModeProcesses(const nlohmann::json& programs);

// For people, what there is to wait for of `clientMode` (as above) and `tasks` (TaskOperations::Report), each process
// by its user; empty when there is nothing. `users` as UserStore::Report gives them.
std::string FollowersText(const nlohmann::json& clientMode, const nlohmann::json& tasks, const nlohmann::json& users);

}  // namespace machine
