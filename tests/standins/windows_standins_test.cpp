// The stand-ins of the Windows build, each case with copies of its own beside a script.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using CallFuncMethod = BOOL(std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t*);
using Begin = BOOL(void (*)(std::uint32_t, void*), void*);
using Cancel = BOOL();
using Open = std::uint32_t(std::uint64_t*);
using Close = std::uint32_t(std::uint64_t);
using Write3 = std::uint32_t(std::uint64_t, std::uint32_t, std::uint32_t, std::uint32_t);

std::filesystem::path ProgramFolder() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

// A copy of a library in a folder of its own, loaded until the object goes.
class Library {
 public:
  Library(const wchar_t* name, const char* script) {
    folder_ = ProgramFolder() / (L"standin-" + std::to_wstring(GetCurrentProcessId()));
    std::filesystem::create_directories(folder_);
    std::filesystem::copy_file(ProgramFolder() / name, folder_ / name);
    if (script != nullptr) std::ofstream(folder_ / "hkd04a7-utility.script") << script;
    module_ = LoadLibraryW((folder_ / name).c_str());
    EXPECT_NE(module_, nullptr) << GetLastError();
  }
  ~Library() {
    FreeLibrary(module_);
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
  }

  bool Has(const char* file) const { return std::filesystem::exists(folder_ / file); }
  void Make(const char* file) const { std::ofstream(folder_ / file).flush(); }
  std::string Text(const char* file) const {
    std::ifstream stream(folder_ / file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }

 private:
  std::filesystem::path folder_;
  HMODULE module_ = nullptr;
};

TEST(WindowsUtility, AnswersFromItsScript) {
  const Library library(L"hkd04a7-utility.dll", "0x1002 1 0 0 = 0x40000401, fail, 7*\n");
  auto* call = library.Find<CallFuncMethod>("InternalCallFuncMethod");
  ASSERT_NE(call, nullptr);
  std::uint32_t word = 0;
  EXPECT_NE(call(0x1002, 1, 0, 0, &word), 0);
  EXPECT_EQ(word, 0x40000401u);
  EXPECT_EQ(call(0x1002, 1, 0, 0, &word), 0);
  EXPECT_EQ(GetLastError(), 31u);
  for (int n = 0; n < 2; ++n) {
    EXPECT_NE(call(0x1002, 1, 0, 0, &word), 0);
    EXPECT_EQ(word, 7u);
  }
}

TEST(WindowsUtility, WithoutAScriptOrWithABrokenOneThereIsNoDevice) {
  const struct {
    const char* script;
    DWORD error;
  } cases[] = {{nullptr, ERROR_FILE_NOT_FOUND}, {"0x1002 1 0 0 = many\n", ERROR_BAD_FORMAT}};
  for (const auto& one : cases) {
    const Library library(L"hkd04a7-utility.dll", one.script);
    std::uint32_t word = 0;
    EXPECT_EQ(library.Find<CallFuncMethod>("InternalCallFuncMethod")(0x1002, 1, 0, 0, &word), 0);
    EXPECT_EQ(GetLastError(), one.error);
    EXPECT_EQ(library.Find<Begin>("InternalBeginWaitNotification")([](std::uint32_t, void*) {}, nullptr), 0);
    EXPECT_EQ(GetLastError(), one.error);
  }
}

TEST(WindowsUtility, NotifiesAtItsTimesUntilCancelled) {
  const Library library(L"hkd04a7-utility.dll", "notify 0\nnotify 50\nnotify 60000\n");
  auto* cancel = library.Find<Cancel>("InternalCancelWaitNotification");
  std::atomic<int> calls = 0;
  const auto callback = [](std::uint32_t status, void* context) {
    EXPECT_EQ(status, 0u);
    ++*static_cast<std::atomic<int>*>(context);
  };
  ASSERT_NE(library.Find<Begin>("InternalBeginWaitNotification")(callback, &calls), 0);
  for (int n = 0; n < 500 && calls < 2; ++n) Sleep(10);
  EXPECT_NE(cancel(), 0);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(cancel(), 0);
}

TEST(WindowsEtw, WritesWithItsHandlesOnly) {
  const Library library(L"hkd04a7-utility-etw.dll", nullptr);
  std::uint64_t handle = 0;
  ASSERT_NE(library.Find<Open>("HKD04A7ETW_Open")(&handle), 0u) << GetLastError();
  auto* write = library.Find<Write3>("HKD04A7ETW_WriteHkd04a7Event");
  EXPECT_NE(write(handle, 1, 5, 0), 0u) << GetLastError();
  EXPECT_NE(library.Find<Close>("HKD04A7ETW_Close")(handle), 0u);
  EXPECT_EQ(write(handle, 2, 5, 0), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
  EXPECT_FALSE(library.Has("hkd04a7-utility-etw.log")) << "nobody asked for it";
}

TEST(WindowsEtw, WritesRecordsBesideItselfWhereAskedTo) {
  const Library library(L"hkd04a7-utility-etw.dll", nullptr);
  library.Make("hkd04a7-utility-etw.log");
  std::uint64_t handle = 0;
  ASSERT_NE(library.Find<Open>("HKD04A7ETW_Open")(&handle), 0u) << GetLastError();
  EXPECT_NE(library.Find<Write3>("HKD04A7ETW_WriteHkd04a7Event")(handle, 1, 5, 0), 0u);
  const std::string text = library.Text("hkd04a7-utility-etw.log");
  EXPECT_NE(text.find(R"("event":"WriteHkd04a7Event","names":["eventId","data1","data2"],"args":[1,5,0]})"),
            std::string::npos)
      << text;
  EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
}

}  // namespace
