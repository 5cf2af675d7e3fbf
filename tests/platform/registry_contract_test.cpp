// Contract: the rules of the registry calls that are easy to get wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/errors.h"
#include "platform/registry.h"

// Compares a call's answer with a Win32 code, whatever signs the two have.
#define EXPECT_CODE(expected, call) EXPECT_EQ(static_cast<DWORD>(expected), static_cast<DWORD>(call))
#define ASSERT_CODE(expected, call) ASSERT_EQ(static_cast<DWORD>(expected), static_cast<DWORD>(call))

namespace {

const WideString kPlace = W("Software\\Quorvex-contract");

HKEY Create(HKEY root, const WideString& path, REGSAM access = KEY_ALL_ACCESS, DWORD options = 0) {
  HKEY key = nullptr;
  EXPECT_CODE(0, RegCreateKeyExW(root, path.c_str(), 0, nullptr, options, access, nullptr, &key, nullptr));
  return key;
}

void Set(HKEY key, const WCHAR* name, DWORD type, const std::vector<BYTE>& data) {
  EXPECT_CODE(0, RegSetValueExW(key, name, 0, type, data.data(), static_cast<DWORD>(data.size())));
}

std::vector<BYTE> Bytes(const WideString& text, std::size_t terminators) {
  std::vector<BYTE> bytes((text.size() + terminators) * 2);
  std::memcpy(bytes.data(), text.data(), text.size() * 2);
  return bytes;
}

// A key of the user's own to work in, gone afterwards with all that is below it.
class Registry : public ::testing::Test {
 protected:
  void SetUp() override { key_ = Create(HKEY_CURRENT_USER, kPlace); }
  void TearDown() override {
    EXPECT_CODE(0, RegCloseKey(key_));
    EXPECT_CODE(0, RegDeleteTreeW(HKEY_CURRENT_USER, kPlace.c_str()));
  }

  HKEY key_ = nullptr;
};

// The machine's key in both views.
class Views : public ::testing::Test {
 protected:
  void SetUp() override {
    wide_ = Create(HKEY_LOCAL_MACHINE, kPlace);
    narrow_ = Create(HKEY_LOCAL_MACHINE, kPlace, KEY_ALL_ACCESS | KEY_WOW64_32KEY);
  }
  void TearDown() override {
    RegCloseKey(wide_);
    RegCloseKey(narrow_);
    EXPECT_CODE(0, RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPlace.c_str(), KEY_WOW64_64KEY, 0));
    EXPECT_CODE(0, RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPlace.c_str(), KEY_WOW64_32KEY, 0));
  }

  HKEY wide_ = nullptr;
  HKEY narrow_ = nullptr;
};

TEST_F(Registry, TypeFilterAdmitsOnlyTheTypesAskedFor) {
  struct Case {
    DWORD type, flags, expected;
  };
  const Case kCases[] = {{REG_DWORD, RRF_RT_REG_DWORD, 0},
                         {REG_DWORD, RRF_RT_REG_SZ, ERROR_UNSUPPORTED_TYPE},
                         {REG_DWORD, RRF_RT_ANY, 0},
                         {REG_DWORD, RRF_RT_DWORD, 0},
                         {REG_BINARY, RRF_RT_DWORD, 0},
                         {REG_BINARY, RRF_RT_QWORD, ERROR_DATATYPE_MISMATCH},
                         {REG_BINARY, RRF_RT_REG_DWORD, ERROR_UNSUPPORTED_TYPE},
                         {REG_SZ, RRF_RT_REG_SZ, 0},
                         {REG_SZ, RRF_RT_REG_MULTI_SZ, ERROR_UNSUPPORTED_TYPE},
                         {REG_MULTI_SZ, RRF_RT_REG_SZ, ERROR_UNSUPPORTED_TYPE},
                         {REG_MULTI_SZ, RRF_RT_REG_MULTI_SZ, 0},
                         {REG_EXPAND_SZ, RRF_RT_REG_SZ, 0},
                         {REG_EXPAND_SZ, RRF_RT_REG_SZ | RRF_NOEXPAND, ERROR_UNSUPPORTED_TYPE},
                         {REG_EXPAND_SZ, RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND, 0},
                         {REG_QWORD, RRF_RT_REG_DWORD, ERROR_UNSUPPORTED_TYPE},
                         {REG_NONE, RRF_RT_REG_NONE, 0}};
  for (const Case& c : kCases) {
    Set(key_, W("v"), c.type, {0, 0, 0, 0});
    BYTE data[16];
    DWORD size = sizeof data;
    EXPECT_CODE(c.expected, RegGetValueW(key_, nullptr, W("v"), c.flags, nullptr, data, &size))
        << "type " << c.type << " flags " << std::hex << c.flags;
  }
}

TEST_F(Registry, StringsComeTerminatedFromOneCallAndAsStoredFromTheOther) {
  struct Case {
    DWORD type;
    DWORD stored;  // bytes of "ab" and the terminators behind it
  };
  const Case kCases[] = {{REG_SZ, 4}, {REG_SZ, 6}, {REG_MULTI_SZ, 8}, {REG_EXPAND_SZ, 4}};
  for (const Case& c : kCases) {
    // What lies behind the data is no terminator that a call could count in.
    const WCHAR text[] = {W('a'), W('b'), c.stored == 4 ? W('x') : W('\0'), 0};
    EXPECT_CODE(0, RegSetValueExW(key_, W("v"), 0, c.type, reinterpret_cast<const BYTE*>(text), c.stored));
    WCHAR read[8];
    std::memset(read, 0xEE, sizeof read);
    DWORD size = sizeof read;
    EXPECT_CODE(0, RegGetValueW(key_, nullptr, W("v"), RRF_RT_ANY, nullptr, read, &size));
    if (c.stored > 4) {
      EXPECT_EQ(c.stored, size);
    }
    EXPECT_EQ(WideString(W("ab")), WideString(read));
    size = sizeof read;
    EXPECT_CODE(0, RegQueryValueExW(key_, W("v"), nullptr, nullptr, reinterpret_cast<BYTE*>(read), &size));
    EXPECT_EQ(c.stored, size);
  }
}

TEST_F(Registry, SizesAreToldAndSmallBuffersRefused) {
  Set(key_, W("v"), REG_SZ, Bytes(W("0123456789"), 1));
  DWORD size = 0;
  DWORD type = 0;
  EXPECT_CODE(0, RegGetValueW(key_, nullptr, W("v"), RRF_RT_REG_SZ, &type, nullptr, &size));
  EXPECT_EQ(22u, size);
  EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);

  WCHAR text[11];
  size = 20;
  EXPECT_CODE(ERROR_MORE_DATA, RegGetValueW(key_, nullptr, W("v"), RRF_RT_REG_SZ, nullptr, text, &size));
  EXPECT_EQ(22u, size);
  EXPECT_CODE(0, RegGetValueW(key_, nullptr, W("v"), RRF_RT_REG_SZ, nullptr, text, &size));
  EXPECT_EQ(WideString(W("0123456789")), WideString(text));

  auto* bytes = reinterpret_cast<BYTE*>(text);
  size = 2;
  EXPECT_CODE(ERROR_MORE_DATA, RegQueryValueExW(key_, W("v"), nullptr, &type, bytes, &size));
  EXPECT_EQ(22u, size);
  EXPECT_CODE(0, RegQueryValueExW(key_, W("v"), nullptr, nullptr, nullptr, &size));
  EXPECT_CODE(0, RegQueryValueExW(key_, W("v"), nullptr, nullptr, nullptr, nullptr));
  EXPECT_CODE(ERROR_INVALID_PARAMETER, RegQueryValueExW(key_, W("v"), nullptr, nullptr, bytes, nullptr));
  EXPECT_CODE(ERROR_INVALID_PARAMETER, RegGetValueW(key_, nullptr, W("v"), RRF_RT_REG_SZ, nullptr, text, nullptr));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegQueryValueExW(key_, W("w"), nullptr, nullptr, nullptr, &size));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegGetValueW(key_, W("none"), W("v"), RRF_RT_REG_SZ, nullptr, text, &size));
}

TEST_F(Registry, FailuresZeroTheBufferWhenAskedTo) {
  Set(key_, W("v"), REG_SZ, Bytes(W("text"), 1));
  const WCHAR* const kNames[] = {W("v"), W("missing")};
  for (const WCHAR* name : kNames) {
    DWORD data[2] = {7, 7};
    DWORD size = sizeof data;
    const DWORD flags = RRF_RT_REG_DWORD | RRF_ZEROONFAILURE;
    EXPECT_NE(0, RegGetValueW(key_, nullptr, name, flags, nullptr, data, &size));
    EXPECT_EQ(0u, data[0]);
    EXPECT_EQ(0u, data[1]);
  }
}

TEST_F(Registry, ExpandableStringsAreExpandedUnlessToldNotTo) {
  Set(key_, W("v"), REG_EXPAND_SZ, Bytes(W("a%PATH%%no such variable%"), 1));
  std::vector<WCHAR> text(32768);
  DWORD size = static_cast<DWORD>(text.size() * 2);
  DWORD type = 0;
  EXPECT_CODE(0, RegGetValueW(key_, nullptr, W("v"), RRF_RT_REG_SZ, &type, text.data(), &size));
  const WideString expanded(text.data());
  EXPECT_EQ(static_cast<DWORD>(REG_SZ), type);
  EXPECT_EQ(WideString::npos, expanded.find(W("%PATH%")));
  EXPECT_NE(WideString::npos, expanded.find(W("%no such variable%")));
  EXPECT_EQ((expanded.size() + 1) * 2, size);

  const DWORD flags = RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
  EXPECT_CODE(0, RegGetValueW(key_, nullptr, W("v"), flags, &type, text.data(), &size));
  EXPECT_EQ(WideString(W("a%PATH%%no such variable%")), WideString(text.data()));
}

TEST_F(Registry, EnumerationSkipsNoValueForOneWhoseNameDoesNotFit) {
  for (const std::size_t length : {199, 200, 250, 5}) {
    Set(key_, WideString(length, W('n')).c_str(), REG_NONE, {});
  }
  std::vector<std::size_t> lengths;
  int refused = 0;
  for (DWORD index = 0; index < 4; ++index) {
    WCHAR name[200];
    DWORD length = 200;
    const LSTATUS status = RegEnumValueW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == 0) lengths.push_back(length);
    if (static_cast<DWORD>(status) != ERROR_MORE_DATA) continue;
    ++refused;
    EXPECT_EQ(200u, length);
  }
  EXPECT_EQ(2, refused);
  std::sort(lengths.begin(), lengths.end());
  EXPECT_EQ((std::vector<std::size_t>{5, 199}), lengths);
  WCHAR name[200];
  DWORD length = 200;
  EXPECT_CODE(ERROR_NO_MORE_ITEMS, RegEnumValueW(key_, 4, name, &length, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(Registry, EnumerationGivesTypeDataAndTheNamesOwnCase) {
  Set(key_, W("MixedCase"), REG_BINARY, {1, 2, 3});
  Set(key_, W("MIXEDcase"), REG_BINARY, {4, 5});
  WCHAR name[16];
  DWORD length = 16;
  DWORD type = 0;
  BYTE data[2];
  DWORD size = 1;
  EXPECT_CODE(ERROR_MORE_DATA, RegEnumValueW(key_, 0, name, &length, nullptr, &type, data, &size));
  EXPECT_EQ(2u, size);
  length = 16;
  EXPECT_CODE(0, RegEnumValueW(key_, 0, name, &length, nullptr, &type, data, &size));
  EXPECT_EQ(WideString(W("MixedCase")), WideString(name, length));
  EXPECT_EQ(static_cast<DWORD>(REG_BINARY), type);
  EXPECT_EQ(4, data[0]);

  for (const WCHAR* child : {W("b"), W("C"), W("a")}) RegCloseKey(Create(key_, child));
  WideString children;
  for (DWORD index = 0; length = 16, RegEnumKeyExW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr) == 0;
       ++index) {
    children += name;
  }
  EXPECT_EQ(WideString(W("abC")), children);
  DWORD keys = 0;
  DWORD values = 0;
  EXPECT_CODE(0, RegQueryInfoKeyW(key_, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, &length, &size,
                                  nullptr, nullptr));
  EXPECT_EQ(3u, keys);
  EXPECT_EQ(1u, values);
  EXPECT_EQ(9u, length);
  EXPECT_EQ(2u, size);
}

TEST_F(Views, AreTwoKeysOfWhichTheNarrowOneIsAlsoSeenBesideTheOther) {
  Set(wide_, W("v"), REG_DWORD, {64, 0, 0, 0});
  Set(narrow_, W("v"), REG_DWORD, {32, 0, 0, 0});
  struct Case {
    const WCHAR* path;
    DWORD flags, expected;
  };
  const Case kCases[] = {
      {W("Software\\Quorvex-contract"), 0, 64},
      {W("Software\\Quorvex-contract"), RRF_SUBKEY_WOW6464KEY, 64},
      {W("software\\quorvex-CONTRACT"), RRF_SUBKEY_WOW6432KEY, 32},
      {W("Software\\Wow6432Node\\Quorvex-contract"), 0, 32},
      {W("Software\\Wow6432Node\\Quorvex-contract"), RRF_SUBKEY_WOW6432KEY, 32},
  };
  for (const Case& c : kCases) {
    DWORD value = 0;
    DWORD size = sizeof value;
    const DWORD flags = RRF_RT_REG_DWORD | c.flags;
    EXPECT_CODE(0, RegGetValueW(HKEY_LOCAL_MACHINE, c.path, W("v"), flags, nullptr, &value, &size));
    EXPECT_EQ(c.expected, value);
  }
  DWORD value = 0;
  DWORD size = sizeof value;
  const DWORD both = RRF_RT_REG_DWORD | RRF_SUBKEY_WOW6464KEY | RRF_SUBKEY_WOW6432KEY;
  EXPECT_CODE(ERROR_INVALID_PARAMETER,
              RegGetValueW(HKEY_LOCAL_MACHINE, kPlace.c_str(), W("v"), both, nullptr, &value, &size));
}

TEST_F(Registry, UserKeysHaveOneViewOnly) {
  HKEY narrow = nullptr;
  EXPECT_CODE(0, RegOpenKeyExW(HKEY_CURRENT_USER, kPlace.c_str(), 0, KEY_READ | KEY_WOW64_32KEY, &narrow));
  Set(key_, W("v"), REG_NONE, {});
  EXPECT_CODE(0, RegQueryValueExW(narrow, W("v"), nullptr, nullptr, nullptr, nullptr));
  RegCloseKey(narrow);
}

TEST_F(Registry, NoLastingKeyUnderAVolatileOne) {
  HKEY parent = Create(key_, W("volatile"), KEY_ALL_ACCESS, REG_OPTION_VOLATILE);
  HKEY child = nullptr;
  EXPECT_CODE(ERROR_CHILD_MUST_BE_VOLATILE,
              RegCreateKeyExW(parent, W("lasting\\deeper"), 0, nullptr, 0, KEY_READ, nullptr, &child, nullptr));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(parent, W("lasting"), 0, KEY_READ, &child));
  RegCloseKey(Create(parent, W("a\\b"), KEY_READ, REG_OPTION_VOLATILE));
  DWORD disposition = 0;
  EXPECT_CODE(0, RegCreateKeyExW(parent, W("a\\B"), 0, nullptr, 0, KEY_READ, nullptr, &child, &disposition));
  EXPECT_EQ(static_cast<DWORD>(REG_OPENED_EXISTING_KEY), disposition);
  RegCloseKey(child);
  RegCloseKey(parent);
}

TEST_F(Registry, KeysWithSubkeysStayAndHandlesToDeletedOnesSaySo) {
  HKEY outer = Create(key_, W("outer"));
  HKEY inner = Create(outer, W("inner"));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegDeleteKeyExW(key_, W("outer"), 0, 0));
  EXPECT_CODE(0, RegDeleteKeyExW(outer, W("inner"), 0, 0));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegDeleteKeyExW(outer, W("inner"), 0, 0));

  DWORD size = 0;
  HKEY again = nullptr;
  EXPECT_CODE(ERROR_KEY_DELETED, RegQueryValueExW(inner, W("v"), nullptr, nullptr, nullptr, &size));
  EXPECT_CODE(ERROR_KEY_DELETED, RegSetValueExW(inner, W("v"), 0, REG_NONE, nullptr, 0));
  EXPECT_CODE(ERROR_KEY_DELETED, RegOpenKeyExW(inner, W("x"), 0, KEY_READ, &again));
  EXPECT_CODE(ERROR_KEY_DELETED, RegCreateKeyExW(inner, W("x"), 0, nullptr, 0, KEY_READ, nullptr, &again, nullptr));
  EXPECT_CODE(0, RegCloseKey(inner));
  EXPECT_CODE(ERROR_INVALID_HANDLE, RegCloseKey(inner));
  RegCloseKey(outer);
}

TEST_F(Registry, TreesGoWholeAndWithoutANameTheRootStays) {
  Set(key_, W("v"), REG_NONE, {});
  RegCloseKey(Create(key_, W("a\\b\\c")));
  RegCloseKey(Create(key_, W("a\\d"), KEY_READ, REG_OPTION_VOLATILE));
  RegCloseKey(Create(key_, W("e")));
  EXPECT_CODE(0, RegDeleteTreeW(key_, W("a")));
  HKEY found = nullptr;
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key_, W("a"), 0, KEY_READ, &found));
  EXPECT_CODE(0, RegDeleteTreeW(key_, nullptr));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key_, W("e"), 0, KEY_READ, &found));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegDeleteValueW(key_, W("v")));
}

TEST_F(Registry, HandlesDoWhatTheyWereOpenedFor) {
  HKEY reader = nullptr;
  HKEY writer = nullptr;
  ASSERT_CODE(0, RegOpenKeyExW(HKEY_CURRENT_USER, kPlace.c_str(), 0, KEY_READ, &reader));
  ASSERT_CODE(0, RegOpenKeyExW(HKEY_CURRENT_USER, kPlace.c_str(), 0, KEY_SET_VALUE, &writer));
  WCHAR name[4];
  DWORD length = 4;
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegSetValueExW(reader, W("v"), 0, REG_NONE, nullptr, 0));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegDeleteValueW(reader, W("v")));
  EXPECT_CODE(0, RegSetValueExW(writer, W("v"), 0, REG_NONE, nullptr, 0));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegQueryValueExW(writer, W("v"), nullptr, nullptr, nullptr, nullptr));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegEnumValueW(writer, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegEnumKeyExW(writer, 0, name, &length, nullptr, nullptr, nullptr, nullptr));
  RegCloseKey(reader);
  RegCloseKey(writer);
}

TEST_F(Registry, ValuesAreWrittenThroughPathsThatAreMadeOnTheWay) {
  const DWORD word = 7;
  HKEY reader = nullptr;
  ASSERT_CODE(0, RegOpenKeyExW(HKEY_CURRENT_USER, kPlace.c_str(), 0, KEY_READ, &reader));
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegSetKeyValueW(reader, nullptr, W("v"), REG_DWORD, &word, sizeof(word)));
  // A subkey is opened anew, whatever the handle may do.
  EXPECT_CODE(0, RegSetKeyValueW(reader, W("a\\b"), W("v"), REG_DWORD, &word, sizeof(word)));
  EXPECT_CODE(0, RegSetKeyValueW(reader, W("a\\b"), W("V"), REG_NONE, nullptr, 0));
  EXPECT_CODE(0, RegSetKeyValueW(key_, nullptr, W(""), REG_DWORD, &word, sizeof(word)));
  DWORD type = 0;
  DWORD size = 0;
  EXPECT_CODE(0, RegGetValueW(key_, W("a\\b"), W("v"), RRF_RT_ANY, &type, nullptr, &size));
  EXPECT_EQ(REG_NONE, type);
  EXPECT_CODE(0, RegGetValueW(key_, nullptr, nullptr, RRF_RT_REG_DWORD, nullptr, nullptr, &size));
  RegCloseKey(reader);
  EXPECT_CODE(ERROR_ACCESS_DENIED, RegDeleteKeyW(key_, W("a")));
  EXPECT_CODE(0, RegDeleteKeyW(key_, W("a\\b")));
  EXPECT_CODE(0, RegDeleteKeyW(key_, W("a")));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegDeleteKeyW(key_, W("a")));
}

TEST_F(Registry, OpeningNothingOpensTheKeyAgain) {
  HKEY same = nullptr;
  EXPECT_CODE(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &same));
  EXPECT_EQ(HKEY_LOCAL_MACHINE, same);
  EXPECT_CODE(0, RegCloseKey(same));
  EXPECT_CODE(0, RegOpenKeyExW(key_, W(""), 0, KEY_READ, &same));
  EXPECT_NE(key_, same);
  EXPECT_CODE(0, RegCloseKey(same));
}

TEST_F(Registry, CallsLeaveTheLastErrorAlone) {
  SetLastError(4711);
  HKEY found = nullptr;
  DWORD size = 0;
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(key_, W("none"), 0, KEY_READ, &found));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegQueryValueExW(key_, W("none"), nullptr, nullptr, nullptr, &size));
  EXPECT_CODE(ERROR_FILE_NOT_FOUND, RegGetValueW(key_, nullptr, W("none"), RRF_RT_ANY, nullptr, nullptr, &size));
  EXPECT_EQ(4711u, GetLastError());
}

}  // namespace
