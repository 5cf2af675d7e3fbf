// What a server process of a measurement does. It answers on its standard output: kYes once it serves, then kYes or kNo
// to each order that comes on its standard input, except kDeliverOne. It ends with the program that started it.
#pragma once

#include <string>

#include "bench/event_control.h"

namespace bench {

inline constexpr const char* kRpcRole = "--serve-rpc";
inline constexpr const char* kRawCallsRole = "--serve-raw-calls";
inline constexpr const char* kRawEventsRole = "--serve-raw-events";

// Orders. kRawCallsRole takes none.
inline constexpr char kAwaitIdle = 'i';    // wait until no connection and no context handle is left
inline constexpr char kDeliverOne = 'd';   // one event, once every client waits and has rested; no answer but the event
inline constexpr char kDeliverMany = 'm';  // events, at most EventControl::kMostInFlight at once, until the end
inline constexpr char kQueue = 'q';        // for kRpcRole: kQueuedEvents at once
inline constexpr char kYes = 'y';
inline constexpr char kNo = 'n';

inline constexpr unsigned kQueuedEvents = 5000;

// The sockets of the raw roles in the machine of this process.
std::string RawCallsPath();
std::string RawEventsPath();

// What `role` shares with its clients.
EventControl& ControlOf(const char* role);

// For the roles: an answer, and the pause before a single event, so that it begins on an idle server.
bool Answer(bool yes);
void Rest();

// Plays `role`, if it is one; the process's exit code, or -1 when it is none.
int PlayServerRole(const char* role);

}  // namespace bench
