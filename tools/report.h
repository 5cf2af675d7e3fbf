// How the tool says what went wrong: what was tried, what answered, what to do next.
#pragma once

#include <cstdint>
#include <string>

#include "tools/gate.h"
#include "tools/options.h"

namespace tool {

struct Failure {
  std::string tried;       // "start the service", after "could not"
  std::string answered;    // who answered what: "the service control manager", before the code
  std::uint32_t code = 0;  // 0: `answered` says everything
  std::string next;        // a command or a remark; may be empty
};

// What a client call met.
struct Refusal {
  std::string tried;      // "open a device session", after "could not"
  client::Status status;  // of the call that failed
  Gate gate;              // the gate that refused, if one did
  std::string next;       // a command or a remark; may be empty
};

// Prints the failure on the error stream, as text or as one JSON object. Returns `exitCode`, for `return Report(...)`.
int Report(const Options& options, int exitCode, const Failure& failure);

// The same of a client call. The code stands with its name by its layer; what it means in this interface, the gate that
// refused and what decides there follow.
int ReportRefusal(const Options& options, int exitCode, const Refusal& refusal);

// Flushes the standard output. False when something of it could not be written, now or before.
bool OutputIsSound();

// The end of every command: `exitCode`, or kFailed with a report when a command that did its work could not print it.
int ReportOutput(const Options& options, int exitCode);

}  // namespace tool
