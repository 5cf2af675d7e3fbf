#include "tools/service_registration.h"

#include <charconv>

#include "tools/wide_text.h"

namespace tool {
namespace {

constexpr std::size_t kVersionNumbers = 4;
constexpr std::uint32_t kFirstVersion = 4;
constexpr std::size_t kPathCapacity = 260;

// Takes a number off the front of `text`.
std::optional<std::uint32_t> TakeNumber(std::string_view* text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  if (error != std::errc()) return std::nullopt;
  text->remove_prefix(static_cast<std::size_t>(end - text->data()));
  return number;
}

std::optional<std::vector<std::uint32_t>> VersionNumbers(std::string_view text) {
  std::vector<std::uint32_t> numbers;
  while (const auto number = TakeNumber(&text)) {
    numbers.push_back(*number);
    if (text.empty()) return numbers;
    if (text.front() != '.') break;
    text.remove_prefix(1);
  }
  return std::nullopt;
}

bool IsFullPath(const WideString& path) {
  const bool drive = path.size() > 3 && path[1] == ':' && path[2] == '\\';
  return drive || path.starts_with(W("\\\\"));
}

std::string RegisterText(const char* verb, const ServiceRegistration& registration) {
  const std::string start = registration.automatic ? "automatic" : "demand";
  return std::string(verb) + " the service " + kServiceName + ": own process, LocalSystem, " + start + " start, runs " +
         ToNarrow(ServiceCommandLine(registration.program));
}

}  // namespace

std::optional<std::string> InstalledVersion(std::string_view projectVersion) {
  auto numbers = VersionNumbers(projectVersion);
  if (!numbers || numbers->size() > kVersionNumbers || numbers->front() < kFirstVersion) return std::nullopt;
  numbers->resize(kVersionNumbers);
  std::string text;
  for (const std::uint32_t number : *numbers) text += (text.empty() ? "" : ".") + std::to_string(number);
  return text;
}

WideString ServiceCommandLine(const WideString& program) {
  return W("\"") + program + W("\" -service");
}

std::string ProgramPathError(const WideString& program) {
  if (!IsFullPath(program)) return "it is not a full path";
  if (program.find(W('"')) != WideString::npos) return "it has a quote in it";
  if (program.size() >= kPathCapacity) return "its path has 260 characters or more: the service would find no library";
  return "";
}

std::vector<ServiceStep> InstallSteps(const InstalledParts& parts) {
  return {parts.registered ? ServiceStep::Change : ServiceStep::Create, ServiceStep::Describe,
          ServiceStep::SetFailureActions, ServiceStep::RecordVersion};
}

std::vector<ServiceStep> UninstallSteps(const InstalledParts& parts) {
  std::vector<ServiceStep> steps;
  if (parts.running) steps.push_back(ServiceStep::Stop);
  if (parts.registered) steps.push_back(ServiceStep::Delete);
  if (parts.version) steps.push_back(ServiceStep::RemoveVersion);
  return steps;
}

std::string StepText(ServiceStep step, const ServiceRegistration& registration) {
  switch (step) {
    case ServiceStep::Create:
      return RegisterText("register", registration);
    case ServiceStep::Change:
      return RegisterText("change", registration);
    case ServiceStep::Describe:
      return std::string("describe it: ") + kServiceDescription;
    case ServiceStep::SetFailureActions:
      return "have it started again when it fails: after 5 seconds, then 30, then a minute each; counted anew after a "
             "day";
    case ServiceStep::RecordVersion:
      return "set HKLM\\Software\\Quorvex\\HKD04A7, CurrentVersion to " + registration.version;
    case ServiceStep::Stop:
      return "stop the service";
    case ServiceStep::Delete:
      return std::string("remove the service ") + kServiceName;
    case ServiceStep::RemoveVersion:
      return "remove HKLM\\Software\\Quorvex\\HKD04A7, CurrentVersion";
  }
  return "";
}

}  // namespace tool
