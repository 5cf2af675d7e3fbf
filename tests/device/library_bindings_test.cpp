// Binding the companion libraries: what is held, what is given back, and the last error of every refusal.
#include <gtest/gtest.h>

#include <filesystem>

#include "device/hkd04a7_dll.h"
#include "device/hkd04a7_etw_dll.h"
#include "device/trace_registration.h"
#include "platform/errors.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/system_modules.h"
#include "tests/support/test_machine.h"

using namespace Quorvex::PC;
using namespace Quorvex::PC::Hkd04a7;

namespace {

WideString Library(const std::string& relative) {
  return host::ToUtf16((std::filesystem::canonical("/proc/self/exe").parent_path() / relative).string());
}

class LibraryBindings : public testing::Test {
 protected:
  support::TestMachine machine;
  const WideString utility = Library("hkd04a7-utility.dll");
  const WideString etw = Library("hkd04a7-utility-etw.dll");
};

TEST_F(LibraryBindings, RefusesASecondLoadAndKeepsTheFirst) {
  CHkd04a7DllInternalAPI dll;
  ASSERT_TRUE(dll.Load(Common::DllByPath(utility.c_str())));
  EXPECT_FALSE(dll.Load(Common::DllByPath(utility.c_str())));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  EXPECT_EQ(host::ModuleReferences(utility), 1);
  std::uint32_t answer = 0;
  EXPECT_TRUE(dll.CallFuncMethod(0x1000, 0, 0, 0, &answer));
  dll.Unload();
  EXPECT_EQ(host::ModuleReferences(utility), 0);
  EXPECT_FALSE(dll.CallFuncMethod(0x1000, 0, 0, 0, &answer));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
}

TEST_F(LibraryBindings, HoldsNothingOfALibraryThatLacksAnExport) {
  const WideString lacking = Library("variants/utility-lacks-export/hkd04a7-utility.dll");
  CHkd04a7DllInternalAPI dll;
  EXPECT_FALSE(dll.Load(Common::DllByPath(lacking.c_str())));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  EXPECT_FALSE(dll.IsLoaded());
  EXPECT_EQ(host::ModuleReferences(lacking), 0);
  EXPECT_FALSE(dll.CancelWaitNotification());
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  EXPECT_FALSE(dll.Load(Common::DllByPath(Library("missing.dll").c_str())));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST_F(LibraryBindings, OpensOneTraceRegistrationPerHolder) {
  CHkd04a7etwDll dll;
  TraceRegistration trace;
  EXPECT_FALSE(trace.Open(dll));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  ASSERT_TRUE(dll.Load(Common::DllByPath(etw.c_str())));
  ASSERT_TRUE(trace.Open(dll));
  EXPECT_NE(trace.Handle(), 0u);
  EXPECT_FALSE(trace.Open(dll));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  EXPECT_TRUE(trace.IsOpen());
}

}  // namespace
