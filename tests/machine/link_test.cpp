// The control socket and the link: messages, malformed ones, lost connections.
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "platform/host/link/frame.h"
#include "platform/host/link/machine_link.h"
#include "platform/host/link/unix_socket.h"
#include "tests/machine/machine_fixture.h"

namespace machine_test {
namespace {

using host::FrameReader;

TEST(FrameTest, MessagesAreCutFromTheStreamHoweverItArrives) {
  const std::string stream = host::EncodeFrame("{}") + host::EncodeFrame("") + host::EncodeFrame("[1]");
  EXPECT_EQ(host::EncodeFrame("{}"), std::string("\x02\0\0\0{}", 6));
  FrameReader frames;
  std::vector<std::string> messages;
  for (const char byte : stream) {
    frames.Append(&byte, 1);
    std::string payload;
    while (frames.Take(&payload) == FrameReader::Result::kMessage) messages.push_back(payload);
  }
  EXPECT_EQ(messages, (std::vector<std::string>{"{}", "", "[1]"}));
  const std::string tooLong("\x01\0\0\x01", 4);
  frames.Append(tooLong.data(), tooLong.size());
  std::string payload;
  EXPECT_EQ(frames.Take(&payload), FrameReader::Result::kTooLarge);
}

TEST(FrameTest, MessagesNestedTooDeeplyEndTheStream) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  const std::pair<std::string, FrameReader::Result> cases[] = {
      {nested(host::kMaxFrameNesting), FrameReader::Result::kMessage},
      {nested(host::kMaxFrameNesting + 1), FrameReader::Result::kTooLarge},
      {"[\"\\\"" + nested(1000) + "\"]", FrameReader::Result::kMessage},  // in a string, behind an escaped quote
      {"{\"a\":" + nested(4'000'000), FrameReader::Result::kTooLarge},
  };
  for (const auto& [message, expected] : cases) {
    FrameReader frames;
    const std::string frame = host::EncodeFrame(message);
    frames.Append(frame.data(), frame.size());
    std::string payload;
    EXPECT_EQ(frames.Take(&payload), expected) << message.substr(0, 20);
  }
}

class LinkTest : public MachineTest {
 protected:
  void SetUp() override { Start(); }

  // A connection of its own that sends these bytes; true when the daemon closes it within the limit.
  static bool IsClosedAfter(const std::string& bytes, unsigned milliseconds = 10000) {
    const int socket = host::ConnectUnixSocket(host::CurrentMachineDirectory().runtime + "/control");
    EXPECT_GE(socket, 0);
    const timeval limit = {milliseconds / 1000, milliseconds % 1000 * 1000};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    EXPECT_EQ(send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    char byte = 0;
    const bool closed = recv(socket, &byte, 1, 0) == 0 || errno == ECONNRESET;
    close(socket);
    return closed;
  }
};

TEST_F(LinkTest, MalformedMessagesEndTheirOwnConnectionOnly) {
  ASSERT_EQ(Code("ping"), 0u);
  const std::string deep = std::string(100000, '[');
  const std::string malformed[] = {host::EncodeFrame("no json"),
                                   host::EncodeFrame("[]"),
                                   host::EncodeFrame("{\"id\":1}"),
                                   host::EncodeFrame("{\"op\":7}"),
                                   host::EncodeFrame("{\"id\":\"x\",\"op\":\"ping\"}"),
                                   host::EncodeFrame(deep),
                                   host::EncodeFrame("{\"op\":\"\xff\"}"),
                                   std::string("\xff\xff\xff\xff", 4)};
  for (const std::string& bytes : malformed) EXPECT_TRUE(IsClosedAfter(bytes)) << bytes.substr(0, 40);
  EXPECT_FALSE(IsClosedAfter(std::string("\x10\0\0\0half", 8), 200)) << "the rest may still come";
  EXPECT_EQ(Code("ping"), 0u);
}

TEST_F(LinkTest, WrongRequestsAreAnswered) {
  EXPECT_EQ(Code("no.such"), 1u);
  EXPECT_EQ(Code("service.query"), 87u);
  EXPECT_EQ(Code("service.query", {{"name", 5}}), 87u);
  EXPECT_EQ(Code("service.status", {{"service", "Nobody"}}), 1060u);
  EXPECT_EQ(Code("process.run", {{"program", "relative"}}), 87u);
  EXPECT_EQ(host::MachineLink::Instance().Call(nlohmann::json::array(), nullptr), 87u);
}

TEST_F(LinkTest, ManyThreadsShareOneLink) {
  std::atomic<unsigned> answered = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 100; ++round) answered += Code("ping") == 0 ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(answered, 800u);
  EXPECT_EQ(Ask("machine.status").at("connections").size(), 1u);
}

TEST_F(LinkTest, AMachineThatGoesEndsPendingCallsAndTellsSo) {
  std::atomic<bool> told = false;
  host::MachineLink::Instance().Listen("link.closed", [&](const nlohmann::json&) { told = true; });
  ASSERT_EQ(Code("service.create", {{"name", "Dummy"}, {"program", ProgramBeside("machine-dummy-service")}}), 0u);
  ASSERT_EQ(StartDummy("hang"), 0u);
  ASSERT_EQ(Code("service.stop", {{"name", "Dummy"}, {"wait", false}}), 0u);
  std::thread waiting([] { EXPECT_EQ(Code("machine.settle", {{"timeoutMs", 60000}}), 1062u); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  Stop();
  waiting.join();
  host::MachineLink::Instance().Listen("link.closed", nullptr);
  EXPECT_TRUE(told);
  EXPECT_EQ(Code("ping"), 1062u);
  Start();
  EXPECT_EQ(Code("ping"), 0u) << "the link connects anew";
}

TEST_F(LinkTest, RunningOutOfDescriptorsDoesNotSpin) {
  ASSERT_EQ(Code("ping"), 0u);
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit tight = {CountDescriptors() + 9, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &tight), 0);
  const std::string path = host::CurrentMachineDirectory().runtime + "/control";
  std::vector<int> sockets;
  for (int socket = 0; (socket = host::ConnectUnixSocket(path)) >= 0;) sockets.push_back(socket);
  const std::clock_t used = std::clock();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_LT((std::clock() - used) * 1000 / CLOCKS_PER_SEC, 100) << "milliseconds of processor time";
  EXPECT_EQ(Code("ping"), 0u);
  for (const int socket : sockets) close(socket);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  host::MachineLink another;
  EXPECT_EQ(another.Call({{"op", "ping"}}, nullptr), 0u) << "it accepts again";
}

TEST_F(LinkTest, OneDaemonServesAMachine) {
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  machine::Machine second(options);
  std::string error;
  EXPECT_FALSE(second.Start(&error));
  EXPECT_EQ(error, "the machine is up already (process " + std::to_string(getpid()) + ")");
  EXPECT_EQ(Code("ping"), 0u);
}

TEST(LongPathTest, ASocketBelowALongPathIsReached) {
  const TemporaryFolder folder;
  host::UseMachineDirectory(folder.path() + "/" + std::string(120, 'd'));
  machine::Options options;
  options.directory = host::CurrentMachineDirectory();
  machine::Machine machine(options);
  std::string error;
  ASSERT_TRUE(machine.Start(&error)) << error;
  EXPECT_EQ(Code("ping"), 0u);
  machine.Stop();
  host::MachineLink::Reset();
}

}  // namespace
}  // namespace machine_test
