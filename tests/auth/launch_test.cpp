// Programs run for clients on the service's own session: what is started, how it is waited for, how it fails.
#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "auth/command_allow_list.h"
#include "auth/create_process_as_system.h"
#include "auth/run_as_system.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/rpc/client_handshake.h"
#include "tests/auth/launches.h"

using namespace request_test;
using namespace Quorvex::PC::Hkd04a7::Service;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr DWORD kUntouched = 0xEEEEEEEE;

RunAnswer Ended(DWORD exitCode) {
  return {0, exitCode};
}
RunAnswer Failed(DWORD result) {
  return {result, 0};
}

TEST_F(Launches, AnswerTheExitCodeOfTheProgram) {
  const struct {
    std::string script;
    DWORD exitCode;
  } cases[] = {{"exit 0", 0}, {"exit 3", 3}, {"exit 255", 255}, {"kill -9 $$", 128 + 9}};
  for (const auto& entry : cases) {
    AllowScript(entry.script);
    EXPECT_EQ(Run(0, W("script")), Ended(entry.exitCode));
    EXPECT_EQ(Run(0xFFFFFFFC, W("script")), Ended(entry.exitCode)) << "the other flags mean nothing";
  }
  TakeLog();
  AllowScript("exit 42");
  Run(0, W("script"), W("x"));
  EXPECT_THAT(TakeLog(), ElementsAre("Hkd04a7Rpc_RunFileAsSystem enter\n", " flags=00000000h, comamnd=script, par=x\n",
                                     testing::_, testing::_, " exit with hr=00000000, code=0000002ah\n"));
}

TEST_F(Launches, AreAskedForInEachTransferSyntax) {
  AllowScript("exit 3");
  for (const bool ndr64 : {false, true}) {
    host::rpc::OfferTransferSyntaxes(!ndr64, ndr64);
    EXPECT_EQ(RunAs(BobIn(kPackageName), 0, W("script"), W("x")), Ended(3));
    EXPECT_EQ(RunAs(Bob(), 0, W("script")), Failed(static_cast<DWORD>(E_ACCESSDENIED)));
    EXPECT_EQ(RunAs(BobIn(kPackageName), 0, W("")), Failed(static_cast<DWORD>(E_NOTIMPL)));
  }
}

TEST_F(Launches, HaveTheServicesTokenAndTheCommandLineByteForByte) {
  const struct {
    WideString fixed;
    const WCHAR* par;
    const char* commandLine;
  } cases[] = {
      {W("-c exit"), W("-b"), "\"/bin/sh\" -c exit -b"},
      {W("-c \"exit 0\""), W(""), "\"/bin/sh\" -c \"exit 0\""},
      {W("-c : \"a"), W("b\" \\\"c"), "\"/bin/sh\" -c : \"a b\" \\\"c"},
      {W(""), W("-c exit"), "\"/bin/sh\"  -c exit"},
      {W(""), W(""), "\"/bin/sh\" "},
      {W("-c :"), W(" "), "\"/bin/sh\" -c :  "},
      {W("-c : \u00FC"), W("\u4E2D"), "\"/bin/sh\" -c : \xC3\xBC \xE4\xB8\xAD"},
  };
  std::size_t count = 0;
  for (const auto& entry : cases) {
    AllowShell(entry.fixed);
    EXPECT_EQ(Run(0, W("tool"), entry.par), Ended(0)) << entry.commandLine;
    const auto programs = Started();
    ASSERT_EQ(programs.size(), ++count);
    EXPECT_EQ(programs.back().at("program"), "/bin/sh");
    EXPECT_EQ(programs.back().at("commandLine"), entry.commandLine);
    EXPECT_EQ(programs.back().at("token"), host::ToJson(host::SystemToken()));
    EXPECT_EQ(programs.back().at("exitCode"), 0);
  }
}

TEST_F(Launches, TakeNothingOfTheServicesEnvironment) {
  setenv("HKD04A7_TEST_ONLY", "the service's own", 1);
  AllowScript("env > " + File("environment") + ".new; mv " + File("environment") + ".new " + File("environment"));
  EXPECT_EQ(Run(0, W("script")), Ended(0));
  EXPECT_THAT(Contents("environment"), testing::AllOf(Not(HasSubstr("TEST_ONLY")), HasSubstr("PATH=")));
}

TEST_F(Launches, ReturnAtOnceWhenTheyAreNotWaitedFor) {
  ASSERT_EQ(mkfifo(File("gate").c_str(), 0600), 0);
  AllowScript("read line < " + File("gate") + "; exit 9");
  EXPECT_EQ(Run(RUN_FILE_NO_WAIT, W("script")), Ended(0));
  ASSERT_EQ(Started().size(), 1u);
  EXPECT_FALSE(Started()[0].contains("exitCode")) << "it still runs";
  std::ofstream(File("gate")) << "go\n";
  nlohmann::json end;
  EXPECT_EQ(service.Machine().Call("process.wait", {{"pid", Started()[0].at("pid")}}, &end), 0u);
  EXPECT_EQ(end.at("exitCode"), 9);
}

TEST_F(Launches, NameTheirProgramByItsPath) {
  std::ofstream(File("text")) << "no program";
  chmod(File("text").c_str(), 0700);
  const struct {
    WideString path;
    DWORD result;
  } cases[] = {{W("/nowhere/program"), 0x80070002}, {W("sh"), 0x80070002},  // no search along a path
               {W("$HOME/sh"), 0x80070002},         {W("\"/bin/sh\""), 0x80070002}, {W("/bin"), 0x80070005},
               {W("/etc/passwd"), 0x80070005}};
  for (const auto& entry : cases) {
    Allow(W("tool"), {entry.path});
    EXPECT_EQ(Run(0, W("tool")), Failed(entry.result));
  }
  EXPECT_TRUE(Started().empty());
}

// A step of the launch that fails, what the request answers then, and the lines between those of the request.
struct FailingStep {
  const char* function;
  DWORD code;
  DWORD result;
  std::vector<std::string> lines;
};

const FailingStep kFailingSteps[] = {
    {"OpenProcess", 5, 0x80070005, {"hkd04a7, fail get token=0x00000005\n"}},
    {"OpenProcessToken", 6, 0x80070006, {"hkd04a7, fail get token=0x00000006\n"}},
    {"DuplicateTokenEx",
     1346,
     0x80070542,
     {"hkd04a7, fail dup token=0x00000542\n", "hkd04a7, fail get token=0x00000542\n"}},
    {"CreateEnvironmentBlock", 8, 0x80070008, {"hkd04a7, fail get env=0x00000008\n"}},
    {"CreateProcessAsUserW", 1314, 0x80070522, {}},
    {"CreateProcessAsUserW", 0x80090001, 0x80090001, {}},
};

TEST_F(Launches, AnswerWhyTheyFailed) {
  AllowScript("exit 1");
  for (const FailingStep& step : kFailingSteps) {
    TakeLog();
    host::FailCall(step.function, 1, step.code);
    EXPECT_EQ(Run(0, W("script")), Failed(step.result)) << step.function;
    auto log = TakeLog();
    ASSERT_EQ(log.size(), 5 + step.lines.size()) << step.function << testing::PrintToString(log);
    EXPECT_EQ(std::vector(log.begin() + 4, log.end() - 1), step.lines);
  }
  EXPECT_TRUE(Started().empty());
  host::FailCall("WaitForSingleObject", 1, 6);
  EXPECT_EQ(Run(0, W("script")), Failed(0xFFFFFFFF)) << "the wait's own answer";
  host::FailCall("GetExitCodeProcess", 1, 6);
  EXPECT_EQ(Run(0, W("script")), Failed(0x80070006));
  EXPECT_EQ(Run(0, W("script")), Ended(1));
}

TEST_F(Launches, LeaveTheExitCodeAloneUnlessOneIsStarted) {
  DWORD exitCode = kUntouched;
  EXPECT_EQ(RunFileAsSystem(0, nullptr, W(""), &exitCode), E_INVALIDARG);
  EXPECT_EQ(RunFileAsSystem(0, W("script"), nullptr, &exitCode), E_INVALIDARG);
  EXPECT_TRUE(TakeLog().empty()) << "refused before the client is looked at";
  EXPECT_EQ(RunFileAsSystem(0, W("script"), W(""), &exitCode), E_ACCESSDENIED) << "this thread serves no client";
  const CWtsProcessApi noTerminalServices;
  for (const FailingStep& step : kFailingSteps) {
    host::FailCall(step.function, 1, step.code);
    EXPECT_EQ(static_cast<DWORD>(CreateProcessAsSystem(noTerminalServices, 0, {W("/bin/true"), W("")}, &exitCode)),
              step.result);
  }
  EXPECT_EQ(static_cast<DWORD>(CreateProcessAsSystem(noTerminalServices, 0, {W("/nowhere"), W("")}, &exitCode)),
            0x80070002);
  EXPECT_EQ(exitCode, kUntouched);
  EXPECT_EQ(CreateProcessAsSystem(noTerminalServices, RUN_FILE_NO_WAIT, {W("/bin/false"), W("")}, &exitCode), S_OK);
  EXPECT_EQ(exitCode, 0u);
}

TEST_F(Launches, RunSideBySide) {
  ASSERT_EQ(mkfifo(File("gate").c_str(), 0600), 0);
  AllowScript("read line < " + File("gate") + "; exit 5");
  AllowShell(W("-c \"exit 6\""));
  RunAnswer slow{};
  std::thread waiting([&] { slow = RunAs(BobIn(kPackageName), 0, W("script")); });
  EXPECT_EQ(Run(0, W("tool")), Ended(6)) << "whatever the other call waits for";
  std::ofstream(File("gate")) << "go\n";
  waiting.join();
  EXPECT_EQ(slow, Ended(5));
}

TEST_F(Launches, AStopWaitsForTheProgramThatARequestWaitsFor) {
  ASSERT_EQ(mkfifo(File("gate").c_str(), 0600), 0);
  AllowScript("touch " + File("running") + "; read line < " + File("gate") + "; exit 5");
  RunAnswer answer{};
  std::thread waiting([&] { answer = RunAs(BobIn(kPackageName), 0, W("script")); });
  Contents("running");
  EXPECT_EQ(service.Machine().Call("service.stop", {{"name", "Hkd04a7DriverUtilityService"}, {"timeoutMs", 300}}),
            static_cast<unsigned>(ERROR_SERVICE_REQUEST_TIMEOUT));
  EXPECT_THAT(service.ReportedStates().back(), testing::StartsWith("3 ")) << "stop pending";
  std::ofstream(File("gate")) << "go\n";
  waiting.join();
  EXPECT_EQ(answer, Ended(5));
  service.AwaitStopped();
}

}  // namespace
