// Rules of the process calls that the product relies on, both builds.
#include <gtest/gtest.h>

#include <vector>

#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/modules.h"
#include "platform/processes.h"
#include "platform/sync.h"
#include "platform/tokens.h"

namespace {

// A primary copy of this process's token, as the product makes it.
HANDLE OwnPrimaryToken() {
  HANDLE own = nullptr;
  HANDLE primary = nullptr;
  const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId());
  EXPECT_TRUE(OpenProcessToken(process, TOKEN_DUPLICATE, &own)) << GetLastError();
  EXPECT_TRUE(DuplicateTokenEx(own, MAXIMUM_ALLOWED, nullptr, SecurityIdentification, TokenPrimary, &primary))
      << GetLastError();
  CloseHandle(own);
  CloseHandle(process);
  return primary;
}

// A program beside the test.
WideString Beside(WideStringView name) {
  WCHAR path[MAX_PATH];
  WideString program(path, GetModuleFileNameW(nullptr, path, MAX_PATH));
  program.resize(program.find_last_of(W("/\\")) + 1);
  return program.append(name);
}

#ifdef _WIN32
constexpr WideStringView kSample = W("process_sample.exe");
#else
constexpr WideStringView kSample = W("process_sample");
#endif

struct Program {
  ~Program() {
    if (information.hProcess) CloseHandle(information.hProcess);
    if (information.hThread) CloseHandle(information.hThread);
  }
  PROCESS_INFORMATION information{};
};

BOOL Start(const WideString& application, WideStringView parameters, Program* program) {
  const HANDLE token = OwnPrimaryToken();
  void* environment = nullptr;
  EXPECT_TRUE(CreateEnvironmentBlock(&environment, token, FALSE)) << GetLastError();
  WideString line = W("\"") + application + W("\" ");
  line += parameters;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  SetLastError(0);
  const BOOL created = CreateProcessAsUserW(token, application.c_str(), line.data(), nullptr, nullptr, FALSE,
                                            CREATE_NEW_CONSOLE | NORMAL_PRIORITY_CLASS | CREATE_UNICODE_ENVIRONMENT,
                                            environment, nullptr, &startup, &program->information);
  const DWORD code = GetLastError();
  EXPECT_TRUE(DestroyEnvironmentBlock(environment));
  CloseHandle(token);
  SetLastError(code);
  return created;
}

TEST(ProcessContractTest, AProgramRunsWithItsArgumentsAndTellsItsExitCode) {
  struct {
    DWORD exitCode;
    const WCHAR* parameters;
  } const kCases[] = {{0, W("0 \"a b\"")}, {42, W("42 \"a b\"")}, {99, W("0 a b")}, {255, W("255 \t\"a b\" ")}};
  for (const auto& [wanted, parameters] : kCases) {
    Program program;
    ASSERT_TRUE(Start(Beside(kSample), parameters, &program)) << GetLastError();
    EXPECT_NE(program.information.dwProcessId, 0u);
    EXPECT_EQ(WaitForSingleObject(program.information.hProcess, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(program.information.hThread, 5000), WAIT_OBJECT_0);
    DWORD exitCode = 0;
    EXPECT_TRUE(GetExitCodeProcess(program.information.hProcess, &exitCode));
    EXPECT_EQ(exitCode, wanted);
  }
}

TEST(ProcessContractTest, AMissingProgramIsNotSearchedFor) {
  Program program;
  EXPECT_FALSE(Start(Beside(W("no_such_program")), W(""), &program));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(program.information.hProcess, nullptr);
}

TEST(ProcessContractTest, AnEnvironmentBlockEndsWithTwoNulls) {
  const HANDLE token = OwnPrimaryToken();
  void* environment = nullptr;
  ASSERT_TRUE(CreateEnvironmentBlock(&environment, token, FALSE));
  std::vector<WideString> lines;
  for (auto* text = static_cast<const WCHAR*>(environment); *text; text += lines.back().size() + 1)
    lines.emplace_back(text);
  EXPECT_GT(lines.size(), 0u);
  // A name may begin with '=', but each has one after its first character.
  for (const WideString& line : lines) EXPECT_NE(line.find(W('='), 1), WideString::npos);
  EXPECT_TRUE(DestroyEnvironmentBlock(environment));
  CloseHandle(token);
}

TEST(ProcessContractTest, TheRunningProcess) {
  DWORD exitCode = 0;
  EXPECT_TRUE(GetExitCodeProcess(GetCurrentProcess(), &exitCode));
  EXPECT_EQ(exitCode, DWORD{STILL_ACTIVE});
  const HANDLE opened = OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, GetCurrentProcessId());
  ASSERT_NE(opened, nullptr);
  EXPECT_TRUE(GetExitCodeProcess(opened, &exitCode));
  EXPECT_EQ(exitCode, DWORD{STILL_ACTIVE});
  EXPECT_EQ(WaitForSingleObject(opened, 0), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED}) << "not opened for waiting";
  CloseHandle(opened);
  EXPECT_FALSE(GetExitCodeProcess(opened, &exitCode));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  EXPECT_EQ(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, 0), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

}  // namespace
