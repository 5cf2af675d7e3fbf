// watch: subscribes to the service's events and prints each as it arrives.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <thread>

#include "client/connection.h"
#include "client/event_subscription.h"
#include "tools/commands.h"
#include "tools/event_text.h"
#include "tools/exit_codes.h"
#include "tools/report.h"
#include "tools/service_client.h"
#include "tools/signals.h"

namespace tool {
namespace {

using client::EventSubscription;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kClosePatience{2};  // for the service to take the end of the subscription

constexpr unsigned long kMostEvents = 1'000'000'000;

struct WatchRequest {
  unsigned long count = 0;  // 0: no limit
  double timeoutSeconds = 0;
};

// One run of the command, from the subscription to the sentence that says how it ended.
class Watch {
 public:
  Watch(const Options& options, const WatchRequest& request) : options_(options), request_(request) {}

  int Run() {
    if (int code = Connect(options_, &connection_); code != kDone) return code;
    subscription_ = std::make_unique<EventSubscription>(connection_);
    if (client::Status status = subscription_->Start(); !status.Ok())
      return ReportStatus(options_, "subscribe to events", status);
    NoteInterrupts();
    PrintLine(SubscribedLine(options_.json));
    SetDeadline();
    return Follow();
  }

 private:
  int Follow() {
    while (OutputIsSound()) {
      if (request_.count != 0 && printed_ == request_.count) return Finish("the count is reached", kDone);
      const bool interrupted = Interrupted();
      const bool over = interrupted || Clock::now() >= deadline_;
      // Once over, what has been given is still printed.
      const EventSubscription::Outcome outcome = PrintNext(over ? std::chrono::milliseconds(0) : NextPatience());
      if (outcome == EventSubscription::Outcome::Ended) return Ended();
      if (outcome == EventSubscription::Outcome::Event || !over) continue;
      return interrupted ? Finish("interrupted", kInterrupted) : Finish("the time is over", kTimedOut);
    }
    Close(kFailed);
    return kFailed;
  }

  EventSubscription::Outcome PrintNext(std::chrono::milliseconds patience) {
    client::Event event;
    const EventSubscription::Outcome outcome = subscription_->Next(patience, &event);
    if (outcome != EventSubscription::Outcome::Event) return outcome;
    PrintLine(EventLine(event, options_.json));
    ++printed_;
    return outcome;
  }

  void SetDeadline() {
    if (request_.timeoutSeconds <= 0) return;
    deadline_ = Clock::now() +
                std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(request_.timeoutSeconds));
  }

  std::chrono::milliseconds NextPatience() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
    return std::clamp(left, std::chrono::milliseconds(0), kInterruptLatency);
  }

  int Finish(const char* reason, int exitCode) {
    PrintLine(EndLine(reason, 0, printed_, options_.json));
    Close(exitCode);
    return exitCode;
  }

  // Ends the subscription properly, but does not wait for a service that has stopped answering: that one runs the
  // handle down when this process is gone.
  void Close(int exitCode) {
    std::promise<void> closed;
    std::future<void> done = closed.get_future();
    std::thread closer([this, &closed] {
      subscription_.reset();
      closed.set_value();
    });
    if (done.wait_for(kClosePatience) == std::future_status::timeout) std::_Exit(exitCode);
    closer.join();
  }

  int Ended() {
    const client::Status end = subscription_->End();
    if (end.ServiceStopping()) {
      PrintLine(EndLine("the service is stopping", end.Code(), printed_, options_.json));
      return kServiceNotRunning;
    }
    if (end.ServiceNotReachable())
      PrintLine(EndLine("the connection to the service was lost", end.Code(), printed_, options_.json));
    return ReportStatus(options_, "wait for the next event", end);
  }

  static void PrintLine(const std::string& line) {
    std::fprintf(stdout, "%s\n", line.c_str());
    std::fflush(stdout);
  }

  const Options& options_;
  const WatchRequest request_;
  client::Connection connection_;
  std::unique_ptr<EventSubscription> subscription_;
  Clock::time_point deadline_ = Clock::time_point::max();
  unsigned long printed_ = 0;
};

}  // namespace

void AddWatchCommand(CLI::App& app, Options& options) {
  CLI::App* command = app.add_subcommand("watch", "subscribe to the service's events and print each as it arrives");
  auto request = std::make_shared<WatchRequest>();
  command->add_option("--count", request->count, "end after this many events")->check(CLI::Range(1ul, kMostEvents));
  command->add_option("--timeout", request->timeoutSeconds, "end after this many seconds, with exit code 124")
      ->check(CLI::Range(0.001, 1e6));
  command->callback(
      [&options, request] { options.action = [&options, request] { return Watch(options, *request).Run(); }; });
}

}  // namespace tool
