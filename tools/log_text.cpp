#include "tools/log_text.h"

#include <cstdint>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tools/app_runs_text.h"
#include "tools/event_text.h"
#include "tools/printable.h"

namespace tool {
namespace {

using nlohmann::json;

std::string OneLine(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  return Printable(text);
}

std::string Stamp(const json& record) {
  return WallClock(record.at("wall").get<std::int64_t>()) + " [" +
         std::to_string(record.at("pid").get<std::int64_t>()) + "] ";
}

// Small numbers decimal, masks and answers hexadecimal.
std::string ArgumentText(const json& argument) {
  if (!argument.is_number_unsigned() || argument.get<std::uint64_t>() < 1024) return argument.dump();
  char text[24];
  std::snprintf(text, sizeof text, "0x%08llX", static_cast<unsigned long long>(argument.get<std::uint64_t>()));
  return text;
}

template <typename Show>
std::optional<ShownRecord> ShowRecord(const std::string& line, Show show) {
  const json record = json::parse(line, nullptr, false);
  if (!record.is_object()) return std::nullopt;
  try {
    return ShownRecord{Stamp(record), show(record)};
  } catch (const json::exception&) {
    return std::nullopt;
  }
}

}  // namespace

std::optional<ShownRecord> ShowDebugRecord(const std::string& line) {
  return ShowRecord(line, [](const json& record) { return OneLine(record.at("line").get<std::string>()); });
}

std::optional<ShownRecord> ShowTraceRecord(const std::string& line) {
  return ShowRecord(line, [](const json& record) {
    std::string text = record.at("event").get<std::string>();
    for (const json& argument : record.at("args")) text += ' ' + ArgumentText(argument);
    return OneLine(text);
  });
}

// The members of a message are shown in their order.
std::optional<ShownRecord> ShowAppServiceRecord(const std::string& line) {
  return ShowRecord(line, [&line](const json&) {
    return OneLine(AppServiceRecordText(nlohmann::ordered_json::parse(line, nullptr, false)));
  });
}

std::vector<std::string> RepeatFolder::Add(const ShownRecord& record) {
  // The process tells apart what only looks the same; the time does not count.
  const std::string key = record.stamp.substr(record.stamp.find('[') + 1) + record.text;
  if (key == last_) {
    ++repeats_;
    return {};
  }
  std::vector<std::string> lines = Flush();
  last_ = key;
  lines.push_back(record.stamp + record.text);
  return lines;
}

std::vector<std::string> RepeatFolder::Flush() {
  if (repeats_ == 0) return {};
  const std::string times = repeats_ == 1 ? "once more" : std::to_string(repeats_) + " times";
  repeats_ = 0;
  return {"             last line repeated " + times};
}

}  // namespace tool
