#include "platform/host/kernel/process_entry.h"

#include <string>
#include <vector>

#include "platform/host/base/open_files.h"
#include "platform/host/base/text.h"
#include "platform/host/kernel/module_table.h"

int __argc = 0;
WCHAR** __wargv = nullptr;

namespace {

// The storage behind __wargv.
struct Arguments {
  std::vector<std::u16string> texts;
  std::vector<WCHAR*> pointers;
  std::u16string commandLine;
};

Arguments SplitArguments(int count, char** arguments) {
  Arguments result;
  for (int i = 0; i < count; ++i) {
    result.texts.push_back(host::ToUtf16(arguments[i]));
    if (i > 1) result.commandLine += u' ';
    if (i > 0) result.commandLine += result.texts.back();
  }
  for (auto& text : result.texts) result.pointers.push_back(text.data());
  result.pointers.push_back(nullptr);
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  static constexpr int kShowDefault = 10;
  host::RaiseOpenFileLimit();
  static auto* arguments = new Arguments(SplitArguments(argc, argv));
  __argc = argc;
  __wargv = arguments->pointers.data();
  const int exitCode = wWinMain(nullptr, nullptr, arguments->commandLine.data(), kShowDefault);
  host::ModuleTable::Instance().KeepMapped();
  return exitCode;
}
