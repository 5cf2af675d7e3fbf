// The host's registry: boots, user hives, damage, many threads.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/identity/process_token.h"
#include "platform/host/registry/registry_control.h"
#include "platform/host/registry/value_rules.h"
#include "platform/registry.h"

namespace {

constexpr char kUser[] = "S-1-5-21-1-2-3-1001";
const std::u16string kUserPath = u"S-1-5-21-1-2-3-1001";

HKEY Create(HKEY root, const std::u16string& path, DWORD options = 0) {
  HKEY key = nullptr;
  EXPECT_EQ(0, RegCreateKeyExW(root, path.c_str(), 0, nullptr, options, KEY_ALL_ACCESS, nullptr, &key, nullptr));
  return key;
}

LSTATUS TryOpen(HKEY root, const std::u16string& path) {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key);
  if (status == 0) RegCloseKey(key);
  return status;
}

TEST(RegistryBoot, TakesVolatileKeysAndLeavesTheRest) {
  HKEY lasting = Create(HKEY_LOCAL_MACHINE, u"Software\\Boot");
  HKEY gone = Create(lasting, u"Wakeup", REG_OPTION_VOLATILE);
  const DWORD number = 1;
  const auto* bytes = reinterpret_cast<const BYTE*>(&number);
  EXPECT_EQ(0, RegSetValueExW(gone, u"v", 0, REG_DWORD, bytes, 4));
  EXPECT_EQ(0, RegSetValueExW(lasting, u"v", 0, REG_DWORD, bytes, 4));

  EXPECT_EQ(0, host::ClearVolatileRegistry(host::CurrentMachineDirectory()));
  EXPECT_EQ(2, TryOpen(lasting, u"Wakeup"));
  EXPECT_EQ(0, RegQueryValueExW(lasting, u"v", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1018, RegQueryValueExW(gone, u"v", nullptr, nullptr, nullptr, nullptr));

  // A key made after the boot is none that an old handle could reach.
  HKEY fresh = Create(lasting, u"Wakeup", REG_OPTION_VOLATILE);
  EXPECT_EQ(2, RegQueryValueExW(fresh, u"v", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(1018, RegSetValueExW(gone, u"v", 0, REG_DWORD, bytes, 4));
  for (HKEY key : {lasting, gone, fresh}) EXPECT_EQ(0, RegCloseKey(key));
}

TEST(RegistryBoot, LosesNothingWhenTheRuntimeFolderIsNew) {
  RegCloseKey(Create(HKEY_LOCAL_MACHINE, u"Software\\Kept"));
  RegCloseKey(Create(HKEY_LOCAL_MACHINE, u"Software\\Kept\\Volatile", REG_OPTION_VOLATILE));
  host::CloseRegistry();
  for (const char* suffix : {"", "-wal", "-shm"}) {
    std::filesystem::remove(host::CurrentMachineDirectory().runtime + "/registry-volatile.db" + suffix);
  }
  EXPECT_EQ(0, TryOpen(HKEY_LOCAL_MACHINE, u"Software\\Kept"));
  EXPECT_EQ(2, TryOpen(HKEY_LOCAL_MACHINE, u"Software\\Kept\\Volatile"));
}

TEST(RegistryHives, AreFoundWhileTheyAreLoaded) {
  HKEY key = nullptr;
  const std::u16string path = kUserPath + u"\\Software\\App";
  EXPECT_EQ(2, RegCreateKeyExW(HKEY_USERS, path.c_str(), 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr));
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, true));
  RegCloseKey(Create(HKEY_USERS, path));
  EXPECT_TRUE(host::IsHiveLoaded(kUser));
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, false));
  EXPECT_EQ(2, TryOpen(HKEY_USERS, path));
  EXPECT_EQ(2, TryOpen(HKEY_USERS, kUserPath));
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, true));
  EXPECT_EQ(0, TryOpen(HKEY_USERS, path));
  EXPECT_EQ(0, host::ClearVolatileRegistry(host::CurrentMachineDirectory()));
  EXPECT_EQ(2, TryOpen(HKEY_USERS, path));
  EXPECT_EQ(0, TryOpen(HKEY_USERS, u"s-1-5-18"));
}

TEST(RegistryHives, CurrentUserIsTheHiveOfTheProcessesUser) {
  RegCloseKey(Create(HKEY_CURRENT_USER, u"Software\\OfSystem"));
  EXPECT_EQ(0, TryOpen(HKEY_USERS, u"S-1-5-18\\Software\\OfSystem"));

  host::SetOwnToken(host::TokenFacts{kUser});
  EXPECT_EQ(2, TryOpen(HKEY_CURRENT_USER, u"Software"));
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, true));
  EXPECT_EQ(2, TryOpen(HKEY_CURRENT_USER, u"Software\\OfSystem"));
  EXPECT_EQ(0, RegSetValueExW(HKEY_CURRENT_USER, u"own", 0, REG_NONE, nullptr, 0));
  HKEY root = nullptr;
  EXPECT_EQ(0, RegOpenKeyExW(HKEY_USERS, kUserPath.c_str(), 0, KEY_READ, &root));
  EXPECT_EQ(0, RegQueryValueExW(root, u"own", nullptr, nullptr, nullptr, nullptr));
  RegCloseKey(root);
  host::SetOwnToken(host::SystemToken());
}

TEST(RegistryHives, OnlyLoadedOnesAreEnumeratedAndNoneIsDeletedAsAKey) {
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, true));
  const auto hives = [] {
    DWORD count = 0;
    EXPECT_EQ(0, RegQueryInfoKeyW(HKEY_USERS, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr));
    return count;
  };
  const DWORD loaded = hives();
  EXPECT_EQ(5, RegDeleteKeyExW(HKEY_USERS, kUserPath.c_str(), 0, 0));
  EXPECT_EQ(5, RegDeleteTreeW(HKEY_USERS, nullptr));
  HKEY reader = nullptr;
  EXPECT_EQ(0, RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"System", 0, KEY_READ, &reader));
  EXPECT_EQ(5, RegDeleteTreeW(reader, nullptr));
  RegCloseKey(reader);
  EXPECT_EQ(5, RegDeleteTreeW(HKEY_LOCAL_MACHINE, u"Software"));
  EXPECT_EQ(0, host::SetHiveLoaded(kUser, false));
  EXPECT_EQ(loaded - 1, hives());
  for (const char* sid : {"", "a\\b"}) EXPECT_EQ(87, host::SetHiveLoaded(sid, true));
}

TEST(RegistryNames, PathsAreSplitAndCheckedBeforeAnythingIsTouched) {
  struct Case {
    std::u16string path;
    LSTATUS expected;
  };
  std::u16string deep = u"x";
  for (int step = 1; step < 512; ++step) deep += u"\\x";
  const Case kCases[] = {{u"\\Software", 161},
                         {deep, 2},
                         {deep + u"\\x", 87},
                         {u"Software\\", 0},
                         {u"Software\\\\Wow6432Node", 0},
                         {std::u16string(255, u'x'), 2},
                         {std::u16string(256, u'x'), 87},
                         {u"Software\\" + std::u16string(256, u'x'), 87}};
  for (const Case& c : kCases) EXPECT_EQ(c.expected, TryOpen(HKEY_LOCAL_MACHINE, c.path));
  const std::u16string longName(16384, u'v');
  EXPECT_EQ(87, RegSetValueExW(HKEY_LOCAL_MACHINE, longName.c_str(), 0, REG_NONE, nullptr, 0));
  EXPECT_EQ(2, RegQueryValueExW(HKEY_LOCAL_MACHINE, longName.c_str(), nullptr, nullptr, nullptr, nullptr));
}

TEST(RegistryNames, AnyUnitsSurviveAndCaseIsFoldedBeyondAscii) {
  HKEY key = Create(HKEY_LOCAL_MACHINE, u"Software\\Names");
  // The second is half a surrogate pair, which no well-formed text has.
  for (const std::u16string& name : {std::u16string(u"\u00E4\u03B1\u0436"), std::u16string(u"\xD83D")}) {
    EXPECT_EQ(0, RegSetValueExW(key, name.c_str(), 0, REG_NONE, nullptr, 0));
  }
  EXPECT_EQ(0, RegQueryValueExW(key, u"\u00C4\u0391\u0416", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(2, RegQueryValueExW(key, u"\xD83E", nullptr, nullptr, nullptr, nullptr));
  char16_t name[8];
  DWORD length = 8;
  EXPECT_EQ(0, RegEnumValueW(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(u"\xD83D", std::u16string(name, length));
  RegCloseKey(key);
}

TEST(RegistryValues, GetTheTerminatorsTheyLack) {
  struct Case {
    DWORD type;
    std::u16string stored, given;
    int cut;  // bytes taken off the stored text's end
  };
  const std::u16string zero(1, u'\0');
  const Case kCases[] = {{REG_SZ, u"", zero, 0},
                         {REG_SZ, u"ab", u"ab" + zero, 0},
                         {REG_SZ, u"ab", u"ab" + zero, 1},
                         {REG_MULTI_SZ, u"", zero + zero, 0},
                         {REG_MULTI_SZ, u"ab" + zero, u"ab" + zero + zero, 0},
                         {REG_MULTI_SZ, u"ab" + zero + zero, u"ab" + zero + zero, 0},
                         {REG_BINARY, u"ab", u"ab", 0}};
  for (const Case& c : kCases) {
    const auto bytes = [](const std::u16string& text) {
      const auto* data = reinterpret_cast<const BYTE*>(text.data());
      return std::vector<BYTE>(data, data + text.size() * 2);
    };
    host::registry::StoredValue value{c.type, bytes(c.stored)};
    value.data.resize(value.data.size() - static_cast<std::size_t>(c.cut));
    host::registry::Terminate(&value);
    EXPECT_EQ(bytes(c.given), value.data) << c.type << " " << c.stored.size();
  }
}

TEST(RegistryDamage, IsReportedAndLeftAsItIs) {
  host::CloseRegistry();
  const std::string file = host::CurrentMachineDirectory().state + "/registry.db";
  const std::string kept = file + ".kept";
  for (const char* suffix : {"-wal", "-shm"}) std::filesystem::remove(file + suffix);
  if (std::filesystem::exists(file)) std::filesystem::rename(file, kept);
  std::ofstream(file) << std::string(8192, '?');
  EXPECT_EQ(static_cast<LSTATUS>(ERROR_REGISTRY_CORRUPT), TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
  EXPECT_EQ(8192u, std::filesystem::file_size(file));
  std::filesystem::remove(file);
  std::filesystem::create_directory(file);
  EXPECT_EQ(static_cast<LSTATUS>(ERROR_CANTOPEN), TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
  std::filesystem::remove(file);
  if (std::filesystem::exists(kept)) std::filesystem::rename(kept, file);
  EXPECT_EQ(0, TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
}

TEST(RegistryFaults, FailWhereTheyAreArranged) {
  host::FailCall("RegOpenKeyExW", 2, 1450);
  EXPECT_EQ(0, TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
  EXPECT_EQ(1450, TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
  EXPECT_EQ(0, TryOpen(HKEY_LOCAL_MACHINE, u"Software"));
  host::ClearFaults();
}

TEST(RegistryThreads, ShareAFewConnectionsAndLoseNothing) {
  constexpr int kThreads = 12;
  constexpr int kValues = 40;
  HKEY key = Create(HKEY_LOCAL_MACHINE, u"Software\\Threads");
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int index = 0; index < kValues; ++index) {
        const std::u16string name{static_cast<char16_t>(u'A' + thread), static_cast<char16_t>(u'0' + index)};
        if (RegSetValueExW(key, name.c_str(), 0, REG_NONE, nullptr, 0) != 0) ++failures;
        if (RegQueryValueExW(key, name.c_str(), nullptr, nullptr, nullptr, nullptr) != 0) ++failures;
        HKEY own = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, u"Software\\Threads", 0, KEY_READ, &own) != 0) ++failures;
        RegCloseKey(own);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, failures);
  DWORD values = 0;
  EXPECT_EQ(0, RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                                nullptr, nullptr));
  EXPECT_EQ(static_cast<DWORD>(kThreads * kValues), values);
  RegCloseKey(key);
}

}  // namespace
