// A client command's connection to the service, and how it tells a refusal.
#pragma once

#include <string>

#include "client/connection.h"
#include "client/status.h"
#include "tools/gate.h"
#include "tools/options.h"

namespace tool {

// What the tool does next when nothing better is known.
inline constexpr const char* kStartService = "start the service and try again";

// Reports that `tried` failed with `status`. kServiceNotRunning where nobody serves, kMachineNotUp where (on the host)
// there is no machine either, else kFailed. The gate is the one given, or what the status says by itself.
int ReportStatus(const Options& options, const std::string& tried, const client::Status& status, Gate gate = {});

// Opens the connection; kDone, or the exit code after a report.
int Connect(const Options& options, client::Connection* connection);

}  // namespace tool
