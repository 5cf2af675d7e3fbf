// Tasks of the Task Scheduler and their runs, made readable. Pure functions; control characters are shown as \xNN.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tool {

// One task of "task.list": its path, what it runs, as whom, and what is unusual about it.
std::string TaskText(const nlohmann::json& task);

// One run of "task.runs": when it was asked for, what it ran, and what became of it.
std::string RunText(const nlohmann::json& run);

// One step of a run, as the run log has it (machine/task_run_log.h).
std::string RunStepText(const nlohmann::json& record);

}  // namespace tool
