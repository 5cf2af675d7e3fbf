// Which handle blocks are alive, so that a call can tell a block from what is left of one.
//
// A handle may be destroyed, or run down, while a call runs on it. Each call therefore looks its block up here before
// it touches it and takes a counted reference to what stands behind it; a block that is gone, or belongs to the other
// type of handle, is answered like none at all.
//
// A block is known by its address, so a late call could take a new block for the one it was handed. Ended blocks are
// therefore kept back: an address comes again only after many more handles have ended, and no call takes that long
// from its dispatch to the look-up.
#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "common/mutex.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Block: allocated with malloc, its only field `Target* target` shows what stands behind the handle.
// Callable from every thread; its lock is a leaf, and nothing is destroyed while it is held.
template <typename Block, typename Target>
class LiveBlocks {
 public:
  LiveBlocks() = default;
  // No call runs any more, and no block is alive.
  ~LiveBlocks() {
    for (void* block : ended_) std::free(block);
  }
  LiveBlocks(const LiveBlocks&) = delete;
  LiveBlocks& operator=(const LiveBlocks&) = delete;

  // A new block, which holds a reference to `target` until Take. Null when memory is short; the reference is then gone.
  Block* Make(std::shared_ptr<Target> target) HKD_EXCLUDES(lock_) {
    auto* block = static_cast<Block*>(std::malloc(sizeof(Block)));
    if (block == nullptr) return nullptr;
    block->target = target.get();
    try {
      const Common::MutexLock hold(lock_);
      // Without the reference at first: when memory is short for the table, it must not go under the lock.
      blocks_.try_emplace(block).first->second = std::move(target);
    } catch (const std::bad_alloc&) {
      std::free(block);
      return nullptr;
    }
    return block;
  }

  // A reference to what stands behind `handle`, null when it is no live block.
  std::shared_ptr<Target> Find(void* handle) HKD_EXCLUDES(lock_) {
    const Common::MutexLock hold(lock_);
    const auto found = blocks_.find(handle);
    return found == blocks_.end() ? nullptr : found->second;
  }

  // Ends the block and returns the reference that it held; null when it is no live block.
  std::shared_ptr<Target> Take(void* handle) HKD_EXCLUDES(lock_) {
    std::shared_ptr<Target> target;
    void* oldest = handle;
    {
      const Common::MutexLock hold(lock_);
      const auto found = blocks_.find(handle);
      if (found == blocks_.end()) return nullptr;
      target = std::move(found->second);
      blocks_.erase(found);
      static_cast<Block*>(handle)->target = nullptr;
      std::swap(oldest, ended_[nextEnded_]);
      nextEnded_ = (nextEnded_ + 1) % kEnded;
    }
    std::free(oldest);
    return target;
  }

 private:
  static constexpr std::size_t kEnded = 256;

  Common::Mutex lock_;
  std::unordered_map<void*, std::shared_ptr<Target>> blocks_ HKD_GUARDED_BY(lock_);
  std::array<void*, kEnded> ended_ HKD_GUARDED_BY(lock_){};  // a ring of the last blocks that ended, or null
  std::size_t nextEnded_ HKD_GUARDED_BY(lock_) = 0;          // its oldest
};

}  // namespace Quorvex::PC::Hkd04a7::Service
