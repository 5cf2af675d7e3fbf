// Handle blocks that a call looks up too late, and one that no memory is left for.
#include <gtest/gtest.h>

#include <memory>

#include "rpc/live_blocks.h"
#include "tests/support/failing_allocation.h"

using Quorvex::PC::Hkd04a7::Service::LiveBlocks;

namespace {

struct Session;
struct Handle {
  Session* target;
};
using Blocks = LiveBlocks<Handle, Session>;

// Looks a block up when it goes, as anything that is destroyed may.
struct Session {
  explicit Session(Blocks& all) : blocks(all) {}
  ~Session() { EXPECT_EQ(blocks.Find(nullptr), nullptr); }
  Blocks& blocks;
};

TEST(HandleBlocks, AnEndedOneIsNotTakenForALaterOne) {
  Blocks blocks;
  void* const ended = blocks.Make(std::make_shared<Session>(blocks));
  ASSERT_NE(blocks.Take(ended), nullptr);
  for (int i = 0; i < 200; ++i) {
    void* const later = blocks.Make(std::make_shared<Session>(blocks));
    ASSERT_EQ(blocks.Find(ended), nullptr) << i;
    ASSERT_EQ(blocks.Take(ended), nullptr) << i;
    ASSERT_NE(blocks.Take(later), nullptr);
  }
}

TEST(HandleBlocks, WithoutMemoryTheReferenceGoesOutsideTheLock) {
  void* block = nullptr;
  for (int succeeding = 0; block == nullptr; ++succeeding) {
    Blocks blocks;
    auto session = std::make_shared<Session>(blocks);
    const std::weak_ptr<Session> watched = session;
    support::FailAllocationAfter(succeeding);
    block = blocks.Make(std::move(session));
    support::EndFailingAllocation();
    EXPECT_EQ(watched.expired(), block == nullptr);
    if (block == nullptr) continue;
    EXPECT_EQ(succeeding, 2) << "an entry of the table and the table itself";
    EXPECT_NE(blocks.Take(block), nullptr);
  }
}

}  // namespace
