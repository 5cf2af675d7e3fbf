#include "platform/host/runtime/pool_work.h"

#include <memory>
#include <new>
#include <utility>

#include "platform/host/kernel/thread_pool.h"

namespace host::runtime {

namespace {

using Work = std::function<void()>;

void RunWork(PTP_CALLBACK_INSTANCE, void* context) {
  const std::unique_ptr<Work> work(static_cast<Work*>(context));
  (*work)();
}

}  // namespace

bool RunOnPool(Work work) {
  std::unique_ptr<Work> held(new (std::nothrow) Work(std::move(work)));
  if (!held || !TrySubmitThreadpoolCallback(&RunWork, held.get(), nullptr)) return false;
  static_cast<void>(held.release());  // RunWork's now
  return true;
}

}  // namespace host::runtime
