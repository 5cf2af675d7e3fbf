#include "tools/package_text.h"

#include <cstdint>
#include <nlohmann/json.hpp>

namespace tool {
namespace {

using nlohmann::json;

std::string Listed(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

std::string AppServiceText(const json& service) {
  const auto program = service.at("program").get<std::string>();
  const auto arguments = service.at("arguments").get<std::vector<std::string>>();
  std::string text = "      " + service.at("name").get<std::string>() + ": ";
  text += program.empty() ? "played by hkd04a7ctl app serve" : program;
  return text + (arguments.empty() ? "" : " ") + Listed(arguments, " ");
}

std::string InstanceText(const json& instance) {
  std::string state = instance.at("listening").get<bool>() ? "listens" : "starts or ends";
  if (instance.at("refuses").get<bool>()) state = "refuses";
  return "        " + state + " for " + instance.at("user").get<std::string>() + " in session " +
         std::to_string(instance.at("session").get<std::uint32_t>()) + ", process " +
         std::to_string(instance.at("pid").get<std::int64_t>());
}

}  // namespace

std::vector<std::string> PackageText(const json& package, const json& running) {
  const auto users = package.at("users").get<std::vector<std::string>>();
  std::vector<std::string> lines = {"  " + package.at("package").get<std::string>() + "  for " +
                                    (users.empty() ? "everybody" : Listed(users, ", ")) +
                                    (package.at("appContainer").get<bool>() ? ", in an app container" : "")};
  for (const json& service : package.at("services")) {
    lines.push_back(AppServiceText(service));
    for (const json& instance : running) {
      if (instance.at("package") == package.at("package") && instance.at("service") == service.at("name"))
        lines.push_back(InstanceText(instance));
    }
  }
  return lines;
}

}  // namespace tool
