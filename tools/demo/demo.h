// The demo: a machine, the service and two clients as separate processes, and everything that can happen to them.
#pragma once

#include <memory>
#include <vector>

#include "tools/demo/demo_machine.h"
#include "tools/demo/demo_road.h"
#include "tools/demo/demo_steps.h"
#include "tools/demo/watch_client.h"
#include "tools/options.h"

namespace tool {

class Demo {
 public:
  explicit Demo(const Options& options) : options_(options), machine_(options) {}

  // Plays it once and prints what happens. kDone only when every expected event, and no other, came in order at both
  // clients, every request was answered as expected and the service stopped as it should; kInterrupted after Ctrl-C.
  // `chosen`: the machine's directory was given with --machine.
  int Play(bool chosen);

  // Starts the service once more and leaves everything up until Ctrl-C.
  int StayUp();

 private:
  int StartClients();
  int PlayStep(const DemoStep& step, DemoStage& stage);
  int Rest(const DemoStep& step);
  int StopWithWaitsPending();
  int ShowServiceHistory();
  void CheckNothingElseCame();
  void PlayRequests(const std::vector<DemoRequest>& requests);
  void ShowWakeupRecord();
  int Verdict() const;

  const Options& options_;
  DemoMachine machine_;
  DemoRoad road_;
  std::vector<std::unique_ptr<WatchClient>> clients_;
  std::vector<double> milliseconds_;  // of every event at every client
  std::size_t expected_ = 0;          // events that each client had to see so far
  std::size_t requests_ = 0;          // asked so far
  std::size_t rightRequests_ = 0;     // and answered as expected
  bool right_ = true;
};

}  // namespace tool
