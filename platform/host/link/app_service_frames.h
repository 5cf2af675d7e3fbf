// What an app service of the machine and its clients say to each other.
//
// A client asks the daemon first: "app.open" {"package","service"} answers {"status"}, an AppServiceOpening, and where
// that is kOpened, {"socket"}: the path of a unix stream socket on which the app service's own process listens. Only
// the machine's own process may say who asks ("identity", as token_facts.h reads it); of everyone else the daemon
// knows.
//
// Over the socket, both ways, a frame (frame.h) of one JSON object each. The client sends requests, as many as it likes
// and under numbers of its choice; the app service answers in any order:
//   {"id":N,"message":{"<key>":{"type":"UInt32","value":V},...}}, the keys in the order of their insertion
//   {"id":N,"status":"success","message":{...}}
// A request that is still unanswered when the socket closes has failed. A frame that is none of these ends the
// connection.
#pragma once

namespace host {

// Numbers as of AppServiceConnectionStatus.
enum class AppServiceOpening {
  kOpened = 0,
  kAppNotInstalled = 1,        // the caller's user has no such package
  kAppUnavailable = 2,         // its program could not be started, or did not listen in time
  kAppServiceUnavailable = 3,  // the package has no such app service, or this one refuses connections
};

// The "type" of a number of 32 bits, and the "status" of an answer.
inline constexpr const char* kAppServiceUInt32 = "UInt32";
inline constexpr const char* kAppServiceSuccess = "success";

}  // namespace host
