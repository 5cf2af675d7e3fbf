// The machine asks every process in its endpoint map what its RPC server holds: {"event":"rpc.ask","token":N} is
// answered with {"op":"rpc.tell","token":N,...}, on the reader thread of the process's link.
#pragma once

#include <string>
#include <vector>

namespace host::rpc {

// Questions are answered while at least one of these endpoints of an interface has not been ended. Any thread, with no
// lock of the runtime held. After the End of the last one no answer is under way.
void BeginStatusAnswers(const std::string& uuid, const std::vector<std::string>& bindings);
void EndStatusAnswers(const std::string& uuid, const std::vector<std::string>& bindings);

}  // namespace host::rpc
