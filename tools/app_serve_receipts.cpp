#include "tools/app_serve_receipts.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/app_service_log.h"
#include "tools/app_runs_text.h"

namespace tool {

using nlohmann::ordered_json;

std::uint64_t AppServeReceipts::Receive(const ordered_json& message) {
  ordered_json record = Record(++last_, "received");
  record["message"] = message;
  host::WriteAppServiceRecord(host::CurrentMachineDirectory().runtime, record);
  if (json_)
    std::printf("%s\n", record.dump(-1, ' ', false, ordered_json::error_handler_t::replace).c_str());
  else
    std::printf("%llu  %s\n", static_cast<unsigned long long>(last_), MessageText(message).c_str());
  std::fflush(stdout);
  return last_;
}

void AppServeReceipts::Tell(std::uint64_t number, const char* outcome) const {
  host::WriteAppServiceRecord(host::CurrentMachineDirectory().runtime, Record(number, outcome));
}

ordered_json AppServeReceipts::Record(std::uint64_t number, const char* what) const {
  return {{"what", what},           {"package", identity_.package}, {"service", identity_.service},
          {"user", identity_.user}, {"session", identity_.session}, {"number", number}};
}

}  // namespace tool
