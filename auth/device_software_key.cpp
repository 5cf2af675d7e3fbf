#include "auth/device_software_key.h"

#include <memory>
#include <new>

#include "platform/devices.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

constexpr const WCHAR* kDriverService = W("hkd04a7");

// Present devices of the service only, and none made up when it has none.
constexpr ULONG kListFlags = CM_GETIDLIST_FILTER_SERVICE | CM_GETIDLIST_FILTER_PRESENT | CM_GETIDLIST_DONOTGENERATE;

// The instance identifiers one after another, each with its null; null when they cannot be had.
std::unique_ptr<WCHAR[]> ListDevices() {
  ULONG length = 0;
  if (CM_Get_Device_ID_List_SizeW(&length, kDriverService, kListFlags) != CR_SUCCESS || length == 0) return nullptr;
  std::unique_ptr<WCHAR[]> devices(new (std::nothrow) WCHAR[length]());
  if (devices == nullptr) return nullptr;
  if (CM_Get_Device_ID_ListW(kDriverService, devices.get(), length, kListFlags) != CR_SUCCESS) return nullptr;
  return devices;
}

}  // namespace

Common::UniqueRegistryKey OpenDeviceSoftwareKey() {
  Common::UniqueRegistryKey key;
  const std::unique_ptr<WCHAR[]> devices = ListDevices();
  // An empty identifier would name the root of the device tree.
  if (devices == nullptr || devices[0] == 0) return key;
  DEVINST device = 0;
  if (CM_Locate_DevNodeW(&device, devices.get(), CM_LOCATE_DEVNODE_NORMAL) != CR_SUCCESS) return key;
  HKEY opened = nullptr;
  if (CM_Open_DevNode_Key(device, KEY_READ, 0, RegDisposition_OpenExisting, &opened, CM_REGISTRY_SOFTWARE) ==
      CR_SUCCESS) {
    key.Reset(opened);
  }
  return key;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
