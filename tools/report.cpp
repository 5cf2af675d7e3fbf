#include "tools/report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "tools/exit_codes.h"

namespace tool {
namespace {

void PrintJson(int exitCode, const Failure& failure) {
  nlohmann::json object = {{"error", "could not " + failure.tried}, {"answered", failure.answered}, {"exit", exitCode}};
  if (failure.code != 0) {
    object["code"] = failure.code;
    object["name"] = client::CodeName(failure.code);
  }
  if (!failure.next.empty()) object["next"] = failure.next;
  std::fprintf(stderr, "%s\n", object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

void PrintText(const Failure& failure) {
  std::string text = "hkd04a7ctl: could not " + failure.tried + ": " + failure.answered;
  if (failure.code != 0) text += " answered " + client::DescribeCode(failure.code);
  if (!failure.next.empty()) text += "\n  next: " + failure.next;
  std::fprintf(stderr, "%s\n", text.c_str());
}

}  // namespace

int Report(const Options& options, int exitCode, const Failure& failure) {
  std::fflush(stdout);
  if (options.json)
    PrintJson(exitCode, failure);
  else
    PrintText(failure);
  return exitCode;
}

bool OutputIsSound() {
  return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

int ReportOutput(const Options& options, int exitCode) {
  if (OutputIsSound()) return exitCode;
  return Report(options, exitCode == kDone ? kFailed : exitCode,
                {"write the output", "the standard output did not take all of it", 0, ""});
}

}  // namespace tool
