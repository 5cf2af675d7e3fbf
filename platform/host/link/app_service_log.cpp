#include "platform/host/link/app_service_log.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <nlohmann/json.hpp>

namespace host {
namespace {

using nlohmann::ordered_json;

std::int64_t Nanoseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

}  // namespace

void WriteAppServiceRecord(const std::string& runtimeFolder, const ordered_json& record) {
  ordered_json line = {
      {"t", Nanoseconds(CLOCK_MONOTONIC)}, {"wall", Nanoseconds(CLOCK_REALTIME) / 1'000'000}, {"pid", getpid()}};
  line.update(record);
  const std::string text = line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
  // Opened for each record: a boot of the machine may take the file away.
  const int file = open((runtimeFolder + "/app_services.log").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file < 0) return;
  static_cast<void>(!write(file, text.data(), text.size()));
  close(file);
}

}  // namespace host
