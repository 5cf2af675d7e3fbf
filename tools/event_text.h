// How events are shown: their sources' names, and the lines that `watch` prints.
#pragma once

#include <cstdint>
#include <string>

#include "client/event_subscription.h"

namespace tool {

// What an event identifier stands for: "application switch 3", "one-touch button", ... "event 99" for an unknown one.
std::string EventSource(std::uint32_t eventId);

// Lines without line end. As JSON: {"t","event","source","data1","data2"}, "t" being CLOCK_MONOTONIC nanoseconds of the
// arrival; {"subscribed":true,"t"}; {"end","code","name","events"}.
std::string EventLine(const client::Event& event, bool json);
std::string SubscribedLine(bool json);
std::string EndLine(const std::string& reason, std::uint32_t code, unsigned long events, bool json);

// "12:34:56.789", local time.
std::string WallClock(std::int64_t millisecondsSince1970);

}  // namespace tool
