#include "tools/program_run.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "platform/host/base/error_codes.h"
#include "platform/host/link/machine_link.h"
#include "tools/exit_codes.h"
#include "tools/machine_call.h"
#include "tools/report.h"
#include "tools/signals.h"

namespace tool {
namespace {

using nlohmann::json;

constexpr std::chrono::seconds kStartPatience{60};

}  // namespace

// What a thread of its own learns of the program's end; the descriptor wakes the other one.
struct ProgramRun::End {
  const int signal = eventfd(0, EFD_CLOEXEC);
  std::atomic<bool> known = false;  // the rest is set
  DWORD error = ERROR_SUCCESS;
  json reply;

  End() = default;
  ~End() { close(signal); }
  End(const End&) = delete;
  End& operator=(const End&) = delete;

  void Await(std::uint64_t number) {
    error = host::MachineLink::Instance().Call(json{{"op", "process.wait"}, {"number", number}}, &reply);
    known = true;
    eventfd_write(signal, 1);
  }
};

int ProgramRun::Run(json request) {
  program_ = request.at("program").get<std::string>();
  if (int code = Start(std::move(request)); code != kDone) return code;
  End end;
  std::thread waiter([this, &end] { end.Await(number_); });
  Follow(end);
  waiter.join();
  host::MachineLink::Reset();  // the machine may have gone, and left the link's thread to be collected
  return Result(end);
}

int ProgramRun::Result(const End& end) const {
  if (Interrupted()) return kInterrupted;
  if (!OutputIsSound()) return kFailed;
  if (end.error == ERROR_SUCCESS) return end.reply.at("exitCode").get<int>();
  const std::string tried = "wait for the end of " + program_;
  if (end.error == ERROR_SERVICE_NOT_ACTIVE)
    return Report(options_, kMachineNotUp, {tried, "the machine has gone, and its programs with it", 0, ""});
  return Report(options_, kFailed, {tried, "the machine", end.error, ""});
}

int ProgramRun::Start(json request) {
  const std::string tried = "run " + program_;
  if (!output_.Open() || !errors_.Open()) return Report(options_, kFailed, {tried, std::strerror(errno), 0, ""});
  request["op"] = "process.run";
  request["output"] = output_.WriterPath();
  request["errorOutput"] = errors_.WriterPath();
  json reply;
  NoteInterrupts();
  const MachineRequest call{tried, "the machine", "", kStartPatience};
  const int code = CallMachine(options_, call, request, &reply);
  output_.CloseWriter();
  errors_.CloseWriter();
  if (code != kDone) return code;
  pid_ = reply.at("pid").get<int>();
  number_ = reply.at("number").get<std::uint64_t>();
  return kDone;
}

// Everything the program wrote lies in the pipes when its end is known.
void ProgramRun::Follow(const End& end) {
  bool ended = false;
  while (!ended) {
    pollfd ready[] = {{output_.Reader(), POLLIN, 0}, {errors_.Reader(), POLLIN, 0}, {end.signal, POLLIN, 0}};
    poll(ready, std::size(ready), static_cast<int>(kInterruptLatency.count()));
    ended = end.known;
    if (!RelayBoth() || Interrupted()) EndProgram();
  }
}

bool ProgramRun::RelayBoth() {
  const bool taken = output_.Relay(stdout);
  return errors_.Relay(stderr) && taken;
}

void ProgramRun::EndProgram() {
  if (std::exchange(ending_, true)) return;
  host::MachineLink::Instance().Post(json{{"op", "process.end"}, {"pid", pid_}});
}

}  // namespace tool
