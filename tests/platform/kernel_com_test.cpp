// Contract: joining COM apartments.
#include <gtest/gtest.h>

#include <thread>

#include "platform/com.h"
#include "platform/errors.h"

namespace {

template <typename Body>
void OnThread(Body body) {
  std::thread(body).join();
}

TEST(Com, EveryJoinIsUndoneOnce) {
  OnThread([] {
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);  // one join is left
    CoUninitialize();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
    CoUninitialize();
  });
}

TEST(Com, ApartmentsAreEachThreadsOwn) {
  OnThread([] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    OnThread([] {
      EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
      CoUninitialize();
    });
    CoUninitialize();
  });
}

}  // namespace
