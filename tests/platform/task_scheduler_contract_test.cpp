// Contract: how the Task Scheduler's first object is made.
#include <gtest/gtest.h>

#include <thread>

#include "platform/errors.h"
#include "platform/task_scheduler.h"

namespace {

HRESULT Create(REFCLSID classId, REFIID iid) {
  ITaskService* service = reinterpret_cast<ITaskService*>(1);
  const HRESULT result = CoCreateInstance(classId, nullptr, CLSCTX_ALL, iid, reinterpret_cast<void**>(&service));
  EXPECT_EQ(service != nullptr, SUCCEEDED(result));
  if (service != nullptr) service->Release();
  return result;
}

// Where nobody in the process has joined the multithreaded apartment before.
TEST(TaskScheduler, IsMadeInAnApartmentOnly) {
  std::thread([] {
    EXPECT_EQ(Create(CLSID_TaskScheduler, IID_ITaskService), CO_E_NOTINITIALIZED);
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(Create(CLSID_TaskScheduler, IID_ITaskService), S_OK);
    EXPECT_EQ(Create(CLSID_TaskScheduler, IID_IUnknown), S_OK);
    EXPECT_EQ(Create(CLSID_TaskScheduler, CLSID_TaskScheduler), E_NOINTERFACE);
    EXPECT_EQ(Create(IID_ITaskService, IID_ITaskService), REGDB_E_CLASSNOTREG);
    CoUninitialize();
  }).join();
}

TEST(TaskScheduler, LeadsNowhereBeforeItIsConnected) {
  std::thread([] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    ITaskService* service = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_ALL, IID_ITaskService,
                               reinterpret_cast<void**>(&service)),
              S_OK);
    const BSTR root = SysAllocString(W("\\"));
    ITaskFolder* folder = nullptr;
    EXPECT_TRUE(FAILED(service->GetFolder(root, &folder)));
    EXPECT_EQ(folder, nullptr);
    SysFreeString(root);
    service->Release();
    CoUninitialize();
  }).join();
}

}  // namespace
