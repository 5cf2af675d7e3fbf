#include "common/unique_resource.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Quorvex::PC::Common;

namespace {

std::vector<int> g_closed;

// A closer that leaves a last error of its own, as platform calls do.
struct DisturbingCloser {
  using Type = int;
  static Type Empty() { return 0; }
  static void Close(Type resource) {
    g_closed.push_back(resource);
    SetLastError(999);
  }
};
using Owner = UniqueResource<DisturbingCloser>;

TEST(UniqueResource, ClosesOnceAndKeepsTheLastError) {
  g_closed.clear();
  SetLastError(5);
  {
    Owner first(1);
    Owner second(2);
    first = std::move(second);
    EXPECT_EQ(g_closed, std::vector<int>{1});
    EXPECT_FALSE(second);
    Owner released(3);
    EXPECT_EQ(released.Release(), 3);
    *first.Receive() = 4;
    EXPECT_EQ(g_closed, (std::vector<int>{1, 2}));
    first.Reset(4);
    EXPECT_EQ(g_closed, (std::vector<int>{1, 2})) << "resetting to itself must not close";
  }
  EXPECT_EQ(g_closed, (std::vector<int>{1, 2, 4}));
  EXPECT_EQ(GetLastError(), 5u);
}

}  // namespace
