// A client that opens device sessions and a subscription and then holds them. usage: session-holder SESSIONS
//
// Prints its process identifier and "holding" once all stand, and ends with exit code 3 when the service ends its wait.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "client/device_session.h"
#include "client/event_subscription.h"

namespace {

int Fail(const client::Status& status) {
  std::fprintf(stderr, "session-holder: %s\n", client::Describe(status).c_str());
  return EXIT_FAILURE;
}

int Hold(int count) {
  client::Connection connection;
  if (const client::Status status = connection.Open(); !status.Ok()) return Fail(status);
  std::vector<std::unique_ptr<client::DeviceSession>> sessions;
  for (int i = 0; i < count; ++i) {
    sessions.push_back(std::make_unique<client::DeviceSession>(connection));
    if (const client::Status status = sessions.back()->Open(); !status.Ok()) return Fail(status);
  }
  client::EventSubscription subscription(connection);
  if (const client::Status status = subscription.Start(); !status.Ok()) return Fail(status);
  std::printf("%d\nholding\n", static_cast<int>(getpid()));
  std::fflush(stdout);
  client::Event event;
  while (subscription.Next(std::chrono::hours(1), &event) != client::EventSubscription::Outcome::Ended) continue;
  return 3;
}

}  // namespace

int main(int argc, char** argv) {
  return argc == 2 ? Hold(std::atoi(argv[1])) : EXIT_FAILURE;
}
