// What the system reads of a file without running it: its version and, of a program, its manifest.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

std::filesystem::path BesideThisProgram(const wchar_t* name) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).replace_filename(name);
}

// One file's version resource.
class VersionResource {
 public:
  explicit VersionResource(const wchar_t* name) {
    const std::filesystem::path path = BesideThisProgram(name);
    data_.resize(GetFileVersionInfoSizeW(path.c_str(), nullptr));
    if (!data_.empty() && !GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(data_.size()), data_.data()))
      data_.clear();
  }

  std::wstring Numbers() const {
    const auto* info = static_cast<const VS_FIXEDFILEINFO*>(Query(L"\\"));
    if (!info) return L"none";
    return std::to_wstring(HIWORD(info->dwFileVersionMS)) + L"." + std::to_wstring(LOWORD(info->dwFileVersionMS)) +
           L"." + std::to_wstring(HIWORD(info->dwFileVersionLS)) + L"." +
           std::to_wstring(LOWORD(info->dwFileVersionLS));
  }

  std::wstring Text(const std::wstring& name) const {
    const void* text = Query((L"\\StringFileInfo\\040904B0\\" + name).c_str());
    return text ? static_cast<const wchar_t*>(text) : L"none";
  }

 private:
  const void* Query(const wchar_t* block) const {
    void* found = nullptr;
    UINT length = 0;
    return !data_.empty() && VerQueryValueW(data_.data(), block, &found, &length) && length > 0 ? found : nullptr;
  }

  std::vector<char> data_;
};

std::optional<std::string> Manifest(const wchar_t* name) {
  const HMODULE file = LoadLibraryExW(BesideThisProgram(name).c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  const HRSRC found = file ? FindResourceW(file, CREATEPROCESS_MANIFEST_RESOURCE_ID, RT_MANIFEST) : nullptr;
  std::optional<std::string> text;
  if (found)
    text.emplace(static_cast<const char*>(LockResource(LoadResource(file, found))), SizeofResource(file, found));
  if (file) FreeLibrary(file);
  return text;
}

class Resources : public testing::TestWithParam<const wchar_t*> {};

TEST_P(Resources, VersionOfTheProject) {
  const VersionResource version(GetParam());
  EXPECT_EQ(version.Numbers(), HKD_VERSION);
  EXPECT_EQ(version.Text(L"FileVersion"), HKD_VERSION);
  EXPECT_EQ(version.Text(L"ProductVersion"), HKD_VERSION);
  EXPECT_EQ(version.Text(L"OriginalFilename"), GetParam());
  EXPECT_NE(version.Text(L"FileDescription"), L"none");
}

TEST_P(Resources, ProgramsAskForNoMoreRights) {
  const std::wstring name = GetParam();
  const std::optional<std::string> manifest = Manifest(GetParam());
  ASSERT_EQ(manifest.has_value(), name.ends_with(L".exe"));
  if (!manifest) return;
  EXPECT_NE(manifest->find("level=\"asInvoker\""), std::string::npos) << *manifest;
  EXPECT_NE(manifest->find("supportedOS Id=\"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}\""), std::string::npos)
      << *manifest;
}

INSTANTIATE_TEST_SUITE_P(HandedOut, Resources,
                         testing::Values(L"hkd04a7-service.exe", L"hkd04a7ctl.exe", L"hkd04a7-example.exe",
                                         L"hkd04a7-utility.dll", L"hkd04a7-utility-etw.dll"));

}  // namespace
