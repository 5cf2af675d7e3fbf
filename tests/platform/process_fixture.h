// A machine in the test's process, which stands for a service: LocalSystem. At the end nothing may be left open.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/host/kernel/memory.h"
#include "platform/host/processes/token_object.h"
#include "platform/host/registry/registry_control.h"
#include "tests/machine/machine_fixture.h"

class ProcessTest : public machine_test::MachineTest {
 protected:
  void SetUp() override {
    MachineTest::Start();
    host::SetOwnToken(host::SystemToken());
  }

  void TearDown() override {
    host::ClearFaults();
    host::SetOwnToken(std::nullopt);
    EXPECT_THAT(host::OpenHandleCounts(), testing::IsEmpty());
    EXPECT_EQ(host::LocalBlockCount(), 0);
    EXPECT_EQ(host::OpenRegistryKeyCount(), 0u);
  }

  // A primary token with every right.
  static HANDLE Token(const host::TokenFacts& facts) {
    return host::OpenHandle(std::make_shared<host::TokenObject>(facts, TokenPrimary), TOKEN_ALL_ACCESS);
  }
};
