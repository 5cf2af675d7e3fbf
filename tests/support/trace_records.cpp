#include "tests/support/trace_records.h"

#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"

namespace support {

std::vector<std::string> TraceRecords() {
  std::vector<std::string> records;
  std::ifstream file(host::CurrentMachineDirectory().runtime + "/trace.log");
  for (std::string line; std::getline(file, line);) {
    const nlohmann::json record = nlohmann::json::parse(line);
    std::string text = record.at("event").get<std::string>() + "(";
    for (const auto& argument : record.at("args")) {
      if (text.back() != '(') text += ", ";
      text += std::to_string(argument.get<std::uint64_t>());
    }
    records.push_back(text + ")");
  }
  return records;
}

}  // namespace support
