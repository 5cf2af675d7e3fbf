// Programs started with another token, and process handles, over the machine.
#include "platform/processes.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/process_stat.h"
#include "platform/host/base/text.h"
#include "platform/host/identity/thread_token.h"
#include "platform/host/processes/process_object.h"
#include "platform/host/processes/token_object.h"
#include "platform/sync.h"
#include "tests/platform/process_fixture.h"

namespace {

using machine_test::Ask;
using machine_test::Eventually;
using nlohmann::json;

constexpr DWORD kFlags = CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS | CREATE_UNICODE_ENVIRONMENT;

// What a program is started with.
struct Launch {
  std::u16string program = u"/bin/sh";
  std::u16string commandLine;
  std::u16string environment = u"A=1";
  const WCHAR* directory = nullptr;
  DWORD flags = kFlags;
  host::TokenFacts token = host::SystemToken();
};

Launch Shell(std::u16string_view script) {
  return {.commandLine = u"\"/bin/sh\" -c \"" + std::u16string(script) + u"\""};
}

// Both handles of a program, closed at the end.
struct Started {
  ~Started() {
    if (information.hProcess) CloseHandle(information.hProcess);
    if (information.hThread) CloseHandle(information.hThread);
  }
  PROCESS_INFORMATION information{};
};

class ProcessesTest : public ProcessTest {
 protected:
  BOOL Start(const Launch& launch, Started* started) {
    const HANDLE token = Token(launch.token);
    std::u16string line = launch.commandLine;
    std::u16string environment = launch.environment + u'\0';
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    const BOOL created = CreateProcessAsUserW(token, launch.program.c_str(), line.empty() ? nullptr : line.data(),
                                              nullptr, nullptr, FALSE, launch.flags, environment.data(),
                                              launch.directory, &startup, &started->information);
    CloseHandle(token);
    return created;
  }

  // 0, or the last error of the refused start.
  DWORD CodeOf(const Launch& launch) {
    Started started;
    return Start(launch, &started) ? 0 : GetLastError();
  }

  DWORD RunToEnd(const Launch& launch) {
    Started started;
    EXPECT_TRUE(Start(launch, &started)) << GetLastError();
    EXPECT_EQ(WaitForSingleObject(started.information.hProcess, INFINITE), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeProcess(started.information.hProcess, &exitCode)) << GetLastError();
    return exitCode;
  }

  // What the machine's programs wrote since the last call.
  std::string TakeOutput() {
    const std::string path = host::CurrentMachineDirectory().runtime + "/output.log";
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    std::filesystem::resize_file(path, 0);
    return text.str();
  }
};

TEST_F(ProcessesTest, ExitCodesAreTold) {
  struct {
    const char16_t* script;
    DWORD exitCode;
  } const kCases[] = {{u"exit 0", 0}, {u"exit 7", 7}, {u"exit 255", 255}, {u"kill -KILL $$", 137}};
  for (const auto& [script, exitCode] : kCases) EXPECT_EQ(RunToEnd(Shell(script)), exitCode);
}

TEST_F(ProcessesTest, AHandleIsSignalledFromTheEndOn) {
  Started started;
  ASSERT_TRUE(Start(Shell(u"sleep 100"), &started));
  const auto& [process, thread, pid, threadId] = started.information;
  DWORD exitCode = 0;
  EXPECT_EQ(WaitForSingleObject(process, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(thread, 20), WAIT_TIMEOUT);
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, STILL_ACTIVE);
  EXPECT_EQ(Ask("process.end", {{"pid", pid}}).value("error", 0u), 0u);
  EXPECT_EQ(WaitForSingleObject(process, 10'000), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(process, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, 143u);
}

TEST_F(ProcessesTest, TheProgramHasTheTokenTheCommandLineAndTheEnvironmentGiven) {
  host::TokenFacts token{.userSid = "S-1-5-21-1-2-3-1001", .session = 4, .capabilities = {"S-1-15-3-1"}};
  token.packageFamilyName = "Quorvex.Settings_m3tq8v0kc2wna";
  Started started;
  Launch launch{.program = u"\\usr/bin/printf", .commandLine = u"\"printf\" %s| \"a b\" c\\\"d \u00E4", .token = token};
  ASSERT_TRUE(Start(launch, &started)) << GetLastError();
  EXPECT_EQ(WaitForSingleObject(started.information.hProcess, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(TakeOutput(), "a b|c\"d|\xC3\xA4|");
  const json program = Ask("process.history").at("programs").back();
  EXPECT_EQ(program.at("pid"), started.information.dwProcessId);
  EXPECT_EQ(program.at("commandLine"), host::ToUtf8(launch.commandLine));
  EXPECT_EQ(program.at("token"), ToJson(token));
  EXPECT_EQ(program.at("requester"), getpid());

  setenv("HKD04A7_TEST_SECRET", "of the service", 1);
  using namespace std::string_literals;
  EXPECT_EQ(RunToEnd({.program = u"/usr/bin/env", .environment = u"A=1\0B=x y"s + u'\0'}), 0u);
  EXPECT_EQ(TakeOutput(), "A=1\nB=x y\n");
  EXPECT_EQ(RunToEnd({.program = u"/usr/bin/nice", .flags = 0x4410}), 0u);
  EXPECT_EQ(RunToEnd({.program = u"/bin/pwd", .directory = u"/usr/bin/.."}), 0u);
  EXPECT_EQ(RunToEnd({.program = u"/bin/pwd"}), 0u);
  const std::string lower = std::to_string(std::min(getpriority(PRIO_PROCESS, 0) + 5, 19));
  EXPECT_EQ(TakeOutput(), lower + "\n/usr\n" + std::filesystem::current_path().string() + "\n");
}

TEST_F(ProcessesTest, RefusalsSayWhy) {
  const std::string text = folder_.path() + "/text";
  std::ofstream(text) << "no program";
  const std::u16string path = host::ToUtf16(text);
  EXPECT_EQ(CodeOf({.program = path}), ERROR_ACCESS_DENIED);
  std::filesystem::permissions(text, std::filesystem::perms::owner_all);
  EXPECT_EQ(CodeOf({.program = path}), ERROR_BAD_EXE_FORMAT);
  EXPECT_EQ(CodeOf({.program = u"/no/such"}), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(CodeOf({.program = u"sh"}), ERROR_FILE_NOT_FOUND) << "nothing is searched for";
  EXPECT_EQ(CodeOf({.program = u"/usr"}), ERROR_ACCESS_DENIED);
  EXPECT_EQ(CodeOf({.directory = u"/no/such"}), ERROR_DIRECTORY);
  EXPECT_EQ(CodeOf(Shell(std::u16string(32767, u'x'))), ERROR_FILENAME_EXCED_RANGE);
  host::FailCall("CreateProcessAsUserW", 1, 740);
  EXPECT_EQ(CodeOf({}), 740u);
  EXPECT_TRUE(Ask("process.history").at("programs").empty());
  EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));
}

TEST_F(ProcessesTest, OnlyTheSystemStartsProgramsAndOnlyWithAPrimaryToken) {
  const auto codeWith = [](HANDLE token) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information{};
    const BOOL created = CreateProcessAsUserW(token, W("/bin/true"), nullptr, nullptr, nullptr, FALSE, kFlags, nullptr,
                                              nullptr, &startup, &information);
    CloseHandle(token);
    EXPECT_FALSE(created);
    return GetLastError();
  };
  const host::TokenFacts user{.userSid = "S-1-5-21-1-2-3-1001", .session = 1};
  const auto open = [](const host::TokenFacts& facts, TOKEN_TYPE type, DWORD access) {
    return host::OpenHandle(std::make_shared<host::TokenObject>(facts, type), access);
  };
  EXPECT_EQ(codeWith(open(user, TokenImpersonation, TOKEN_ALL_ACCESS)), ERROR_BAD_TOKEN_TYPE);
  EXPECT_EQ(codeWith(open(user, TokenPrimary, TOKEN_QUERY | TOKEN_DUPLICATE)), ERROR_ACCESS_DENIED);
  EXPECT_EQ(codeWith(CreateEventW(nullptr, TRUE, FALSE, nullptr)), ERROR_INVALID_HANDLE);
  host::SetThreadToken(std::make_shared<host::TokenFacts>(user));
  EXPECT_EQ(codeWith(Token(host::SystemToken())), ERROR_PRIVILEGE_NOT_HELD) << "an impersonating thread is the client";
  host::SetThreadToken(nullptr);
  host::SetOwnToken(user);
  EXPECT_EQ(codeWith(Token(host::SystemToken())), ERROR_PRIVILEGE_NOT_HELD);
  host::SetOwnToken(host::SystemToken());
  Stop();
  EXPECT_EQ(codeWith(Token(host::SystemToken())), ERROR_SERVICE_NOT_ACTIVE);
}

TEST_F(ProcessesTest, HandlesClosedEarlyLeaveNothing) {
  EXPECT_EQ(RunToEnd(Shell(u"exit 0")), 0u);
  EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));
  const std::size_t descriptors = machine_test::CountDescriptors();
  for (int round = 0; round < 5; ++round) {
    Started started;
    ASSERT_TRUE(Start(Shell(u"exit 5"), &started));
  }
  EXPECT_TRUE(Eventually([] { return Ask("process.list").at("processes").empty(); }));
  const json programs = Ask("process.history").at("programs");
  EXPECT_EQ(programs.size(), 6u);
  for (const json& program : programs) EXPECT_TRUE(program.contains("exitCode"));
  EXPECT_EQ(machine_test::CountDescriptors(), descriptors);
  int status = 0;
  EXPECT_EQ(waitpid(-1, &status, WNOHANG), -1) << "no child of this process, running or not waited for";
}

TEST_F(ProcessesTest, AHandleMadeWithoutADescriptorToSpareWorksToo) {
  Started started;
  ASSERT_TRUE(Start(Shell(u"exec sleep 100"), &started));
  const std::uint64_t startTime = host::ProcessStartTime(static_cast<pid_t>(started.information.dwProcessId));
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = 256;
  setrlimit(RLIMIT_NOFILE, &limit);
  std::vector<int> taken;
  for (int next = dup(0); next >= 0; next = dup(0)) taken.push_back(next);
  const auto pid = static_cast<pid_t>(started.information.dwProcessId);
  const auto object =
      std::make_shared<host::ProcessObject>(pid, startTime, host::SystemToken(), host::ProcessObject::Origin::kMachine);
  for (const int each : taken) close(each);
  const HANDLE process = host::OpenHandle(object, PROCESS_ALL_ACCESS);
  EXPECT_EQ(WaitForSingleObject(process, 1), WAIT_TIMEOUT);
  kill(pid, SIGINT);
  EXPECT_EQ(WaitForSingleObject(process, 10'000), WAIT_OBJECT_0);
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, 130u);
  CloseHandle(process);
}

TEST_F(ProcessesTest, ManyThreadsStartAndWaitAtOnce) {
  std::vector<std::thread> threads;
  for (DWORD number = 0; number < 6; ++number) {
    threads.emplace_back([this, number] {
      const std::u16string script = u"exit " + host::ToUtf16(std::to_string(number));
      EXPECT_EQ(RunToEnd(Shell(script)), number);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(ProcessesTest, TheMachineGoingDownEndsTheWait) {
  Started waited;
  Started looked;
  ASSERT_TRUE(Start(Shell(u"exec sleep 100"), &waited));
  ASSERT_TRUE(Start(Shell(u"exec sleep 100"), &looked));
  DWORD result = WAIT_FAILED;
  std::thread waiter([&] { result = WaitForSingleObject(waited.information.hProcess, INFINITE); });
  EXPECT_TRUE(Eventually([] { return Ask("process.history").at("programs").at(0).at("waiting") == 1; }));
  Stop();
  waiter.join();
  DWORD exitCode = 0;
  EXPECT_EQ(result, WAIT_OBJECT_0);
  EXPECT_TRUE(GetExitCodeProcess(waited.information.hProcess, &exitCode));
  EXPECT_EQ(exitCode, 143u);
  EXPECT_EQ(WaitForSingleObject(looked.information.hProcess, 10'000), WAIT_OBJECT_0);
  EXPECT_TRUE(GetExitCodeProcess(looked.information.hProcess, &exitCode));
  EXPECT_EQ(exitCode, 137u) << "nobody can tell any more";
}

TEST_F(ProcessesTest, OpenedProcessesTellTheirEnd) {
  Started started;
  ASSERT_TRUE(Start(Shell(u"sleep 100"), &started));
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, started.information.dwProcessId);
  ASSERT_NE(process, nullptr);
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, STILL_ACTIVE);
  Ask("process.end", {{"pid", started.information.dwProcessId}});
  EXPECT_EQ(WaitForSingleObject(process, INFINITE), WAIT_OBJECT_0);
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, 143u);
  CloseHandle(process);

  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }
  const HANDLE other = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child));
  ASSERT_NE(other, nullptr);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_FALSE(GetExitCodeProcess(other, &exitCode));
  EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED) << "the machine has not started it";
  EXPECT_EQ(WaitForSingleObject(other, 0), WAIT_FAILED) << "not opened for waiting";
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  CloseHandle(other);
  EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, static_cast<DWORD>(child)), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(ProcessesTest, WhoMayOpenWhat) {
  const DWORD row = Ask("session.winlogon", {{"session", 1}}).at("pid");
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | SYNCHRONIZE, FALSE, row);
  ASSERT_NE(process, nullptr);
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(process, &exitCode));
  EXPECT_EQ(exitCode, STILL_ACTIVE);
  EXPECT_EQ(WaitForSingleObject(process, 1), WAIT_TIMEOUT);
  EXPECT_EQ(host::ObjectOf<host::TokenHolder>(process, 0)->Token().session, 1u);
  CloseHandle(process);

  const auto code = [](DWORD pid) {
    const HANDLE opened = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, pid);
    const DWORD error = opened ? 0 : GetLastError();
    if (opened) CloseHandle(opened);
    return error;
  };
  EXPECT_EQ(code(GetCurrentProcessId()), 0u);
  EXPECT_EQ(code(0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(code(0xFFFFFFFC), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(code(row + 4), ERROR_INVALID_PARAMETER);
  host::FailCall("OpenProcess", 1, 1450);
  EXPECT_EQ(code(GetCurrentProcessId()), 1450u);
  host::SetOwnToken(host::TokenFacts{.userSid = "S-1-5-21-1-2-3-1001", .session = 1});
  EXPECT_EQ(code(row), ERROR_ACCESS_DENIED);
  EXPECT_EQ(code(GetCurrentProcessId()), 0u);
}

using ProcessesDeathTest = ProcessesTest;

TEST_F(ProcessesDeathTest, AProcessEndsItself) {
  EXPECT_EXIT(TerminateProcess(GetCurrentProcess(), 0), testing::ExitedWithCode(0), "");
  EXPECT_EXIT(TerminateProcess(GetCurrentProcess(), 0x1FE), testing::ExitedWithCode(0xFE), "");
}

TEST_F(ProcessesDeathTest, WhatIsNotSupportedIsNamed) {
  EXPECT_DEATH(CodeOf({.flags = kFlags | 0x4}), "CreateProcessAsUserW: not supported: dwCreationFlags");
  EXPECT_DEATH(OpenProcess(PROCESS_QUERY_INFORMATION, TRUE, 1), "OpenProcess: not supported: bInheritHandle");
}

}  // namespace
