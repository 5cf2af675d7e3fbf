#include "tools/task_listings.h"

#include "platform/host/base/error_codes.h"
#include "platform/host/base/text.h"
#include "tools/event_text.h"
#include "tools/numbers.h"
#include "tools/registry_access.h"

namespace tool {
namespace {

constexpr const WCHAR* kEvents = W("Software\\Quorvex\\HKD04A7\\Events");

RegistryPath PathOf(const WideString& key) {
  const WideString root = kEvents;
  return {HKEY_LOCAL_MACHINE, key.empty() ? root : root + W('\\') + key};
}

REGSAM ViewOf(bool view32) {
  return view32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
}

WideString Child(const WideString& key, const WideString& name) {
  return key.empty() ? name : key + W('\\') + name;
}

// The tasks of one list, and the lists below it down to `depth`.
LSTATUS ReadList(bool view32, const WideString& name, int depth, std::vector<TaskListing>* listings) {
  RegistryKey key;
  const LSTATUS opened = key.Open(PathOf(name), KEY_READ | ViewOf(view32));
  if (opened != ERROR_SUCCESS) return opened == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : opened;
  std::vector<RegistryKey::Named> values;
  if (const LSTATUS status = key.ReadAll(&values); status != ERROR_SUCCESS) return status;
  for (const RegistryKey::Named& value : values)
    if (!name.empty()) listings->push_back({view32, name, value.name});
  std::vector<WideString> children;
  if (const LSTATUS status = key.SubKeys(&children); status != ERROR_SUCCESS || depth == 0) return status;
  for (const WideString& child : children)
    if (const LSTATUS status = ReadList(view32, Child(name, child), depth - 1, listings); status != ERROR_SUCCESS)
      return status;
  return ERROR_SUCCESS;
}

WideStringView WithoutRoot(WideStringView path) {
  return path.starts_with(W('\\')) ? path.substr(1) : path;
}

}  // namespace

LSTATUS ReadTaskListings(std::vector<TaskListing>* listings) {
  constexpr int kDepth = 2;
  const LSTATUS status = ReadList(false, {}, kDepth, listings);
  return status != ERROR_SUCCESS ? status : ReadList(true, {}, kDepth, listings);
}

LSTATUS AddTaskListing(const TaskListing& listing) {
  RegistryKey key;
  const LSTATUS status = key.Create(PathOf(listing.key), KEY_WRITE | ViewOf(listing.view32), false);
  return status != ERROR_SUCCESS ? status : key.Write(listing.task, *ParseValue(REG_SZ, {""}));
}

LSTATUS RemoveTaskListing(const TaskListing& listing) {
  RegistryKey key;
  const LSTATUS status = key.Open(PathOf(listing.key), KEY_WRITE | ViewOf(listing.view32));
  return status != ERROR_SUCCESS ? status : key.DeleteValue(listing.task);
}

WideString TaskListKey(std::uint32_t event, std::optional<std::uint32_t> data1) {
  return host::ToUtf16(std::to_string(event) + (data1 ? '\\' + std::to_string(*data1) : ""));
}

bool ListsTask(const TaskListing& listing, const WideString& path) {
  return host::CompareNoCase(WithoutRoot(listing.task), WithoutRoot(path)) == 0;
}

std::string ListingText(const TaskListing& listing) {
  const std::string key = host::ToUtf8(listing.key);
  const std::size_t split = key.find('\\');
  const auto event = ParseWord(key.substr(0, split));
  const auto data1 = split == key.npos ? std::nullopt : ParseWord(key.substr(split + 1));
  const std::string view = listing.view32 ? ", 32-bit view" : ", 64-bit view";
  if (!event || (split != key.npos && !data1)) return "key " + key + view;
  return "event " + std::to_string(*event) + " (" + EventSource(*event) + ")" +
         (data1 ? " with data1 " + Hex(*data1) : "") + view;
}

}  // namespace tool
