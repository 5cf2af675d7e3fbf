#include "tests/rpc/server_fixture.h"

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "platform/host/rpc/server_status.h"

bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout) {
  const auto until = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > until) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

RPC_IF_HANDLE ServerFixture::Handle(const host::rpc::InterfaceDescription& interface) {
  return const_cast<host::rpc::InterfaceDescription*>(&interface);
}

void ServerFixture::SetUp() {
  server_.Reset();
  std::string folder = (std::filesystem::temp_directory_path() / "hkd-rpc-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  folder_ = folder;
  host::UseMachineDirectory(folder);
  std::string error;
  ASSERT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error)) << error;
  WCHAR protocol[] = u"ncalrpc";
  WCHAR endpoint[] = u"TestEndpoint";
  ASSERT_EQ(RpcServerUseProtseqEpW(protocol, 10, endpoint, nullptr), RPC_S_OK);
  ASSERT_EQ(RpcServerRegisterIf3(Handle(kTestInterface), nullptr, nullptr, RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY,
                                 kTestMaxCalls, 0, nullptr, nullptr),
            RPC_S_OK);
}

void ServerFixture::TearDown() {
  EXPECT_TRUE(Eventually([] { return host::rpc::ConnectionCount() == 0; }));
  EXPECT_TRUE(Eventually([] { return host::rpc::ContextHandleCount() == 0; }));
  while (server_.PendingCount() > 0) CompleteNext(0);
  EXPECT_TRUE(Eventually([] { return host::rpc::OpenCallCount() == 0; }));
  if (registered_) {
    EXPECT_EQ(RpcServerUnregisterIf(Handle(kTestInterface), nullptr, TRUE), RPC_S_OK);
  }
  host::rpc::CloseServerEndpoints();
  std::filesystem::remove_all(folder_);
}

RawClient ServerFixture::Connect(std::uint32_t group) {
  RawClient client(kTestEndpoint);
  EXPECT_TRUE(client.valid());
  EXPECT_NE(client.Bind(kTestInterface, host::rpc::Syntax::Ndr64, group), 0u);
  return client;
}

RPC_STATUS ServerFixture::CompleteNext(std::uint32_t first, std::uint32_t result) {
  const PendingWait wait = server_.TakePending();
  wait.record[0] = first;
  return RpcAsyncCompleteCall(wait.state, &result);
}

void Gate::Pass() {
  std::unique_lock guard(lock_);
  opened_.wait(guard, [this] { return open_; });
}

void Gate::Open() {
  std::lock_guard guard(lock_);
  open_ = true;
  opened_.notify_all();
}
