// Work for a thread of the process's pool.
#pragma once

#include <functional>

namespace host::runtime {

// Runs `work`, which throws nothing, once on a thread of the pool. False when it cannot be queued; then it is gone.
bool RunOnPool(std::function<void()> work);

}  // namespace host::runtime
