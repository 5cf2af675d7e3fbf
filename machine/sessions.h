// The machine's sessions: session 0 of the services, the console's, and remote ones. Loop thread only.
//
// Every change is written to `<runtime>/sessions.json` before anybody is told of it, so asking costs no round trip.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace machine {

inline constexpr unsigned kNoSuchSession = 7022;  // ERROR_CTX_WINSTATION_NOT_FOUND
inline constexpr unsigned kNoSuchLogon = 1312;    // ERROR_NO_SUCH_LOGON_SESSION
inline constexpr std::uint32_t kServicesSession = 0;

// As WTS_CONNECTSTATE_CLASS numbers them.
enum class SessionState { kActive = 0, kConnected = 1, kDisconnected = 4 };

// As the event types of a session change.
enum class SessionEvent {
  kConsoleConnect = 1,
  kConsoleDisconnect = 2,
  kRemoteConnect = 3,
  kRemoteDisconnect = 4,
  kLogon = 5,
  kLogoff = 6
};

struct Session {
  SessionState state = SessionState::kConnected;
  bool remote = false;
  std::string user;  // empty: nobody is logged on
  std::string sid;
};

struct SessionChange {
  SessionEvent event;
  std::uint32_t session;
};

// The session number that says "there is none".
inline constexpr std::uint32_t kNoSession = 0xFFFFFFFF;

class Sessions {
 public:
  explicit Sessions(std::string path) : path_(std::move(path)) { Boot(); }

  // `listener` is called at every change, before it is published, after those that were added earlier.
  void OnChange(std::function<void()> listener) { listeners_.push_back(std::move(listener)); }

  // Session 0, and the console's session 1 with nobody logged on.
  void Boot();

  // The changes answer a Win32 code, and what is to be told in `changes`, in its order.
  // A logon without a session number takes the console's session, or a new remote one.
  unsigned Logon(const Session& who, std::optional<std::uint32_t> session, std::vector<SessionChange>* changes);
  // A console session stays, with nobody logged on; any other one ends. `sid` tells who left.
  unsigned Logoff(std::uint32_t session, std::vector<SessionChange>* changes, std::string* sid);
  unsigned Disconnect(std::uint32_t session, std::vector<SessionChange>* changes);
  // To the console (whoever is there is disconnected first), or from afar.
  unsigned Connect(std::uint32_t session, bool remote, std::vector<SessionChange>* changes);

  // The session at the console, or kNoSession.
  std::uint32_t console() const { return console_; }
  const std::map<std::uint32_t, Session>& all() const { return sessions_; }
  bool IsLoggedOn(const std::string& sid) const;

  nlohmann::json Report() const;

 private:
  std::uint32_t NewSession();
  // Writes the file; a failure is ignored, the next change writes again.
  void Publish() const;
  void LeaveConsole(std::vector<SessionChange>* changes);

  const std::string path_;
  std::vector<std::function<void()>> listeners_;
  std::map<std::uint32_t, Session> sessions_;
  std::uint32_t console_ = kNoSession;
  std::uint32_t next_ = 1;
};

}  // namespace machine
