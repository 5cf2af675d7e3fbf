#include "bench/server_roles.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "bench/engine_interface.h"
#include "bench/product_endpoint.h"
#include "bench/raw_calls.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/open_files.h"
#include "platform/host/rpc/server_status.h"

namespace bench {

namespace {

bool Answer(bool yes) {
  const char answer = yes ? kYes : kNo;
  return write(STDOUT_FILENO, &answer, 1) == 1;
}

bool BecomesIdle() {
  constexpr int kMostMilliseconds = 20'000;
  for (int i = 0; i < kMostMilliseconds; ++i) {
    if (host::rpc::ConnectionCount() == 0 && host::rpc::ContextHandleCount() == 0) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

int ServeRpc() {
  if (!Answer(OpenProductEndpoint() && OfferEngineInterface())) return 1;
  char order = 0;
  while (read(STDIN_FILENO, &order, 1) == 1) {
    if (!Answer(order == kAwaitIdle && BecomesIdle())) return 1;
  }
  return 0;
}

int ServeRaw() {
  const int listener = ListenForRawCalls(RawSocketPath());
  return Answer(listener >= 0) && listener >= 0 ? ServeRawCalls(listener) : 1;
}

}  // namespace

std::string RawSocketPath() {
  return host::CurrentMachineDirectory().runtime + "/raw";
}

int PlayServerRole(const char* role) {
  const bool rpc = std::strcmp(role, kRpcRole) == 0;
  if (!rpc && std::strcmp(role, kRawRole) != 0) return -1;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  host::RaiseOpenFileLimit();
  return rpc ? ServeRpc() : ServeRaw();
}

}  // namespace bench
