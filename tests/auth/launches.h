// Requests of a client that may run commands, and the programs they start.
#pragma once

#include <nlohmann/json.hpp>

#include "tests/auth/requests.h"

namespace request_test {

// The client's package has the capability. Programs are the host's own; the machine keeps a record of each.
class Launches : public Requests {
 protected:
  void SetUp() override;

  // Lists "tool" as the shell with `parameters`, and "script" as the shell running `script`.
  void AllowShell(const WideString& parameters);
  void AllowScript(const std::string& script);

  // The programs that were started for requests, oldest first.
  std::vector<nlohmann::json> Started();
  // A file of the test that programs may write.
  std::string File(const std::string& name) const;
  // What is in it; waits until it is there.
  std::string Contents(const std::string& name) const;
};

}  // namespace request_test
