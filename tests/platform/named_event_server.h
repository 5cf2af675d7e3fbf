// A daemon that serves named events and nothing else, on a thread of its own and in a temporary folder; and who it
// takes its callers for.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "machine/control_server.h"
#include "machine/loop.h"
#include "machine/named_event_ops.h"
#include "machine/op_registry.h"
#include "platform/host/link/machine_link.h"
#include "tests/platform/temporary_machine.h"

class NamedEventServer {
 public:
  NamedEventServer() {
    events_ = std::make_unique<machine::NamedEvents>(host::OpenNamedEventMap(folder_.Runtime(), true));
    machine::AddNamedEventOps(operations_, *events_, [this](const machine::Connection&) { return Caller(); });
    std::string error;
    EXPECT_TRUE(server_.Listen(folder_.Runtime() + "/control", &error)) << error;
    thread_ = std::thread([this] { loop_.Run(); });
  }

  ~NamedEventServer() {
    host::MachineLink::Reset();
    loop_.Post([this] {
      server_.CloseConnections(nullptr);
      loop_.Quit();
    });
    thread_.join();
  }

  static host::Identity LocalSystem() { return {.userSid = "S-1-5-18", .isSystem = true}; }

  // Who the callers are from now on. LocalSystem at first.
  void SetCaller(const host::Identity& caller) {
    const std::lock_guard lock(mutex_);
    caller_ = caller;
  }

 private:
  host::Identity Caller() {
    const std::lock_guard lock(mutex_);
    return caller_;
  }

  TemporaryMachine folder_;
  machine::Loop loop_;
  machine::OpRegistry operations_;
  machine::ControlServer server_{loop_, operations_};
  std::unique_ptr<machine::NamedEvents> events_;
  std::mutex mutex_;
  host::Identity caller_ = LocalSystem();  // guarded by mutex_
  std::thread thread_;
};
