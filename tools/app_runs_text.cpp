#include "tools/app_runs_text.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "tools/numbers.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

std::string ValueText(const std::string& name, const ordered_json& value) {
  if (!value.is_object() || !value.contains("value") || !value["value"].is_number_unsigned() ||
      value["value"].get<std::uint64_t>() > UINT32_MAX)
    return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  const auto word = value["value"].get<std::uint32_t>();
  return name == "hkd04a7event" ? std::to_string(word) : Hex(word);
}

// As AppServiceConnectionStatus names them.
std::string OpeningText(int status) {
  switch (status) {
    case 1:
      return "AppNotInstalled";
    case 2:
      return "AppUnavailable";
    case 3:
      return "AppServiceUnavailable";
    default:
      return "status " + std::to_string(status);
  }
}

std::string TargetText(const ordered_json& record) {
  return record.at("package").get<std::string>() + " (" + record.at("service").get<std::string>() + ")";
}

}  // namespace

std::string MessageText(const ordered_json& message) {
  std::string text;
  for (const auto& [name, value] : message.items())
    text += (text.empty() ? "" : ", ") + name + " " + ValueText(name, value);
  return text.empty() ? "an empty message" : text;
}

std::string AppServiceRecordText(const ordered_json& record) {
  const auto what = record.at("what").get<std::string>();
  const std::string session = ", session " + std::to_string(record.at("session").get<std::uint32_t>());
  if (what == "not opened")
    return TargetText(record) + session + ": not opened for process " +
           std::to_string(record.at("caller").get<std::int64_t>()) + ", " +
           OpeningText(record.at("status").get<int>()) + ": " + record.at("reason").get<std::string>();
  const std::string begin = TargetText(record) + ", " + record.at("user").get<std::string>() + session + ": message " +
                            std::to_string(record.at("number").get<std::uint64_t>()) + " ";
  return begin + (what == "received" ? MessageText(record.at("message")) : what);
}

}  // namespace tool
