// Device nodes: what a boot makes of them, and the configuration manager's calls.
#include <string>
#include <vector>

#include "platform/devices.h"
#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/text.h"
#include "platform/registry.h"
#include "tests/platform/process_fixture.h"

namespace {

using machine_test::Code;

constexpr ULONG kAll = CM_GETIDLIST_FILTER_SERVICE | CM_GETIDLIST_DONOTGENERATE;
constexpr ULONG kPresent = kAll | CM_GETIDLIST_FILTER_PRESENT;
constexpr const WCHAR* kEnum = W("System\\CurrentControlSet\\Enum\\");
constexpr const WCHAR* kClass = W("System\\CurrentControlSet\\Control\\Class\\");
constexpr const WCHAR* kDefault = W("ACPI\\QVX04A7\\0");

// Every case also shows that the calls leave the last error alone.
class DevicesTest : public ProcessTest {
 protected:
  void SetUp() override {
    ProcessTest::SetUp();
    SetLastError(kMark);
  }
  void TearDown() override {
    EXPECT_EQ(GetLastError(), kMark);
    ProcessTest::TearDown();
  }

  static constexpr DWORD kMark = 4711;

  static HKEY Key(const std::u16string& path, DWORD options = 0) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, options, KEY_WRITE, nullptr, &key, nullptr),
              0);
    return key;
  }

  static void SetText(HKEY key, const WCHAR* name, std::u16string_view text) {
    const std::u16string terminated(text);
    EXPECT_EQ(RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(terminated.c_str()),
                             static_cast<DWORD>((terminated.size() + 1) * sizeof(WCHAR))),
              0);
  }

  // Adds a node; an empty driver: none.
  static void AddNode(const std::u16string& id, std::u16string_view service, std::u16string_view driver, bool present) {
    const HKEY node = Key(kEnum + id);
    SetText(node, W("Service"), service);
    if (!driver.empty()) SetText(node, W("Driver"), driver);
    RegCloseKey(node);
    if (present) RegCloseKey(Key(kEnum + id + u"\\Control", REG_OPTION_VOLATILE));
  }

  static void SetUnplugged(const std::u16string& id, DWORD value) {
    const HKEY node = Key(kEnum + id);
    EXPECT_EQ(RegSetValueExW(node, W("Unplugged"), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)),
              0);
    RegCloseKey(node);
  }

  // The identifiers listed; the size call agrees with the list.
  static std::vector<std::string> List(const WCHAR* service, ULONG flags) {
    ULONG length = 0;
    EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, service, flags), CR_SUCCESS);
    std::u16string buffer(length, u'#');
    EXPECT_EQ(CM_Get_Device_ID_ListW(service, buffer.data(), length, flags), CR_SUCCESS);
    std::vector<std::string> ids;
    const WCHAR* text = buffer.c_str();
    for (; *text; text += ids.back().size() + 1) ids.push_back(host::ToUtf8(text));
    EXPECT_EQ(text - buffer.c_str() + 1, static_cast<std::ptrdiff_t>(length));
    return ids;
  }

  static CONFIGRET OpenSoftwareKey(std::u16string id, HKEY* key) {
    DEVINST node = 0;
    const CONFIGRET code = CM_Locate_DevNodeW(&node, id.data(), CM_LOCATE_DEVNODE_NORMAL);
    if (code != CR_SUCCESS) return code;
    return CM_Open_DevNode_Key(node, KEY_READ, 0, RegDisposition_OpenExisting, key, CM_REGISTRY_SOFTWARE);
  }

  static CONFIGRET OpenCode(const std::u16string& id) {
    HKEY key = nullptr;
    const CONFIGRET code = OpenSoftwareKey(id, &key);
    if (code == CR_SUCCESS) RegCloseKey(key);
    return code;
  }
};

TEST_F(DevicesTest, AMachineComesWithOneDevice) {
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::ElementsAre("ACPI\\QVX04A7\\0"));
  EXPECT_THAT(List(W("HKD04A7"), kPresent), testing::SizeIs(1));
  EXPECT_THAT(List(W("hkd04"), kPresent), testing::IsEmpty());
  const HKEY written = Key(std::u16string(kClass) + u"{4d36e97d-e325-11ce-bfc1-08002be10318}\\0000");
  SetText(written, W("Mark"), u"yes");
  RegCloseKey(written);
  HKEY key = nullptr;
  ASSERT_EQ(OpenSoftwareKey(kDefault, &key), CR_SUCCESS);
  EXPECT_EQ(RegGetValueW(key, nullptr, W("Mark"), RRF_RT_REG_SZ, nullptr, nullptr, nullptr), 0);
  const BYTE byte = 0;
  EXPECT_EQ(RegSetValueExW(key, W("Mark"), 0, REG_BINARY, &byte, 1), static_cast<LSTATUS>(ERROR_ACCESS_DENIED))
      << "the key has the access it was opened with";
  RegCloseKey(key);
}

TEST_F(DevicesTest, ABootMakesWhatIsPluggedInPresent) {
  AddNode(u"ACPI\\QVX04A7\\1", u"hkd04a7", u"", false);
  AddNode(u"USB\\VID_1&PID_2\\3", u"other", u"", true);
  SetUnplugged(kDefault, 1);
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::ElementsAre("ACPI\\QVX04A7\\0")) << "until the next boot";
  EXPECT_THAT(List(W("hkd04a7"), kAll), testing::SizeIs(2));
  EXPECT_EQ(Code("machine.reboot"), 0u);
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::ElementsAre("ACPI\\QVX04A7\\1"));
  EXPECT_THAT(List(W("other"), kPresent), testing::SizeIs(1));
  SetUnplugged(kDefault, 0);
  Stop();
  MachineTest::Start();
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::ElementsAre("ACPI\\QVX04A7\\0", "ACPI\\QVX04A7\\1"));
}

TEST_F(DevicesTest, ARemovedDeviceStaysAway) {
  ASSERT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, W("System\\CurrentControlSet\\Enum\\ACPI")), 0);
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::IsEmpty());
  EXPECT_EQ(Code("machine.reboot"), 0u);
  EXPECT_THAT(List(W("hkd04a7"), kPresent), testing::IsEmpty());
  EXPECT_EQ(OpenCode(kDefault), CR_NO_SUCH_DEVNODE);
  EXPECT_EQ(OpenCode(u""), CR_NO_SUCH_VALUE) << "the root of the tree, which has no driver";
}

TEST_F(DevicesTest, ListsKeepTheBuffersRules) {
  AddNode(u"ACPI\\QVX04A7\\1", u"hkd04a7", u"", true);
  ULONG length = 0;
  ASSERT_EQ(CM_Get_Device_ID_List_SizeW(&length, W("hkd04a7"), kPresent), CR_SUCCESS);
  EXPECT_EQ(length, 2 * 15u + 1);
  std::u16string buffer(length, u'#');
  EXPECT_EQ(CM_Get_Device_ID_ListW(W("hkd04a7"), buffer.data(), length - 1, kPresent), CR_BUFFER_SMALL);
  EXPECT_EQ(buffer, std::u16string(length, u'#'));
  EXPECT_EQ(CM_Get_Device_ID_ListW(W("hkd04a7"), nullptr, length, kPresent), CR_INVALID_POINTER);
  EXPECT_EQ(CM_Get_Device_ID_ListW(W("hkd04a7"), buffer.data(), 0, kPresent), CR_INVALID_POINTER);
  EXPECT_EQ(CM_Get_Device_ID_ListW(nullptr, buffer.data(), length, kPresent), CR_INVALID_POINTER);
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(nullptr, W("hkd04a7"), kPresent), CR_INVALID_POINTER);
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, W("none"), kPresent), CR_SUCCESS);
  EXPECT_EQ(length, 1u);
  host::FailCall("CM_Get_Device_ID_List_SizeW", 1, CR_FAILURE);
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, W("hkd04a7"), kPresent), CR_FAILURE);
}

TEST_F(DevicesTest, WhatCannotBeOpenedSaysWhy) {
  AddNode(u"ACPI\\QVX04A7\\1", u"hkd04a7", u"", true);
  AddNode(u"ACPI\\QVX04A7\\2", u"hkd04a7", u"{4d36e97d-e325-11ce-bfc1-08002be10318}\\0077", true);
  AddNode(u"ACPI\\QVX04A7\\3", u"hkd04a7", u"", false);
  struct {
    const char16_t* id;
    CONFIGRET code;
  } const kCases[] = {{u"acpi\\qvx04a7\\0", CR_SUCCESS},
                      {u"ACPI\\QVX04A7\\1", CR_NO_SUCH_VALUE},
                      {u"ACPI\\QVX04A7\\2", CR_NO_SUCH_REGISTRY_KEY},
                      {u"ACPI\\QVX04A7\\3", CR_NO_SUCH_DEVNODE},
                      {u"ACPI\\QVX04A7\\4", CR_NO_SUCH_DEVNODE},
                      {u"ACPI\\QVX04A7", CR_INVALID_DEVICE_ID},
                      {u"ACPI\\\\0", CR_INVALID_DEVICE_ID}};
  for (const auto& [id, code] : kCases) EXPECT_EQ(OpenCode(id), code) << host::ToUtf8(id);

  HKEY key = nullptr;
  DEVINST node = 0;
  std::u16string id = kDefault;
  ASSERT_EQ(CM_Locate_DevNodeW(&node, id.data(), 0), CR_SUCCESS);
  EXPECT_EQ(CM_Locate_DevNodeW(nullptr, id.data(), 0), CR_INVALID_POINTER);
  const auto open = [&](DEVINST which, HKEY* result) {
    return CM_Open_DevNode_Key(which, KEY_READ, 0, RegDisposition_OpenExisting, result, CM_REGISTRY_SOFTWARE);
  };
  EXPECT_EQ(open(node, nullptr), CR_INVALID_POINTER);
  EXPECT_EQ(open(node + 100, &key), CR_INVALID_DEVNODE);
  EXPECT_EQ(open(0, &key), CR_INVALID_DEVNODE);
  ASSERT_EQ(RegDeleteTreeW(HKEY_LOCAL_MACHINE, W("System\\CurrentControlSet\\Enum\\ACPI")), 0);
  EXPECT_EQ(open(node, &key), CR_NO_SUCH_DEVNODE) << "it went after it was located";
}

TEST_F(DevicesTest, UnsupportedFlagsAreNamed) {
  ULONG length = 0;
  EXPECT_DEATH(CM_Get_Device_ID_List_SizeW(&length, W("hkd04a7"), CM_GETIDLIST_FILTER_SERVICE),
               "CM_Get_Device_ID_List_SizeW: not supported: ulFlags");
}

}  // namespace
