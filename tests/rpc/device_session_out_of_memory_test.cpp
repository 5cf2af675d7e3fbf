// Opening a device session when memory is short, at each place where some is asked for.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/errors.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/rpc_interface.h"
#include "tests/support/device_session.h"
#include "tests/support/rpc_client.h"
#include "tests/support/service_process.h"

namespace {

// The allocation of this thread, counted down from here, that fails; 0: none does.
thread_local int g_failAt = 0;

bool Fails() {
  return g_failAt > 0 && --g_failAt == 0;
}

// Whether the next block of a handle, whichever thread asks for it, is refused.
std::atomic<bool> g_failBlock = false;

}  // namespace

// What the product allocates with malloc (the linker puts this in its place).
extern "C" void* __real_malloc(std::size_t size);
extern "C" void* __wrap_malloc(std::size_t size) {
  const bool failsBlock = size == sizeof(void*) && g_failBlock.exchange(false);
  return Fails() || failsBlock ? nullptr : __real_malloc(size);
}

[[gnu::noinline]] void* operator new(std::size_t size) {
  void* block = Fails() ? nullptr : __real_malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Fails() ? nullptr : __real_malloc(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept {
  std::free(block);
}
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}

namespace {

TEST(DeviceSessionOutOfMemory, IsAnsweredAndLeavesNothing) {
  support::TestMachine machine;
  int failures = 0;
  for (int place = 1;; ++place) {
    ASSERT_LT(place, 200);
    Hkd04a7Rpc_DeviceHandle device = nullptr;
    g_failAt = place;
    const HRESULT result = Hkd04a7Rpc_Device_Create(nullptr, &device);
    const bool failed = g_failAt == 0;
    g_failAt = 0;
    if (!failed) {
      EXPECT_EQ(result, S_OK);
      EXPECT_EQ(Hkd04a7Rpc_Device_Close(&device), S_OK);
      break;
    }
    ++failures;
    EXPECT_EQ(result, E_OUTOFMEMORY) << "allocation " << place;
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(host::ModuleReferences(u"hkd04a7-utility.dll"), 0) << "allocation " << place;
  }
  EXPECT_GE(failures, 3) << "the session, its block and the block's entry at least";
}

TEST(DeviceSessionOutOfMemory, IsToldToTheClient) {
  support::ServiceProcess service;
  service.StartAndSettle();
  const int before = host::ModuleReferences(u"hkd04a7-utility.dll");
  support::RpcClient client;
  support::DeviceSession session(client.Binding());
  g_failBlock = true;
  EXPECT_EQ(session.Open(), 0x8007000Eu);
  EXPECT_FALSE(g_failBlock) << "nobody asked";
  EXPECT_EQ(session.Handle(), nullptr);
  EXPECT_EQ(host::ModuleReferences(u"hkd04a7-utility.dll"), before);
  EXPECT_EQ(session.Open(), 0u);
}

}  // namespace
