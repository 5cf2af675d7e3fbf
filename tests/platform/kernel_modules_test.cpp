// Contract: loading libraries, the program's path, and path functions as the product uses them.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "platform/errors.h"
#include "platform/modules.h"
#include "platform/paths.h"

namespace {

constexpr size_t kPathSize = MAX_PATH;

WideString BesideProgram(const WCHAR* fileName) {
  WCHAR path[kPathSize] = {};
  EXPECT_GT(GetModuleFileNameW(nullptr, path, kPathSize), 0u);
  EXPECT_EQ(PathCchRemoveFileSpec(path, kPathSize), S_OK);
  EXPECT_EQ(PathCchAppend(path, kPathSize, fileName), S_OK);
  return path;
}

TEST(Modules, ExportsOfALibraryBesideTheProgram) {
  const HMODULE module = LoadLibraryW(BesideProgram(W("sample_module.dll")).c_str());
  ASSERT_NE(module, nullptr);
  const FARPROC answer = GetProcAddress(module, "SampleAnswer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(GetProcAddress(module, "SampleMissing"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
  EXPECT_TRUE(FreeLibrary(module));
}

TEST(Modules, LoadsAreCounted) {
  const WideString path = BesideProgram(W("sample_module.dll"));
  const HMODULE first = LoadLibraryW(path.c_str());
  const HMODULE second = LoadLibraryW(path.c_str());
  EXPECT_EQ(first, second);
  EXPECT_TRUE(FreeLibrary(first));
  EXPECT_NE(GetProcAddress(second, "SampleAnswer"), nullptr);
  EXPECT_TRUE(FreeLibrary(second));
  EXPECT_FALSE(FreeLibrary(second));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(Modules, WhyALibraryCannotBeLoaded) {
  EXPECT_EQ(LoadLibraryW(BesideProgram(W("no-such-module.dll")).c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  SetLastError(0);
  EXPECT_EQ(LoadLibraryExW(W("no-such-module.dll"), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  const auto text = std::filesystem::temp_directory_path() / "hkd04a7-no-library.dll";
  std::ofstream(text) << "This is no library, only a text of some length.\n";
  EXPECT_EQ(LoadLibraryW(text.string<WCHAR>().c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
  std::filesystem::remove(text);
}

// A library beside the program is not one of the platform's own.
TEST(Modules, SystemSearchDoesNotLookBesideTheProgram) {
  EXPECT_EQ(LoadLibraryExW(W("sample_module.dll"), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(Modules, ProgramPathIsCutToTheBuffer) {
  WCHAR whole[1024] = {};
  const DWORD length = GetModuleFileNameW(nullptr, whole, 1024);
  ASSERT_GT(length, 4u);
  ASSERT_LT(length, 1000u);
  EXPECT_EQ(WideStringView(whole).size(), length);
  struct {
    DWORD size, result, error, stored;
  } const kCases[] = {{length + 1, length, ERROR_SUCCESS, length},
                      {length, length, ERROR_INSUFFICIENT_BUFFER, length - 1},
                      {3, 3, ERROR_INSUFFICIENT_BUFFER, 2},
                      {1, 1, ERROR_INSUFFICIENT_BUFFER, 0}};
  for (const auto& c : kCases) {
    WCHAR path[1024];
    std::fill(path, path + 1024, WCHAR{'x'});
    SetLastError(0);
    EXPECT_EQ(GetModuleFileNameW(nullptr, path, c.size), c.result) << c.size;
    EXPECT_EQ(GetLastError(), c.error) << c.size;
    EXPECT_EQ(WideStringView(path, c.stored), WideStringView(whole, c.stored)) << c.size;
    EXPECT_EQ(path[c.size], WCHAR{'x'}) << c.size;
  }
}

// The host writes '/' where the platform writes '\'.
WideString WithBackslashes(WideString path) {
  std::replace(path.begin(), path.end(), WCHAR{'/'}, WCHAR{'\\'});
  return path;
}

TEST(Paths, RemoveFileSpec) {
  struct {
    const WCHAR* path;
    HRESULT result;
    const WCHAR* left;
  } const kCases[] = {
      {W("\\one\\two\\three.exe"), S_OK, W("\\one\\two")},
      {W("one\\two"), S_OK, W("one")},
      {W("\\one"), S_OK, W("\\")},
      {W("one"), S_OK, W("")},
      {W("\\one\\"), S_OK, W("\\one")},
      {W("\\"), S_FALSE, W("\\")},
      {W(""), S_FALSE, W("")},
  };
  for (const auto& c : kCases) {
    WCHAR path[kPathSize] = {};
    WideStringView(c.path).copy(path, kPathSize - 1);
    EXPECT_EQ(PathCchRemoveFileSpec(path, kPathSize), c.result) << testing::PrintToString(WideString(c.path));
    EXPECT_EQ(WideString(path), c.left) << testing::PrintToString(WideString(c.path));
  }
}

TEST(Paths, AppendPutsOneSeparatorBetween) {
  struct {
    const WCHAR *path, *more, *joined;
  } const kCases[] = {
      {W("\\one"), W("two.dll"), W("\\one\\two.dll")},
      {W("\\one\\"), W("two.dll"), W("\\one\\two.dll")},
      {W("\\"), W("two.dll"), W("\\two.dll")},
      {W("one"), W("\\two"), W("one\\two")},
      {W("\\one"), W(""), W("\\one")},
  };
  for (const auto& c : kCases) {
    WCHAR path[kPathSize] = {};
    WideStringView(c.path).copy(path, kPathSize - 1);
    EXPECT_EQ(PathCchAppend(path, kPathSize, c.more), S_OK);
    EXPECT_EQ(WithBackslashes(path), c.joined);
  }
}

TEST(Paths, BufferSizesAreKept) {
  constexpr auto kInsufficient = static_cast<HRESULT>(0x8007007A);
  for (const auto& [size, result] : {std::pair<size_t, HRESULT>{8, kInsufficient}, {9, S_OK}, {260, S_OK}}) {
    WCHAR path[kPathSize] = {'\\', 'o', 'n', 'e'};
    EXPECT_EQ(PathCchAppend(path, size, W("two")), result) << size;
  }
  WCHAR path[kPathSize] = {'\\', 'o', 'n', 'e'};
  EXPECT_EQ(PathCchRemoveFileSpec(path, 0), E_INVALIDARG);
  EXPECT_EQ(PathCchRemoveFileSpec(nullptr, kPathSize), E_INVALIDARG);
}

}  // namespace
