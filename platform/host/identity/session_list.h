// The machine's sessions as the daemon publishes them in `<runtime>/sessions.json`.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host {

struct SessionRow {
  std::uint32_t id = 0;
  int state = 0;  // as WTS_CONNECTSTATE_CLASS numbers them
  bool remote = false;
  std::string sid;  // empty: nobody is logged on
};

struct SessionList {
  std::uint32_t console = 0;         // the session at the console; one that is not in the list when there is none
  std::vector<SessionRow> sessions;  // by identifier

  // The session with this identifier, or null.
  const SessionRow* Find(std::uint32_t id) const;
};

// The list as it stands, or null when no machine is up or its list cannot be read. No round trip; the file is read
// again only when it has been replaced. Any thread.
std::shared_ptr<const SessionList> PublishedSessions();

}  // namespace host
