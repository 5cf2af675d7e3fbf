// The import of registry text into the registry of a machine of its own: what was written comes out as text that writes
// the same again.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "fuzz/check.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"
#include "tools/registry_access.h"
#include "tools/registry_text.h"

namespace {

constexpr const char* kRoots[] = {"HKLM", "HKU"};
// Deeper paths are left out: what they cost grows with the square of their depth.
constexpr std::ptrdiff_t kDeepest = 40;

// A folder that goes with the process.
class Machine {
 public:
  Machine() {
    folder_ = (std::filesystem::temp_directory_path() / "hkd-fuzz-XXXXXX").string();
    Check(mkdtemp(folder_.data()) != nullptr, "there is a temporary folder");
    host::UseMachineDirectory(folder_);
    std::string error;
    Check(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &error), "a machine's folders can be made");
  }
  ~Machine() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

 private:
  std::string folder_;
};

std::string Exported() {
  std::ostringstream text;
  for (const char* root : kRoots) Check(tool::WriteRegistryText(text, root, 0) == ERROR_SUCCESS, "all can be exported");
  return text.str();
}

// Values and subkeys; keys that every machine has stay.
void Clear(const std::string& path) {
  const tool::RegistryPath parsed = *tool::ParseRegistryPath(path);
  tool::RegistryKey key;
  std::vector<tool::RegistryKey::Named> values;
  std::vector<WideString> subKeys;
  Check(key.Open(parsed, KEY_ALL_ACCESS) == ERROR_SUCCESS, "a key can be opened");
  Check(key.ReadAll(&values) == ERROR_SUCCESS && key.SubKeys(&subKeys) == ERROR_SUCCESS, "a key can be read");
  for (const auto& value : values) Check(key.DeleteValue(value.name) == ERROR_SUCCESS, "a value can be deleted");
  for (const WideString& name : subKeys) {
    const WideString below = parsed.subKey.empty() ? name : parsed.subKey + u'\\' + name;
    if (RegDeleteTreeW(parsed.root, below.c_str()) != ERROR_SUCCESS) Clear(path + '\\' + host::ToUtf8(name));
  }
}

void ClearAll() {
  for (const char* root : kRoots) Clear(root);
}

void CheckApplied(const tool::RegistryLine& line) {
  const bool whole = line.path.subKey.find(u'\0') == WideString::npos && line.name.find(u'\0') == WideString::npos;
  Check(whole, "no name that is taken ends before its end");
  tool::RegistryKey key;
  Check(key.Open(line.path, KEY_READ) == ERROR_SUCCESS, "the key of a line is there");
  if (!line.hasValue) return;
  tool::RegistryValue value;
  Check(key.Read(line.name, &value) == ERROR_SUCCESS && value == line.value, "the value of a line is there");
}

bool AnyTooDeep(const std::vector<tool::RegistryLine>& lines) {
  return std::any_of(lines.begin(), lines.end(), [](const tool::RegistryLine& line) {
    return std::count(line.path.subKey.begin(), line.path.subKey.end(), u'\\') > kDeepest;
  });
}

// Applies the lines one by one, as far as the registry takes them, and keeps those.
void Apply(std::vector<tool::RegistryLine>& lines) {
  for (auto line = lines.begin(); line != lines.end(); ++line) {
    if (tool::ApplyRegistryLine(*line, 0) != ERROR_SUCCESS) {
      lines.erase(line, lines.end());
      return;
    }
    CheckApplied(*line);
  }
}

void CheckKeys(const std::vector<tool::RegistryLine>& lines) {
  for (const tool::RegistryLine& line : lines) {
    tool::RegistryKey key;
    Check(key.Open(line.path, KEY_READ) == ERROR_SUCCESS, "no key is lost on the way out and back");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Machine machine;
  std::size_t badLine = 0;
  std::istringstream text(std::string(reinterpret_cast<const char*>(data), size));
  auto lines = tool::ReadRegistryText(text, &badLine);
  if (!lines) {
    Check(badLine > 0, "a refused text names its line");
    return 0;
  }
  if (AnyTooDeep(*lines)) return 0;
  Apply(*lines);
  const std::string exported = Exported();
  ClearAll();
  std::istringstream again(exported);
  const auto reread = tool::ReadRegistryText(again, &badLine);
  Check(reread.has_value(), "exported text can be read");
  for (const tool::RegistryLine& line : *reread)
    Check(tool::ApplyRegistryLine(line, 0) == ERROR_SUCCESS, "exported text can be imported");
  Check(Exported() == exported, "exported text writes the same again");
  CheckKeys(*lines);
  ClearAll();
  return 0;
}
