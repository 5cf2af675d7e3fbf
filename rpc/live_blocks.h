// Which handle blocks are alive, so that a call can tell a block from what is left of one.
//
// A handle that is not serialized may be destroyed, or run down, while a call runs on it. Each call therefore looks its
// block up here before it touches it and takes a counted reference to what stands behind it; a block that is gone, or
// belongs to the other type of handle, is answered like none at all.
#pragma once

#include <cstdlib>
#include <memory>
#include <new>
#include <unordered_set>
#include <utility>

#include "common/mutex.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Block: allocated with malloc, one field `Target* target` whose type derives from std::enable_shared_from_this.
// Callable from every thread; its lock is a leaf.
template <typename Block, typename Target>
class LiveBlocks {
 public:
  // A new block for `target`, which somebody else keeps alive until Take. Null when memory is short.
  Block* Make(Target* target) HKD_EXCLUDES(lock_) {
    auto* block = static_cast<Block*>(std::malloc(sizeof(Block)));
    if (block == nullptr) return nullptr;
    block->target = target;
    try {
      const Common::MutexLock hold(lock_);
      blocks_.insert(block);
    } catch (const std::bad_alloc&) {
      std::free(block);
      return nullptr;
    }
    return block;
  }

  // A reference to what stands behind `handle`, null when it is no live block.
  std::shared_ptr<Target> Find(void* handle) HKD_EXCLUDES(lock_) {
    const Common::MutexLock hold(lock_);
    if (!blocks_.contains(handle)) return nullptr;
    return static_cast<Block*>(handle)->target->shared_from_this();
  }

  // Ends the block and returns what stood behind it; null when it is no live block.
  Target* Take(void* handle) HKD_EXCLUDES(lock_) {
    {
      const Common::MutexLock hold(lock_);
      if (blocks_.erase(handle) == 0) return nullptr;
    }
    auto* block = static_cast<Block*>(handle);
    Target* target = std::exchange(block->target, nullptr);
    std::free(block);
    return target;
  }

 private:
  Common::Mutex lock_;
  std::unordered_set<void*> blocks_ HKD_GUARDED_BY(lock_);
};

}  // namespace Quorvex::PC::Hkd04a7::Service
