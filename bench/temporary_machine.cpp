#include "bench/temporary_machine.h"

#include <stdlib.h>

#include <cstdio>
#include <filesystem>

#include "platform/host/base/machine_directory.h"

namespace bench {

TemporaryMachine::TemporaryMachine()
    : folder_((std::filesystem::temp_directory_path() / "hkd04a7-bench-XXXXXX").string()) {
  std::string error = "no temporary folder";
  const bool made = mkdtemp(folder_.data()) != nullptr;
  if (made) host::UseMachineDirectory(folder_);
  if (made && host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) return;
  std::fprintf(stderr, "no machine folder: %s\n", error.c_str());
  exit(1);
}

TemporaryMachine::~TemporaryMachine() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string EndpointPath() {
  return host::CurrentMachineDirectory().runtime + "/ncalrpc/Hkd04a7RpcEndpoint";
}

}  // namespace bench
