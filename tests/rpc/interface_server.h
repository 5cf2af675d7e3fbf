// The interface on the air in the test process, with server routines that note what they were given.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "platform/rpc_interface.h"

// What the routines share with the test. One for the process; each case runs in a process of its own.
struct InterfaceServer {
  static InterfaceServer& Instance();

  void Note(std::string line);
  std::vector<std::string> Notes();
  std::size_t WaitingCount();
  // Completes, or aborts, the oldest pending wait.
  RPC_STATUS CompleteWait(const Hkd04a7Rpc_EventRecord& record, HRESULT result = 0);
  RPC_STATUS AbortWait(ULONG code);
  // RpcServerTestCancel of the oldest pending wait.
  RPC_STATUS TestCancel();

  struct Waiting {
    PRPC_ASYNC_STATE state;
    Hkd04a7Rpc_EventRecord* record;
  };
  Waiting TakeWaiting();

  std::mutex lock;
  std::vector<std::string> notes;
  std::vector<Waiting> waiting;
};

// A machine folder of its own with the endpoint "Hkd04a7RpcEndpoint"; nothing is left behind at the end.
class InterfaceFixture : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A binding to `endpoint`, freed at the end of the case at the latest.
  RPC_BINDING_HANDLE Bind(const std::u16string& endpoint = u"Hkd04a7RpcEndpoint");
  void FreeBindings();

  InterfaceServer& server_ = InterfaceServer::Instance();

 private:
  std::vector<RPC_BINDING_HANDLE> bindings_;
  std::string folder_;
};
