// Unix stream sockets by path, of any length: what does not fit into a socket address is reached through its folder.
#pragma once

#include <string>

namespace host {

// A connected descriptor (close-on-exec, blocking), or -1 with errno.
int ConnectUnixSocket(const std::string& path);

// A listening descriptor (close-on-exec, non-blocking) at `path`, whatever lay there before; or -1 with errno.
int ListenUnixSocket(const std::string& path, int backlog);

}  // namespace host
