#include "tools/software_key.h"

#include <vector>

#include "platform/devices.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "tools/wide_text.h"

namespace tool {
namespace {

constexpr ULONG kPresentNodes = CM_GETIDLIST_FILTER_SERVICE | CM_GETIDLIST_FILTER_PRESENT | CM_GETIDLIST_DONOTGENERATE;

// The first instance identifier of the list; empty when it names none.
WideString FirstPresentDevice() {
  ULONG length = 0;
  if (CM_Get_Device_ID_List_SizeW(&length, W("hkd04a7"), kPresentNodes) != CR_SUCCESS) return {};
  WideString list(length + 1, 0);
  if (CM_Get_Device_ID_ListW(W("hkd04a7"), list.data(), length, kPresentNodes) != CR_SUCCESS) return {};
  return list.c_str();
}

// Reads a value of one type. The data has one character's room more than it is told to have, filled with zero.
LSTATUS Read(const WideString& key, const WideString& name, DWORD typeFlag, std::vector<BYTE>* data) {
  DWORD size = 0;
  LSTATUS status = RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), typeFlag, nullptr, nullptr, &size);
  if (status != ERROR_SUCCESS) return status;
  data->assign(size + sizeof(WCHAR), 0);
  return RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name.c_str(), typeFlag, nullptr, data->data(), &size);
}

TableEntry EntryOf(LSTATUS status, bool grants) {
  if (status == ERROR_SUCCESS) return grants ? TableEntry::Grants : TableEntry::Refuses;
  return status == ERROR_UNSUPPORTED_TYPE || status == ERROR_INVALID_DATA ? TableEntry::OtherType : TableEntry::Absent;
}

}  // namespace

std::optional<WideString> FindSoftwareKey() {
  const WideString device = FirstPresentDevice();
  if (device.empty()) return std::nullopt;
  std::vector<BYTE> driver;
  const WideString node = W("System\\CurrentControlSet\\Enum\\") + device;
  if (Read(node, W("Driver"), RRF_RT_REG_SZ, &driver) != ERROR_SUCCESS) return std::nullopt;
  return W("System\\CurrentControlSet\\Control\\Class\\") + WideString(reinterpret_cast<const WCHAR*>(driver.data()));
}

TableEntry ReadCapability(const WideString& softwareKey, const WideString& package) {
  DWORD bits = 0;
  DWORD size = sizeof bits;
  const WideString key = softwareKey + W('\\') + ToWide(kCapabilitySubKey);
  const LSTATUS status =
      RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), package.c_str(), RRF_RT_REG_DWORD, nullptr, &bits, &size);
  return EntryOf(status, (bits & 1) != 0);
}

TableEntry ReadCommand(const WideString& softwareKey, const WideString& command) {
  std::vector<BYTE> words;
  const WideString key = softwareKey + W('\\') + ToWide(kCommandSubKey);
  const LSTATUS status = Read(key, command, RRF_RT_REG_MULTI_SZ, &words);
  return EntryOf(status, status == ERROR_SUCCESS && (words[0] != 0 || words[1] != 0));
}

}  // namespace tool
