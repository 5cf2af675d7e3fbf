// Unix stream sockets by path, of any length: what does not fit into a socket address is reached through its folder.
#pragma once

#include <functional>
#include <string>

namespace host {

// A connected descriptor (close-on-exec, blocking), or -1 with errno. `prepare` may be empty; it gets the socket before
// it is connected and answers false, with errno, to give up.
int ConnectUnixSocket(const std::string& path, const std::function<bool(int socket)>& prepare = {});

// A listening descriptor (close-on-exec, non-blocking) at `path`, whatever lay there before; or -1 with errno.
int ListenUnixSocket(const std::string& path, int backlog);

}  // namespace host
