#include "tools/report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "client/code_names.h"
#include "client/status.h"
#include "tools/exit_codes.h"
#include "tools/printable.h"

namespace tool {
namespace {

using nlohmann::ordered_json;

void PrintError(const std::string& text) {
  std::fflush(stdout);
  std::fprintf(stderr, "%s\n", text.c_str());
}

void PrintError(const ordered_json& object) {
  PrintError(object.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

ordered_json ErrorObject(int exitCode, const std::string& tried, const std::string& answered) {
  return {{"error", "could not " + tried}, {"answered", answered}, {"exit", exitCode}};
}

ordered_json GateObject(const Gate& gate) {
  ordered_json object = {{"gate", gate.name}};
  if (!gate.key.empty()) object["key"] = gate.key;
  if (!gate.value.empty()) object["value"] = gate.value;
  object["state"] = gate.state;
  return object;
}

ordered_json ToJson(int exitCode, const Failure& failure) {
  ordered_json object = ErrorObject(exitCode, failure.tried, failure.answered);
  if (failure.code != 0) {
    object["code"] = failure.code;
    object["name"] = client::CodeName(failure.code);
  }
  if (!failure.next.empty()) object["next"] = failure.next;
  return object;
}

ordered_json ToJson(int exitCode, const Refusal& refusal) {
  const client::Status& status = refusal.status;
  ordered_json object = ErrorObject(exitCode, refusal.tried, status.operation);
  object["layer"] = status.FromRuntime() ? "runtime" : "procedure";
  object["code"] = status.Code();
  object["name"] = status.CodeName();
  if (!refusal.gate.name.empty()) object.update(GateObject(refusal.gate));
  if (!refusal.next.empty()) object["next"] = refusal.next;
  return object;
}

std::string Begin(const std::string& tried) {
  return "hkd04a7ctl: could not " + Printable(tried) + ": ";
}

std::string NextLine(const std::string& next) {
  return next.empty() ? "" : "\n  next: " + Printable(next);
}

std::string ToText(const Failure& failure) {
  const std::string code = failure.code == 0 ? "" : " answered " + client::DescribeCode(failure.code);
  return Begin(failure.tried) + Printable(failure.answered) + code + NextLine(failure.next);
}

std::string ToText(const Refusal& refusal) {
  const std::string gate = refusal.gate.name.empty() ? "" : "\n  gate: " + GateText(refusal.gate);
  return Begin(refusal.tried) + client::Describe(refusal.status) + gate + NextLine(refusal.next);
}

}  // namespace

int Report(const Options& options, int exitCode, const Failure& failure) {
  if (options.json)
    PrintError(ToJson(exitCode, failure));
  else
    PrintError(ToText(failure));
  return exitCode;
}

int ReportRefusal(const Options& options, int exitCode, const Refusal& refusal) {
  if (options.json)
    PrintError(ToJson(exitCode, refusal));
  else
    PrintError(ToText(refusal));
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
