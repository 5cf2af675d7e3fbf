#include "tests/support/played_app_service.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/frame.h"
#include "platform/host/link/unix_socket.h"

namespace support {

using nlohmann::json;
using nlohmann::ordered_json;

PlayedAppService::PlayedAppService(TestMachine& machine, const host::TokenFacts& caller, const std::string& package,
                                   const std::string& name, Script script)
    : script_(std::move(script)) {
  EXPECT_EQ(machine.Call("package.add", {{"package", package}, {"service", {{"name", name}}}}), 0u);
  const std::string folder = host::CurrentMachineDirectory().runtime + "/appservices";
  std::filesystem::create_directories(folder);
  listener_ = host::ListenUnixSocket(folder + "/" + name, 16);
  EXPECT_EQ(fcntl(listener_, F_SETFL, 0), 0);  // blocking
  host::TokenFacts own = caller;
  own.packageFamilyName = package;
  EXPECT_EQ(machine.Call("app.listen", {{"package", package},
                                        {"service", name},
                                        {"socket", name},
                                        {"refuse", script_ == nullptr},
                                        {"identity", host::ToJson(own)}}),
            0u);
  thread_ = std::thread([this] { Run(); });
}

PlayedAppService::~PlayedAppService() {
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

std::vector<std::string> PlayedAppService::Messages() {
  const std::lock_guard lock(lock_);
  return messages_;
}

void PlayedAppService::Run() {
  for (int connection; (connection = accept(listener_, nullptr, nullptr)) >= 0; close(connection)) Serve(connection);
}

void PlayedAppService::Serve(int connection) {
  host::FrameReader frames;
  char bytes[4096];
  for (ssize_t count; (count = read(connection, bytes, sizeof(bytes))) > 0;) {
    frames.Append(bytes, static_cast<std::size_t>(count));
    for (std::string request; frames.Take(&request) == host::FrameReader::Result::kMessage;) {
      if (!Answer(connection, request)) return;
    }
  }
}

bool PlayedAppService::Answer(int connection, const std::string& request) {
  {
    const std::lock_guard lock(lock_);
    messages_.push_back(ordered_json::parse(request).at("message").dump());
  }
  const auto answer = script_(request);
  if (!answer) return false;
  return send(connection, answer->data(), answer->size(), MSG_NOSIGNAL) == static_cast<ssize_t>(answer->size());
}

std::string PlayedAppService::AnswerTo(const std::string& request) {
  return FrameOf(
      json{{"id", json::parse(request).at("id")}, {"status", "success"}, {"message", json::object()}}.dump());
}

std::string PlayedAppService::FrameOf(const std::string& text) {
  return host::EncodeFrame(text);
}

}  // namespace support
