#include "platform/host/processes/process_rows.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/identity/process_token.h"

namespace host {

using nlohmann::json;

namespace {

// None for a row that is gone or no row, a keeper's, or one that an ended process left behind.
std::optional<ProcessRow> ReadRow(const std::filesystem::path& path) {
  std::ifstream file(path);
  const json row = json::parse(file, nullptr, false);
  if (!row.is_object() || !row.contains("token") || row.value("role", "") == "keeper") return std::nullopt;
  ProcessRow read;
  std::uint64_t startTime = 0;
  try {
    read.pid = row.value("pid", 0);
    read.name = row.value("name", "");
    startTime = row.value("startTime", startTime);
    ReadToken(row.at("token"), &read.token);
  } catch (const json::exception&) {
    return std::nullopt;
  }
  const bool real = read.pid < kFirstRowOnly;
  if (real && ProcessStartTime(read.pid) != startTime) return std::nullopt;
  return read;
}

}  // namespace

std::vector<ProcessRow> ListProcessRows() {
  std::vector<ProcessRow> rows;
  std::error_code missing;
  const std::string folder = CurrentMachineDirectory().runtime + "/processes";
  for (const auto& entry : std::filesystem::directory_iterator(folder, missing)) {
    const std::string name = entry.path().filename();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    if (auto row = ReadRow(entry.path())) rows.push_back(std::move(*row));
  }
  std::sort(rows.begin(), rows.end(), [](const auto& left, const auto& right) { return left.pid < right.pid; });
  return rows;
}

}  // namespace host
