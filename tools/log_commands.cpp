// log, trace, app runs: the debug output, the event trace and the app services' messages, as they are written.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

#include "platform/host/base/machine_directory.h"
#include "tools/commands.h"
#include "tools/device_numbers.h"
#include "tools/exit_codes.h"
#include "tools/file_follower.h"
#include "tools/log_text.h"
#include "tools/report.h"

namespace tool {
namespace {

constexpr std::chrono::milliseconds kPollInterval{50};
constexpr std::chrono::seconds kQuiet{1};  // after this a repeat that is still being counted is told

struct LogKind {
  const char* name;
  const char* help;
  const char* file;
  const char* whenMissing;  // what to do about a file that is not there
  std::optional<ShownRecord> (*show)(const std::string& line);
};

constexpr const char* kEnableLog =
    "nothing was written yet; the service writes debug output only with EnableLog set: hkd04a7ctl reg set "
    "'HKLM\\Software\\Quorvex\\HKD04A7' EnableLog --type dword 1, then restart it";

constexpr LogKind kLogs[] = {
    {"log", "debug output of the service and other processes", "debug.log", kEnableLog, ShowDebugRecord},
    {"trace", "events written to the event trace", "trace.log", kEnableLog, ShowTraceRecord},
};

constexpr LogKind kAppRuns = {"runs", "messages to app services, and openings that failed", "app_services.log",
                              "no app service was opened yet: hkd04a7ctl package add, app register",
                              ShowAppServiceRecord};

// Prints records, folded unless they are wanted raw.
class LogPrinter {
 public:
  LogPrinter(const LogKind& kind, bool asJson) : kind_(kind), json_(asJson) {}

  void Print(const std::string& line) {
    if (json_) return PrintLine(line);
    const auto shown = kind_.show(line);
    if (!shown) return PrintLine("(not a record) " + line);
    for (const std::string& text : folder_.Add(*shown)) PrintLine(text);
  }

  void EndRepeat() {
    for (const std::string& text : folder_.Flush()) PrintLine(text);
  }

 private:
  static void PrintLine(const std::string& text) { std::printf("%s\n", text.c_str()); }

  const LogKind& kind_;
  const bool json_;
  RepeatFolder folder_;
};

void PrintTail(FileFollower& file, LogPrinter& printer, std::size_t lines) {
  const std::vector<std::string> all = file.ReadNew();
  const std::size_t skip = lines != 0 && all.size() > lines ? all.size() - lines : 0;
  for (std::size_t i = skip; i < all.size(); ++i) printer.Print(all[i]);
}

// Ends with the process (Ctrl-C), or when the output takes nothing more.
void Follow(FileFollower& file, LogPrinter& printer) {
  auto lastRecord = std::chrono::steady_clock::now();
  do {
    std::this_thread::sleep_for(kPollInterval);
    const auto now = std::chrono::steady_clock::now();
    for (const std::string& line : file.ReadNew()) {
      printer.Print(line);
      lastRecord = now;
    }
    if (now - lastRecord > kQuiet) printer.EndRepeat();
  } while (OutputIsSound());
}

int ShowLog(const Options& options, const LogKind& kind, bool follow, std::size_t lines) {
  const std::string path = host::CurrentMachineDirectory().runtime + "/" + kind.file;
  FileFollower file(path);
  if (!follow && !file.Exists()) {
    return Report(options, kFailed, {std::string("show the ") + kind.name, "there is no " + path, 0, kind.whenMissing});
  }
  LogPrinter printer(kind, options.json);
  PrintTail(file, printer, lines);
  if (follow) Follow(file, printer);
  printer.EndRepeat();
  return kDone;
}

void AddLog(CLI::App& app, Options& options, const LogKind& kind) {
  struct Request {
    bool follow = false;
    std::size_t lines = 0;
  };
  CLI::App* command = app.add_subcommand(kind.name, kind.help);
  auto request = std::make_shared<Request>();
  command->add_flag("-f,--follow", request->follow, "go on with what is written from now on");
  command->add_option("-n,--lines", request->lines, "only the last N records")->check(WordError);
  command->callback([&options, &kind, request] {
    options.action = [&options, &kind, request] { return ShowLog(options, kind, request->follow, request->lines); };
  });
}

}  // namespace

void AddLogCommands(CLI::App& app, Options& options) {
  for (const LogKind& kind : kLogs) AddLog(app, options, kind);
}

void AddAppRunsCommand(CLI::App& app, Options& options) {
  AddLog(*app.get_subcommand("app"), options, kAppRuns);
}

}  // namespace tool
