// What happens to the machine's app services: `<runtime>/app_services.log`, one JSON object a line.
//
// Every line begins with "t" (CLOCK_MONOTONIC, nanoseconds), "wall" (CLOCK_REALTIME, milliseconds) and "pid", the
// writer's, and says "what" happened to which "package" and "service":
//   "received"   by the app service itself, as soon as it has a message: "user", "session", "number" (of the message,
//   in
//                this process), "message" as the client sent it
//   "answered", "unread" (the client has gone), "died"   what came of the message: "number" again
//   "not opened" by the daemon: "caller", its process, "userSid", "session", "status" (AppServiceOpening), "reason"
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace host {

// Appends `record` behind the beginning, in one write. A log that cannot be written is no reason to fail. Any thread.
void WriteAppServiceRecord(const std::string& runtimeFolder, const nlohmann::ordered_json& record);

}  // namespace host
