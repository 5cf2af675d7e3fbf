// The interface served inside the test's process, through the stubs of the Windows build.
#pragma once

#include <string>

#include "tests/rpc_windows/client_binding.h"

// The interface on an endpoint of the test's own.
class Server {
 public:
  Server();
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  const std::wstring& Endpoint() const { return endpoint_; }

 private:
  std::wstring endpoint_;
};
