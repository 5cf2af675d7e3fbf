// How the tool says what went wrong: what was tried, what answered, what to do next.
#pragma once

#include <cstdint>
#include <string>

#include "tools/options.h"

namespace tool {

struct Failure {
  std::string tried;       // "start the service", after "could not"
  std::string answered;    // who answered what: "the service control manager", before the code
  std::uint32_t code = 0;  // 0: `answered` says everything
  std::string next;        // a command or a remark; may be empty
};

// Prints the failure on the error stream, as text or as one JSON object. Returns `exitCode`, for `return Report(...)`.
int Report(const Options& options, int exitCode, const Failure& failure);

// Flushes the standard output. False when something of it could not be written, now or before.
bool OutputIsSound();

// The end of every command: `exitCode`, or kFailed with a report when a command that did its work could not print it.
int ReportOutput(const Options& options, int exitCode);

}  // namespace tool
