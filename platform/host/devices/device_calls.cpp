#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/devices/device_tree.h"
#include "platform/host/devices/devices.h"
#include "platform/host/registry/key_access.h"

namespace {

// Instance identifiers that were located; a node's number is its index here and 1. They are never forgotten.
class LocatedNodes {
 public:
  static LocatedNodes& Instance() {
    static auto* nodes = new LocatedNodes;  // outlives every thread of the process
    return *nodes;
  }

  DEVINST NumberOf(const std::u16string& id) {
    const std::lock_guard lock(mutex_);
    const std::u16string name = host::ToUpper(id);
    auto found = std::find(ids_.begin(), ids_.end(), name);
    if (found == ids_.end()) found = ids_.insert(ids_.end(), name);
    return static_cast<DEVINST>(found - ids_.begin()) + 1;
  }

  // False for a number that was never given.
  bool Find(DEVINST node, std::u16string* id) {
    const std::lock_guard lock(mutex_);
    if (node == 0 || node > ids_.size()) return false;
    *id = ids_[node - 1];
    return true;
  }

 private:
  std::mutex mutex_;
  std::vector<std::u16string> ids_;  // upper-cased
};

// The root of the tree, which has no key of its own and no driver.
constexpr std::u16string_view kRoot = u"HTREE\\ROOT\\0";

CONFIGRET CodeOf(DWORD registryError) {
  switch (registryError) {
    case ERROR_SUCCESS:
      return CR_SUCCESS;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_KEY_DELETED:
      return CR_NO_SUCH_REGISTRY_KEY;
    case ERROR_ACCESS_DENIED:
      return CR_ACCESS_DENIED;
    default:
      return CR_REGISTRY_ERROR;
  }
}

// The nodes that a list call asks for, as a multi-string.
CONFIGRET MakeList(const char* call, PCWSTR filter, ULONG flags, std::u16string* list) {
  constexpr ULONG kByService = CM_GETIDLIST_FILTER_SERVICE | CM_GETIDLIST_DONOTGENERATE;
  if ((flags & ~CM_GETIDLIST_FILTER_PRESENT) != kByService) host::Unsupported(call, "ulFlags");
  if (!filter) return CR_INVALID_POINTER;
  std::vector<host::DeviceNode> nodes;
  if (host::ListDeviceNodes(&nodes) != ERROR_SUCCESS) return CR_REGISTRY_ERROR;
  for (const host::DeviceNode& node : nodes) {
    if (host::CompareNoCase(node.service, filter) != 0) continue;
    if (node.present || (flags & CM_GETIDLIST_FILTER_PRESENT) == 0) list->append(node.id).push_back(u'\0');
  }
  list->push_back(u'\0');
  return CR_SUCCESS;
}

bool IsInstanceId(std::u16string_view id) {
  return std::count(id.begin(), id.end(), u'\\') == 2 && id.front() != u'\\' && id.back() != u'\\' &&
         id.find(u"\\\\") == std::u16string_view::npos;
}

// The node of that identifier, whatever its letter case. False when there is none (any more).
bool FindNode(std::u16string_view id, host::DeviceNode* found) {
  std::vector<host::DeviceNode> nodes;
  if (host::ListDeviceNodes(&nodes) != ERROR_SUCCESS) return false;
  const auto node = std::find_if(nodes.begin(), nodes.end(), [&](const host::DeviceNode& candidate) {
    return host::CompareNoCase(candidate.id, id) == 0;
  });
  if (node == nodes.end()) return false;
  *found = *node;
  return true;
}

CONFIGRET OpenSoftwareKey(const std::u16string& driver, REGSAM access, PHKEY key) {
  using namespace host::registry;  // NOLINT: beneath the flat calls, which tests make fail on purpose
  KeyPath path;
  DWORD code = MakeKeyPath(HKEY_LOCAL_MACHINE, (host::kClassKey + (u"\\" + driver)).c_str(), access, 0, &path);
  KeyId found = 0;
  if (code == ERROR_SUCCESS) {
    code = ReadAt(path, [&](Database&, KeyId id) {
      found = id;
      return ERROR_SUCCESS;
    });
  }
  if (code == ERROR_SUCCESS) *key = OpenKeyHandle(found, access);
  return CodeOf(code);
}

}  // namespace

CONFIGRET CM_Get_Device_ID_List_SizeW(PULONG length, PCWSTR filter, ULONG flags) {
  if (const auto code = host::InjectedFailure("CM_Get_Device_ID_List_SizeW")) return *code;
  if (!length) return CR_INVALID_POINTER;
  std::u16string list;
  const CONFIGRET code = MakeList("CM_Get_Device_ID_List_SizeW", filter, flags, &list);
  *length = code == CR_SUCCESS ? static_cast<ULONG>(list.size()) : 0;
  return code;
}

CONFIGRET CM_Get_Device_ID_ListW(PCWSTR filter, WCHAR* buffer, ULONG length, ULONG flags) {
  if (const auto code = host::InjectedFailure("CM_Get_Device_ID_ListW")) return *code;
  if (!buffer || length == 0) return CR_INVALID_POINTER;
  std::u16string list;
  const CONFIGRET code = MakeList("CM_Get_Device_ID_ListW", filter, flags, &list);
  if (code != CR_SUCCESS) return code;
  if (list.size() > length) return CR_BUFFER_SMALL;
  std::copy(list.begin(), list.end(), buffer);
  return CR_SUCCESS;
}

CONFIGRET CM_Locate_DevNodeW(PDEVINST node, DEVINSTID_W deviceId, ULONG flags) {
  if (const auto code = host::InjectedFailure("CM_Locate_DevNodeW")) return *code;
  if (flags != CM_LOCATE_DEVNODE_NORMAL) host::Unsupported("CM_Locate_DevNodeW", "ulFlags");
  if (!node) return CR_INVALID_POINTER;
  const std::u16string id = deviceId && *deviceId ? deviceId : std::u16string(kRoot);
  if (!IsInstanceId(id)) return CR_INVALID_DEVICE_ID;
  host::DeviceNode found;
  if (id != kRoot && (!FindNode(id, &found) || !found.present)) return CR_NO_SUCH_DEVNODE;
  *node = LocatedNodes::Instance().NumberOf(id);
  return CR_SUCCESS;
}

CONFIGRET CM_Open_DevNode_Key(DEVINST node, REGSAM access, ULONG hardwareProfile, REGDISPOSITION disposition, PHKEY key,
                              ULONG flags) {
  if (const auto code = host::InjectedFailure("CM_Open_DevNode_Key")) return *code;
  if (hardwareProfile != 0) host::Unsupported("CM_Open_DevNode_Key", "ulHardwareProfile");
  if (disposition != RegDisposition_OpenExisting) host::Unsupported("CM_Open_DevNode_Key", "Disposition");
  if (flags != CM_REGISTRY_SOFTWARE) host::Unsupported("CM_Open_DevNode_Key", "ulFlags");
  if (!key) return CR_INVALID_POINTER;
  std::u16string id;
  host::DeviceNode found;
  if (!LocatedNodes::Instance().Find(node, &id)) return CR_INVALID_DEVNODE;
  if (id != kRoot && !FindNode(id, &found)) return CR_NO_SUCH_DEVNODE;
  if (found.driver.empty()) return CR_NO_SUCH_VALUE;
  return OpenSoftwareKey(found.driver, access, key);
}
