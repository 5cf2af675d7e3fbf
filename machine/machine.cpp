#include "machine/machine.h"

#include <unistd.h>

#include <condition_variable>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>
#include <utility>

#include "machine/control_server.h"
#include "machine/instance_lock.h"
#include "machine/loop.h"
#include "machine/op_registry.h"
#include "platform/host/base/open_files.h"

namespace machine {

using nlohmann::json;

namespace {


}  // namespace

struct Machine::Impl {
  explicit Impl(Options given) : options(std::move(given)) {}

  Options options;
  UniqueDescriptor lock;
  Loop loop;
  OpRegistry operations;
  ControlServer server{loop, operations};
  Clock::time_point started = Clock::now();
  std::thread thread;

  std::mutex mutex;
  std::condition_variable changed;
  bool down = false;  // guarded by mutex

  bool Prepare(std::string* error);
  void AddOperations();
  void GoDown();
};

Machine::Machine(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Machine::~Machine() {
  Stop();
}

bool Machine::Start(std::string* error) {
  if (!impl_->Prepare(error)) return false;
  impl_->AddOperations();
  if (!impl_->server.Listen(impl_->options.directory.runtime + "/control", error)) return false;
  impl_->thread = std::thread([impl = impl_.get()] { impl->loop.Run(); });
  return true;
}

void Machine::Stop() {
  if (!impl_->thread.joinable()) return;
  RequestDown();
  WaitUntilDown();
  impl_->thread.join();
  impl_->lock.Close();
}

void Machine::WaitUntilDown() {
  std::unique_lock lock(impl_->mutex);
  impl_->changed.wait(lock, [&] { return impl_->down; });
}

void Machine::RequestDown() {
  impl_->loop.Post([impl = impl_.get()] { impl->GoDown(); });
}

bool Machine::Impl::Prepare(std::string* error) {
  if (!loop.valid()) {
    *error = "the system has no descriptors left";
    return false;
  }
  host::RaiseOpenFileLimit();
  if (!host::EnsureMachineDirectory(options.directory, error)) return false;
  lock = LockInstance(options.directory.runtime + "/machine.lock", error);
  return lock.valid();
}

void Machine::Impl::AddOperations() {
  operations.Add("ping", [](const Request& request) { request.responder.Done(); });
  operations.Add("machine.status", [this](const Request& request) {
    const auto up = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - started);
    request.responder.Reply(
        json{{"pid", getpid()}, {"uptimeMs", up.count()}, {"connections", server.connections().size()}});
  });
  operations.Add("machine.down", [this](const Request& request) {
    request.responder.Done();
    GoDown();
  });
}

void Machine::Impl::GoDown() {
  server.CloseConnections(nullptr);
  loop.Quit();
  const std::lock_guard guard(mutex);
  down = true;
  changed.notify_all();
}

}  // namespace machine
