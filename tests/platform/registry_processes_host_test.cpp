// The registry between processes: several at once, and one that is killed while it writes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/host/registry/registry_control.h"
#include "platform/registry.h"

namespace {

constexpr const char16_t* kPlace = u"Software\\Processes";

// Runs `body` in a new process, which ends with its result. The parent must have no connection open.
pid_t Start(const std::function<int()>& body) {
  host::CloseRegistry();
  std::fflush(nullptr);  // or the child would write it once more
  const pid_t child = fork();
  if (child == 0) _exit(body());
  return child;
}

int ExitCode(pid_t child) {
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0));
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

HKEY OpenPlace() {
  HKEY key = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, kPlace, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return status == 0 ? key : nullptr;
}

std::string CheckIntegrity(const std::string& file) {
  sqlite3* database = nullptr;
  std::string answer = "cannot be opened";
  if (sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
    sqlite3_exec(
        database, "PRAGMA integrity_check",
        [](void* text, int, char** columns, char**) {
          *static_cast<std::string*>(text) = columns[0];
          return 0;
        },
        &answer, nullptr);
  }
  sqlite3_close(database);
  return answer;
}

std::u16string NameOf(int writer, int round) {
  std::u16string name(1, static_cast<char16_t>(u'A' + writer));
  for (const char digit : std::to_string(round)) name += static_cast<char16_t>(digit);
  return name;
}

// Every write is one of a value of its own and one of a key that all make: how many of those this process made.
int WriteMany(int writer, int rounds) {
  HKEY key = OpenPlace();
  if (!key) return 255;
  int made = 0;
  for (int round = 0; round < rounds; ++round) {
    if (RegSetValueExW(key, NameOf(writer, round).c_str(), 0, REG_NONE, nullptr, 0) != 0) return 254;
    HKEY shared = nullptr;
    DWORD disposition = 0;
    const DWORD options = round % 2 == 0 ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE;
    const std::u16string path = NameOf(25, round) + u"\\child";
    if (RegCreateKeyExW(key, path.c_str(), 0, nullptr, options, KEY_READ, nullptr, &shared, &disposition) != 0) {
      return 253;
    }
    made += disposition == REG_CREATED_NEW_KEY ? 1 : 0;
    RegCloseKey(shared);
  }
  return made;
}

TEST(RegistryProcesses, AllWritesArriveAndEveryKeyIsMadeOnce) {
  constexpr int kWriters = 6;
  constexpr int kRounds = 60;
  std::vector<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    children.push_back(Start([writer] { return WriteMany(writer, kRounds); }));
  }
  int made = 0;
  for (const pid_t child : children) {
    const int code = ExitCode(child);
    EXPECT_LE(code, kRounds);
    made += code;
  }
  EXPECT_EQ(kRounds, made);
  HKEY key = OpenPlace();
  DWORD values = 0;
  DWORD keys = 0;
  EXPECT_EQ(0, RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                                nullptr, nullptr));
  EXPECT_EQ(static_cast<DWORD>(kWriters * kRounds), values);
  EXPECT_EQ(static_cast<DWORD>(kRounds), keys);
  EXPECT_EQ(0, RegDeleteTreeW(key, nullptr));
  RegCloseKey(key);
}

TEST(RegistryProcesses, AVolatileAndALastingKeyOfOneNameAreNeverBothMade) {
  RegCloseKey(OpenPlace());  // lasting, whoever comes first
  for (int round = 0; round < 8; ++round) {
    const auto create = [round](DWORD options) {
      HKEY key = nullptr;
      const std::u16string path = std::u16string(kPlace) + u"\\Race" + NameOf(0, round);
      DWORD made = 0;
      const LSTATUS status =
          RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, options, KEY_READ, nullptr, &key, &made);
      return status == 0 ? static_cast<int>(made) : 255;
    };
    const pid_t first = Start([&] { return create(REG_OPTION_VOLATILE); });
    const pid_t second = Start([&] { return create(REG_OPTION_NON_VOLATILE); });
    const int sum = ExitCode(first) + ExitCode(second);
    EXPECT_EQ(static_cast<int>(REG_CREATED_NEW_KEY + REG_OPENED_EXISTING_KEY), sum);
  }
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kPlace);
}

// Two processes that take turns.
class Turns {
 public:
  Turns() { EXPECT_EQ(0, pipe(ends_)); }
  ~Turns() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Turns(const Turns&) = delete;
  Turns& operator=(const Turns&) = delete;

  bool Await() {
    char byte = 0;
    return read(ends_[0], &byte, 1) == 1;
  }
  bool Give() { return write(ends_[1], "", 1) == 1; }

 private:
  int ends_[2] = {};
};

LSTATUS TryPath(const std::u16string& path) {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key);
  if (status == 0) RegCloseKey(key);
  return status;
}

// Makes the key and deletes it, both when its turn has come.
int MakeAndDelete(const std::u16string& path, int rounds, Turns& own, Turns& others) {
  for (int round = 0; round < rounds; ++round) {
    HKEY key = nullptr;
    const DWORD options = round % 2 == 0 ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE;
    if (!own.Await() ||
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, options, KEY_READ, nullptr, &key, nullptr) != 0 ||
        RegCloseKey(key) != 0 || !others.Give()) {
      return 1;
    }
    if (!own.Await() || RegDeleteKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, 0) != 0 || !others.Give()) return 2;
  }
  return 0;
}

// Where a path led is remembered, but never beyond a change that somebody has made since.
TEST(RegistryProcesses, AnOpenSeesEveryEarlierChange) {
  constexpr int kRounds = 50;
  RegCloseKey(OpenPlace());
  const std::u16string path = std::u16string(kPlace) + u"\\Turns";
  Turns childs, ours;
  const pid_t child = Start([&] { return MakeAndDelete(path, kRounds, childs, ours); });
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_EQ(2, TryPath(path));
    EXPECT_EQ(2, TryPath(path));
    ASSERT_TRUE(childs.Give() && ours.Await());
    EXPECT_EQ(0, TryPath(path));
    EXPECT_EQ(0, TryPath(path));
    ASSERT_TRUE(childs.Give() && ours.Await());
  }
  EXPECT_EQ(2, TryPath(path));
  EXPECT_EQ(0, ExitCode(child));
  EXPECT_EQ(0, RegDeleteTreeW(HKEY_LOCAL_MACHINE, kPlace));
}

// Writes for ever: a large value of equal bytes, and a tree that comes and goes as a whole.
int WriteForEver() {
  HKEY key = OpenPlace();
  std::vector<BYTE> data(40'000);
  for (BYTE fill = 0;; ++fill) {
    std::fill(data.begin(), data.end(), fill);
    if (RegSetValueExW(key, u"large", 0, REG_BINARY, data.data(), static_cast<DWORD>(data.size())) != 0) return 1;
    HKEY leaf = nullptr;
    if (RegCreateKeyExW(key, u"a\\b\\c", 0, nullptr, 0, KEY_READ, nullptr, &leaf, nullptr) != 0) return 2;
    RegCloseKey(leaf);
    if (RegDeleteTreeW(key, u"a") != 0) return 3;
  }
}

void ExpectWhole(HKEY key) {
  std::vector<BYTE> data(40'000);
  auto size = static_cast<DWORD>(data.size());
  const LSTATUS status = RegQueryValueExW(key, u"large", nullptr, nullptr, data.data(), &size);
  if (status == 0) {
    EXPECT_EQ(data.size(), size);
    EXPECT_EQ(std::count(data.begin(), data.end(), data[0]), std::ssize(data));
  } else {
    EXPECT_EQ(2, status);
  }
  HKEY found = nullptr;
  const LSTATUS root = RegOpenKeyExW(key, u"a", 0, KEY_READ, &found);
  if (root == 0) {
    RegCloseKey(found);
    EXPECT_EQ(0, RegOpenKeyExW(key, u"a\\b\\c", 0, KEY_READ, &found));
    RegCloseKey(found);
  }
}

TEST(RegistryProcesses, AKilledWriterLeavesTheRegistryWhole) {
  int running = 0;
  for (int round = 0; round < 20; ++round) {
    const pid_t writer = Start(WriteForEver);
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + 3 * round));
    kill(writer, SIGKILL);
    running += ExitCode(writer) == -1 ? 1 : 0;
    HKEY key = OpenPlace();
    ASSERT_NE(nullptr, key);
    ExpectWhole(key);
    RegCloseKey(key);
  }
  EXPECT_EQ(20, running);  // none ended by itself, with a refused write
  EXPECT_EQ(0, RegDeleteTreeW(HKEY_LOCAL_MACHINE, kPlace));
  host::CloseRegistry();
  EXPECT_EQ("ok", CheckIntegrity(host::CurrentMachineDirectory().state + "/registry.db"));
}

}  // namespace
