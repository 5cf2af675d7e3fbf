#include "tools/event_text.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>

#include "client/code_names.h"

namespace tool {
namespace {

struct NamedSource {
  std::uint32_t id;
  const char* name;
};

constexpr std::uint32_t kLastSwitch = 31;
constexpr NamedSource kSources[] = {
    {32, "one-touch button"},       {33, "IR-ope button"},          {34, "acceleration sensor"},
    {35, "emergency notification"}, {36, "phone-PC data control"},  {37, "resume from sleep"},
    {38, "embedded controller"},    {40, "function 0x1015 source"}, {41, "session change"},
    {42, "function 0x101C source"},
};

std::int64_t Nanoseconds(std::chrono::steady_clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

std::int64_t WallNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// The wall-clock time of a moment that a steady clock took.
std::int64_t WallOf(std::chrono::steady_clock::time_point time) {
  const auto ago = std::chrono::steady_clock::now() - time;
  return WallNow() - std::chrono::duration_cast<std::chrono::milliseconds>(ago).count();
}

}  // namespace

std::string EventSource(std::uint32_t eventId) {
  if (eventId >= 1 && eventId <= kLastSwitch) return "application switch " + std::to_string(eventId);
  for (const NamedSource& source : kSources)
    if (source.id == eventId) return source.name;
  return "event " + std::to_string(eventId);
}

std::string WallClock(std::int64_t millisecondsSince1970) {
  const std::time_t seconds = millisecondsSince1970 / 1000;
  const std::tm* local = std::localtime(&seconds);  // one thread formats
  char text[32];
  const std::size_t length = local ? std::strftime(text, sizeof text, "%H:%M:%S", local) : 0;
  std::snprintf(text + length, sizeof text - length, ".%03d", static_cast<int>(millisecondsSince1970 % 1000));
  return text;
}

std::string EventLine(const client::Event& event, bool json) {
  if (json) {
    return nlohmann::ordered_json{{"t", Nanoseconds(event.arrived)},
                                  {"event", event.id},
                                  {"source", EventSource(event.id)},
                                  {"data1", event.data1},
                                  {"data2", event.data2}}
        .dump();
  }
  char text[128];
  std::snprintf(text, sizeof text, "%s  %2u  %-23s data1 0x%08X  data2 0x%08X",
                WallClock(WallOf(event.arrived)).c_str(), static_cast<unsigned>(event.id),
                EventSource(event.id).c_str(), static_cast<unsigned>(event.data1), static_cast<unsigned>(event.data2));
  return text;
}

std::string SubscribedLine(bool json) {
  if (json)
    return nlohmann::ordered_json{{"subscribed", true}, {"t", Nanoseconds(std::chrono::steady_clock::now())}}.dump();
  return "subscribed; waiting for events";
}

std::string EndLine(const std::string& reason, std::uint32_t code, unsigned long events, bool json) {
  if (json) {
    return nlohmann::ordered_json{{"end", reason}, {"code", code}, {"name", client::CodeName(code)}, {"events", events}}
        .dump();
  }
  std::string text = "ended: " + reason;
  if (code != 0) text += ", " + client::DescribeCode(code);
  return text + "; " + std::to_string(events) + (events == 1 ? " event" : " events");
}

}  // namespace tool
