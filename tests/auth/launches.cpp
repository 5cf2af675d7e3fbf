#include "tests/auth/launches.h"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"

namespace request_test {

void Launches::SetUp() {
  Requests::SetUp();
  Grant(kPackage, 1);
}

void Launches::AllowShell(const WideString& parameters) {
  Allow(W("tool"), {W("/bin/sh"), parameters});
}

void Launches::AllowScript(const std::string& script) {
  Allow(W("script"), {W("/bin/sh"), W("-c \"") + host::ToUtf16(script) + W("\"")});
}

std::vector<nlohmann::json> Launches::Started() {
  nlohmann::json reply;
  EXPECT_EQ(service.Machine().Call("process.history", {}, &reply), 0u);
  std::vector<nlohmann::json> started;
  for (const auto& program : reply.at("programs")) {
    if (program.at("requester") == getpid()) started.push_back(program);
  }
  return started;
}

std::string Launches::File(const std::string& name) const {
  return host::CurrentMachineDirectory().runtime + "/" + name;
}

std::string Launches::Contents(const std::string& name) const {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (access(File(name).c_str(), F_OK) != 0 && std::chrono::steady_clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  std::ifstream file(File(name));
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace request_test
