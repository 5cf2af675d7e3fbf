// What the host adds to the contracts: platform modules, what tests can change, debug output, leak counts.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "platform/com.h"
#include "platform/completion_port.h"
#include "platform/debug_output.h"
#include "platform/errors.h"
#include "platform/handles.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/handle_table.h"
#include "platform/host/kernel/system_modules.h"
#include "platform/memory.h"
#include "platform/modules.h"
#include "platform/paths.h"
#include "platform/sync.h"
#include "platform/thread_pool.h"
#include "platform/threads.h"
#include "tests/platform/temporary_machine.h"

namespace {

std::intptr_t Seven() {
  return 7;
}

HMODULE LoadSystem(const char16_t* name) {
  return LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

TEST(SystemModules, AreFoundByBareNameInAnyLetterCase) {
  host::RegisterSystemModule(u"Sample-Api.dll", {{"Seven", Seven}});
  const HMODULE module = LoadSystem(u"sample-api.DLL");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(LoadSystem(u"SAMPLE-API.dll"), module);
  EXPECT_EQ(host::ModuleReferences(u"sample-api.dll"), 2);
  EXPECT_EQ(GetProcAddress(module, "Seven")(), 7);
  EXPECT_EQ(GetProcAddress(module, "seven"), nullptr);  // letter case counts in exports
  FreeLibrary(module);
  FreeLibrary(module);
  EXPECT_EQ(host::ModuleReferences(u"sample-api.dll"), 0);
  EXPECT_EQ(LoadSystem(u"wtsapi32.dll"), nullptr);
  EXPECT_NE(LoadSystem(u"api-ms-win-security-base-l1-2-2.dll"), nullptr);
}

TEST(SystemModules, CanBeTakenAwayAndRestored) {
  host::RegisterSystemModule(u"sample-api.dll", {{"Seven", Seven}});
  host::TakeAwayExport(u"SAMPLE-api.dll", "Seven");
  const HMODULE module = LoadSystem(u"sample-api.dll");
  EXPECT_EQ(GetProcAddress(module, "Seven"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  host::TakeAwayModule(u"sample-api.dll");
  EXPECT_EQ(LoadSystem(u"sample-api.dll"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  host::RestoreModules();
  EXPECT_NE(GetProcAddress(module, "Seven"), nullptr);
  FreeLibrary(module);
}

TEST(Modules, FilesCanBeTakenAwayToo) {
  const HMODULE module = LoadLibraryW(u"sample_module");  // beside the program, ".dll" understood
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(host::ModuleReferences(u"sample_module.dll"), 1);
  host::TakeAwayExport(u"sample_module.dll", "SampleAnswer");
  EXPECT_EQ(GetProcAddress(module, "SampleAnswer"), nullptr);
  host::TakeAwayModule(u"sample_module.dll");
  EXPECT_EQ(LoadLibraryW(u"sample_module.dll"), nullptr);
  EXPECT_TRUE(FreeLibrary(module));
}

TEST(Modules, ProgramPathCanBeSet) {
  host::SetExecutablePath(u"/opt/vendor/" + std::u16string(300, u'd') + u"/service.exe");
  char16_t path[MAX_PATH];
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, MAX_PATH), static_cast<DWORD>(MAX_PATH));
  EXPECT_EQ(path[MAX_PATH - 1], u'\0');
  host::SetExecutablePath(u"/opt/service.exe");
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, MAX_PATH), 16u);
  host::SetExecutablePath(u"");
  EXPECT_GT(GetModuleFileNameW(nullptr, path, MAX_PATH), 16u);
}

TEST(Paths, UnterminatedPathIsRefused) {
  char16_t path[] = {u'/', u'o', u'n', u'e'};
  EXPECT_EQ(PathCchRemoveFileSpec(path, 4), E_INVALIDARG);
  EXPECT_EQ(PathCchAppend(path, 4, u"x"), E_INVALIDARG);
}

TEST(PathsDeathTest, UnsupportedArgumentsEndTheProcess) {
  char16_t path[20] = u"/one";
  EXPECT_DEATH(PathCchAppend(path, 20, u"../two"), "PathCchAppend: not supported");
  EXPECT_DEATH(LoadLibraryExW(u"x.dll", nullptr, 1), "LoadLibraryExW: not supported");
}

std::vector<nlohmann::json> ReadLog(const std::string& path) {
  std::vector<nlohmann::json> records;
  std::ifstream log(path);
  for (std::string line; std::getline(log, line);) records.push_back(nlohmann::json::parse(line));
  return records;
}

TEST(DebugOutput, RecordsAreWholeAndExact) {
  const TemporaryMachine machine;
  const std::string path = machine.Runtime() + "/debug.log";
  const std::vector<std::u16string> lines{u"with an end\n", u"without", u"", u"\"quoted\\\" \t\x01\x1f ä€\U0001D11E"};
  SetLastError(77);
  for (const auto& line : lines) OutputDebugStringW(line.c_str());
  EXPECT_EQ(GetLastError(), 77u);
  const auto records = ReadLog(path);
  ASSERT_EQ(records.size(), lines.size());
  std::int64_t before = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_EQ(records[i]["line"].get<std::string>(), host::ToUtf8(lines[i]));
    EXPECT_EQ(records[i]["pid"], getpid());
    EXPECT_GE(records[i]["t"].get<std::int64_t>(), before);
    before = records[i]["t"];
  }
  std::filesystem::remove(path);  // as a boot does
  OutputDebugStringW(u"after");
  EXPECT_EQ(ReadLog(path).size(), 1u);
}

TEST(DebugOutput, LinesOfSeveralThreadsDoNotMix) {
  const TemporaryMachine machine;
  std::atomic<int> captured{0};
  host::CaptureDebugOutput([&](std::u16string_view line) { captured += line.size() == 199; });
  std::vector<std::thread> threads;
  for (char16_t c = u'a'; c < u'e'; ++c) {
    threads.emplace_back([c] {
      for (int i = 0; i < 100; ++i) OutputDebugStringW(std::u16string(199, c).c_str());
    });
  }
  for (auto& thread : threads) thread.join();
  host::CaptureDebugOutput(nullptr);
  OutputDebugStringW(std::u16string(199, u'x').c_str());
  EXPECT_EQ(captured, 400);
  const auto records = ReadLog(machine.Runtime() + "/debug.log");
  EXPECT_EQ(records.size(), 401u);
  for (const auto& record : records) {
    const auto line = record["line"].get<std::string>();
    EXPECT_EQ(std::ranges::count(line, line[0]), 199);
  }
}

TEST(DebugOutput, NoFolderNoHarm) {
  host::UseMachineDirectory("/nonexistent/machine");
  OutputDebugStringW(u"nobody reads this\n");
  EXPECT_FALSE(std::filesystem::exists("/nonexistent"));
}

TEST(LeakCounts, ShowWhatIsStillHeld) {
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const HANDLE port = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0);
  EXPECT_EQ(host::OpenHandleCounts(), (std::map<std::string, int>{{"completion port", 1}, {"event", 1}}));
  SetLastError(77);
  CloseHandle(event);
  CloseHandle(port);
  EXPECT_EQ(GetLastError(), 77u);
  EXPECT_TRUE(host::OpenHandleCounts().empty());

  auto* block = static_cast<BYTE*>(LocalAlloc(LPTR, 64));
  EXPECT_TRUE(std::all_of(block, block + 64, [](BYTE b) { return b == 0; }));
  EXPECT_EQ(host::LocalBlockCount(), 1);
  EXPECT_EQ(LocalFree(block + 1), block + 1);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(LocalFree(block), nullptr);
  EXPECT_EQ(LocalFree(nullptr), nullptr);
  EXPECT_EQ(host::LocalBlockCount(), 0);

  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(host::ComInitializations(), 1);
  CoUninitialize();
  CoUninitialize();  // one too many
  EXPECT_EQ(host::ComInitializations(), 0);
}

TEST(ThreadPoolHost, IdleMeansEveryCallbackHasReturned) {
  std::atomic<int> done{0};
  const auto slow = [](PTP_CALLBACK_INSTANCE, PVOID context) {
    Sleep(20);
    ++*static_cast<std::atomic<int>*>(context);
  };
  for (int i = 0; i < 10; ++i) TrySubmitThreadpoolCallback(slow, &done, nullptr);
  host::WaitForThreadPoolIdle();
  EXPECT_EQ(done, 10);
}

TEST(Faults, FlatFunctionsFailAsArranged) {
  host::FailCall("CreateEventW", 1, ERROR_NO_SYSTEM_RESOURCES);
  host::FailCall("LoadLibraryW", 1, ERROR_BAD_EXE_FORMAT);
  host::FailCall("PathCchAppend", 1, 0x8007007A);
  host::FailCall("_beginthreadex", 1, ERROR_NOT_ENOUGH_MEMORY);
  host::FailCall("TrySubmitThreadpoolCallback", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(CreateEventW(nullptr, TRUE, FALSE, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_NO_SYSTEM_RESOURCES);
  EXPECT_EQ(LoadLibraryW(u"x.dll"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_BAD_EXE_FORMAT);
  char16_t path[20] = u"/one";
  EXPECT_EQ(PathCchAppend(path, 20, u"two"), static_cast<HRESULT>(0x8007007A));
  EXPECT_EQ(_beginthreadex(
                nullptr, 0, [](void*) { return 0u; }, nullptr, 0, nullptr),
            0u);
  EXPECT_FALSE(TrySubmitThreadpoolCallback([](PTP_CALLBACK_INSTANCE, PVOID) {}, nullptr, nullptr));
}

// entry_sample returns 0x107 when its arguments arrived as UTF-16, and 1 otherwise.
TEST(ProcessEntry, ArgumentsAndExitCode) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "entry_sample";
  const int status = std::system(("'" + program + "' -event 'ä€𝄞 x'").c_str());
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

}  // namespace
