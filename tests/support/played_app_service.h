// An app service that a thread of the test plays, on the socket where clients expect its process.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/identity/token_facts.h"
#include "tests/support/test_machine.h"

namespace support {

// Installed with its package and listening from construction to destruction, for the user of `caller`. Serves one
// connection after another.
class PlayedAppService {
 public:
  // What goes back for a request: some bytes, none, or (nullopt) the end of the connection. On the playing thread. An
  // empty script refuses connections.
  using Script = std::function<std::optional<std::string>(const std::string& request)>;

  PlayedAppService(TestMachine& machine, const host::TokenFacts& caller, const std::string& package,
                   const std::string& name, Script script = &AnswerTo);
  ~PlayedAppService();
  PlayedAppService(const PlayedAppService&) = delete;
  PlayedAppService& operator=(const PlayedAppService&) = delete;

  // The messages so far, as they came.
  std::vector<std::string> Messages();

  // The bytes of an answer without values, and of any text.
  static std::string AnswerTo(const std::string& request);
  static std::string FrameOf(const std::string& text);

 private:
  void Run();
  void Serve(int connection);
  bool Answer(int connection, const std::string& request);

  const Script script_;
  int listener_ = -1;
  std::mutex lock_;
  std::vector<std::string> messages_;
  std::thread thread_;
};

}  // namespace support
