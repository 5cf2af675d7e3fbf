#include "machine/machine.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "machine/board.h"
#include "machine/boot.h"
#include "machine/instance_lock.h"
#include "platform/host/base/open_files.h"

namespace machine {

struct Machine::Impl {
  explicit Impl(Options given) : options(std::move(given)) {}

  const Options options;
  UniqueDescriptor lock;
  std::unique_ptr<Loop> loop;
  std::unique_ptr<Board> board;
  std::thread thread;

  std::mutex mutex;
  std::condition_variable changed;
  bool down = true;  // guarded by mutex

  bool Assemble(std::string* error);
  void HandleDown();
  void Dismantle();
};

Machine::Machine(Options options) : impl_(std::make_unique<Impl>(std::move(options))) {}

Machine::~Machine() {
  Stop();
}

bool Machine::Start(std::string* error) {
  host::RaiseOpenFileLimit();
  if (!impl_->Assemble(error)) {
    impl_->Dismantle();
    return false;
  }
  impl_->down = false;
  impl_->thread = std::thread([loop = impl_->loop.get()] { loop->Run(); });
  return true;
}

void Machine::Stop() {
  if (!impl_->thread.joinable()) return;
  RequestDown();
  WaitUntilDown();
  impl_->thread.join();
  impl_->Dismantle();
}

void Machine::WaitUntilDown() {
  std::unique_lock lock(impl_->mutex);
  impl_->changed.wait(lock, [&] { return impl_->down; });
}

void Machine::RequestDown() {
  impl_->loop->Post([board = impl_->board.get()] { board->TakeDown(); });
}

bool Machine::Impl::Assemble(std::string* error) {
  if (!host::EnsureMachineDirectory(options.directory, error)) return false;
  lock = LockInstance(options.directory.runtime + "/machine.lock", error);
  if (!lock.valid() || !ClearRuntime(options.directory, error)) return false;
  EmptyLogs(options.directory);
  auto device = Device::Open(options.directory.runtime, error);
  if (device == nullptr) return false;
  auto events = host::OpenNamedEventMap(options.directory.runtime, true);
  loop = std::make_unique<Loop>();
  if (events == nullptr || !loop->valid()) {
    *error = "the named events or the event loop cannot be made";
    return false;
  }
  board = std::make_unique<Board>(*loop, options, std::move(device), std::move(events), [this] { HandleDown(); });
  return board->BringUp(error);
}

// On the loop's thread, when everything has ended.
void Machine::Impl::HandleDown() {
  loop->Quit();
  const std::lock_guard guard(mutex);
  down = true;
  changed.notify_all();
}

void Machine::Impl::Dismantle() {
  board.reset();
  loop.reset();
  lock.Close();
}

}  // namespace machine
