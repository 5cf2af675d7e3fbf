// A machine folder of its own, the test interface on the air, and nothing left behind at the end.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "platform/host/rpc/rpc_calls.h"
#include "tests/rpc/raw_client.h"
#include "tests/rpc/server_interface.h"

constexpr const char* kTestEndpoint = "TestEndpoint";
constexpr unsigned kTestMaxCalls = 200;

// Whether `condition` comes true in time.
bool Eventually(const std::function<bool()>& condition, std::chrono::milliseconds timeout = std::chrono::seconds(10));

class ServerFixture : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // A client bound to the test interface.
  RawClient Connect(std::uint32_t group = 0);
  // Completes the oldest pending wait with these words.
  RPC_STATUS CompleteNext(std::uint32_t first, std::uint32_t result = 0);

  static RPC_IF_HANDLE Handle(const host::rpc::InterfaceDescription& interface);

  TestServer& server_ = TestServer::Instance();
  bool registered_ = true;

 private:
  std::string folder_;
};

// Holds routines until it is opened.
class Gate {
 public:
  void Pass();
  void Open();

 private:
  std::mutex lock_;
  std::condition_variable opened_;
  bool open_ = false;
};
