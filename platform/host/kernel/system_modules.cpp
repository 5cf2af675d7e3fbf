#include "platform/host/kernel/system_modules.h"

#include <mutex>
#include <set>
#include <utility>

#include "platform/host/base/text.h"
#include "platform/host/kernel/module_table.h"
#include "platform/host/security/capability_sids.h"

namespace host {
namespace {

struct SystemModules {
  std::mutex mutex;
  std::map<std::u16string, std::shared_ptr<const ModuleExports>> modules;  // by upper-cased name
  std::set<std::u16string> missingModules;
  std::set<std::pair<std::u16string, std::string>> missingExports;
};

SystemModules& All() {
  static auto* all = new SystemModules;
  return *all;
}

void RegisterPlatformModules() {
  static std::once_flag once;
  std::call_once(once, RegisterCapabilityModule);
}

}  // namespace

void RegisterSystemModule(std::u16string_view name, ModuleExports exports) {
  std::lock_guard lock(All().mutex);
  All().modules[ToUpper(name)] = std::make_shared<const ModuleExports>(std::move(exports));
}

std::shared_ptr<const ModuleExports> FindSystemModule(std::u16string_view name) {
  RegisterPlatformModules();
  std::lock_guard lock(All().mutex);
  const auto found = All().modules.find(ToUpper(name));
  return found == All().modules.end() ? nullptr : found->second;
}

void TakeAwayModule(std::u16string_view module) {
  std::lock_guard lock(All().mutex);
  All().missingModules.insert(ToUpper(module));
}

void TakeAwayExport(std::u16string_view module, std::string_view name) {
  std::lock_guard lock(All().mutex);
  All().missingExports.emplace(ToUpper(module), name);
}

void RestoreModules() {
  std::lock_guard lock(All().mutex);
  All().missingModules.clear();
  All().missingExports.clear();
}

bool IsModuleTakenAway(std::u16string_view fileName) {
  std::lock_guard lock(All().mutex);
  return All().missingModules.contains(ToUpper(fileName));
}

bool IsExportTakenAway(std::u16string_view fileName, std::string_view name) {
  std::lock_guard lock(All().mutex);
  return All().missingExports.contains({ToUpper(fileName), std::string(name)});
}

}  // namespace host
