// A client of the service from start to end: it subscribes to events, opens a device session, calls a device function,
// reads the wake-up status, registers an app service and waits for one event.
//
//   hkd04a7-example [SECONDS]     waits so long for the event, 0 unless given
//
// On Linux the machine is the one that HKD04A7_MACHINE names, or the user's own. The exit code is 0 when everything was
// answered as it should be.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>

#include "client/app_services.h"
#include "client/call_thread.h"
#include "client/connection.h"
#include "client/device_session.h"
#include "client/event_subscription.h"

namespace {

constexpr DWORD kPendingSwitches = 0x1000;  // a device function: which application switches were pressed
constexpr DWORD kResumeEvent = 37;

// Every call answers a client::Status: which procedure or runtime call it was, which of the two layers answered, and
// the code. Nothing throws.
bool Succeeded(const client::Status& status) {
  if (!status.Ok()) std::printf("%s\n", client::Describe(status).c_str());
  return status.Ok();
}

// Sessions are closed by their destructors. Their calls block until the service answers.
bool UseDevice(client::Connection& connection) {
  client::DeviceSession session(connection);
  if (!Succeeded(session.Open())) return false;
  DWORD answer = 0;
  if (!Succeeded(session.Call(kPendingSwitches, 0, 0, 0, &answer))) return false;
  std::printf("function 0x%04X answered 0x%08X\n", static_cast<unsigned>(kPendingSwitches),
              static_cast<unsigned>(answer));
  DWORD word = 0;
  if (!Succeeded(session.WakeupStatus(client::WakeupKind::OneTouchButton, &word))) return false;
  std::printf("one-touch wake-up word 0x%08X\n", static_cast<unsigned>(word));
  return true;
}

// The same asynchronously: the call thread makes blocking calls for the program and answers with futures. What a call
// refers to lives until its future is ready.
bool UseDeviceAsynchronously(client::Connection& connection) {
  client::DeviceSession session(connection);
  client::CallThread calls;
  std::future<client::Answer> opened = calls.Post([&session](DWORD*) { return session.Open(); });
  std::future<client::Answer> called =
      calls.Post([&session](DWORD* answer) { return session.Call(kPendingSwitches, 0, 0, 0, answer); });
  if (!Succeeded(opened.get().status)) return false;
  const client::Answer answer = called.get();
  if (!Succeeded(answer.status)) return false;
  std::printf("asynchronously 0x%08X\n", static_cast<unsigned>(answer.value));
  return true;
}

// Registrations last, so the example takes its own back.
bool RegisterAppService(client::Connection& connection) {
  const WideString package = W("Quorvex.Example_m3tq8v0kc2wna");
  const WideString service = W("com.quorvex.example.events");
  const client::AppServiceEvent resume = {kResumeEvent, {}};
  client::AppServices services(connection);
  if (!Succeeded(services.Register(package, service, resume))) return false;
  std::printf("registered for event %u\n", static_cast<unsigned>(kResumeEvent));
  return Succeeded(services.Query(package, service, resume)) && Succeeded(services.Unregister(package, resume));
}

// Events arrive from the moment of Start on, whether or not anybody looks, and are queued in order.
bool AwaitEvent(client::EventSubscription& subscription, std::chrono::seconds patience) {
  using Outcome = client::EventSubscription::Outcome;
  client::Event event;
  const Outcome outcome = subscription.Next(patience, &event);
  if (outcome == Outcome::Ended) return Succeeded(subscription.End());
  if (outcome == Outcome::TimedOut)
    std::printf("no event\n");
  else
    std::printf("event %u, data1 0x%08X, data2 0x%08X\n", static_cast<unsigned>(event.id),
                static_cast<unsigned>(event.data1), static_cast<unsigned>(event.data2));
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const std::chrono::seconds patience(argc > 1 ? std::atoi(argv[1]) : 0);
  client::Connection connection;  // outlives everything made over it
  if (!Succeeded(connection.Open())) return 1;
  client::EventSubscription subscription(connection);
  if (!Succeeded(subscription.Start())) return 1;
  if (!UseDevice(connection) || !UseDeviceAsynchronously(connection) || !RegisterAppService(connection)) return 1;
  std::printf("waiting for an event\n");
  std::fflush(stdout);
  return AwaitEvent(subscription, patience) ? 0 : 1;
}
