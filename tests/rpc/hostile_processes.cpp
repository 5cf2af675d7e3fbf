#include "tests/rpc/hostile_processes.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "platform/host/base/machine_directory.h"
#include "platform/host/rpc/hkd04a7_description.h"

using namespace host::rpc;
using namespace std::chrono_literals;

const InterfaceDescription kServiceInterface = {hkd04a7::kInterfaceUuid, hkd04a7::kMajorVersion, hkd04a7::kMinorVersion,
                                                hkd04a7::kProcedures, hkd04a7::kContextTypes};

namespace {

struct Order {
  const Behaviour* behaviour;
  Victims victims;
  char machine[200];
};

struct Report {
  pid_t client;
  char outcome[200];
};

std::string TextOf(const RawReply& reply) {
  char text[40];
  switch (reply.header.type) {
    case PduType::Response:
      return "response";
    case PduType::Fault:
      std::snprintf(text, sizeof(text), "fault %x%s", reply.fault,
                    (reply.header.flags & kDidNotExecute) != 0 ? "" : " of a routine");
      return text;
    case PduType::BindNak:
      return "nak " + std::to_string(reply.nakReason);
    default:
      std::string results = "ack";
      for (const auto& each : reply.ack.results) {
        results += ' ' + std::to_string(each.result) + '.' + std::to_string(each.reason);
      }
      return results;
  }
}

bool Closed(int socket) {
  std::byte next;
  const ssize_t size = recv(socket, &next, 1, MSG_PEEK | MSG_DONTWAIT);
  return size == 0 || (size < 0 && errno != EAGAIN);
}

std::string WhatTheServerSays(RawClient& client, const std::string& expected) {
  std::string said;
  const auto until = std::chrono::steady_clock::now() + (expected == "silent" ? 100ms : 10s);
  while (said != expected && std::chrono::steady_clock::now() < until) {
    const auto reply = client.Receive(20ms);
    if (!reply && !Closed(client.socket())) continue;
    if (!said.empty()) said += ", ";
    said += reply ? TextOf(*reply) : "closed";
    if (!reply) break;
  }
  return said.empty() ? "silent" : said;
}

[[noreturn]] void BeClient(const Order& order, int socket) {
  host::UseMachineDirectory(std::string(order.machine, strnlen(order.machine, sizeof(order.machine))));
  RawClient client("Hkd04a7RpcEndpoint");
  const Behaviour& behaviour = *order.behaviour;
  std::string outcome = client.valid() ? "" : "not connected";
  if (behaviour.bound) client.Bind(kServiceInterface);
  client.Send(behaviour.bytes);
  if (behaviour.act != nullptr) outcome = behaviour.act(client, order.victims);
  if (outcome.empty()) outcome = WhatTheServerSays(client, behaviour.expected);
  Report report{getpid(), {}};
  outcome.copy(report.outcome, sizeof(report.outcome) - 1);
  send(socket, &report, sizeof(report), MSG_NOSIGNAL);
  for (;;) pause();
}

}  // namespace

HostileProcesses::HostileProcesses() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
  here_ = ends[0];
  there_ = ends[1];
  maker_ = fork();
  EXPECT_GE(maker_, 0);
  if (maker_ == 0) MakeClients();
  setpgid(maker_, maker_);
}

void HostileProcesses::MakeClients() {
  setpgid(0, 0);
  close(here_);
  signal(SIGCHLD, SIG_IGN);
  Order order{};
  while (recv(there_, &order, sizeof(order), 0) == sizeof(order)) {
    if (fork() == 0) BeClient(order, there_);
  }
  _exit(0);
}

HostileProcesses::~HostileProcesses() {
  if (maker_ > 0) {
    kill(-maker_, SIGKILL);
    waitpid(maker_, nullptr, 0);
  }
  close(here_);
  close(there_);
}

void HostileProcesses::Start(const Behaviour& behaviour, const Victims& victims) {
  Order order{&behaviour, victims, {}};
  const std::string runtime = host::CurrentMachineDirectory().runtime;
  const std::string root = runtime.substr(0, runtime.rfind('/'));
  ASSERT_LT(root.size(), sizeof(order.machine));
  root.copy(order.machine, root.size());
  ASSERT_EQ(send(here_, &order, sizeof(order), 0), static_cast<ssize_t>(sizeof(order)));
}

std::optional<std::string> HostileProcesses::Outcome(std::chrono::milliseconds timeout) {
  pollfd readable{here_, POLLIN, 0};
  Report report{};
  if (poll(&readable, 1, static_cast<int>(timeout.count())) <= 0) return std::nullopt;
  if (recv(here_, &report, sizeof(report), 0) != sizeof(report)) return std::nullopt;
  client_ = report.client;
  return report.outcome;
}

void HostileProcesses::Kill() {
  ASSERT_GT(client_, 0);
  EXPECT_EQ(kill(client_, SIGKILL), 0);
  client_ = -1;
}
