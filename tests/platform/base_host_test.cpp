// Text, fault injection, machine folders.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/errors.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/host/base/text.h"

namespace {

TEST(Text, ConvertsBothWays) {
  struct {
    std::u16string wide;
    std::string narrow;
  } const kCases[] = {{u"", ""},
                      {u"plain", "plain"},
                      {u"\u00E4\u07FF\u0800\uFFFF", "\xC3\xA4\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
                      {u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
                      {std::u16string(u"a\0b", 3), std::string("a\0b", 3)}};
  for (const auto& c : kCases) {
    EXPECT_EQ(host::ToUtf8(c.wide), c.narrow);
    EXPECT_EQ(host::ToUtf16(c.narrow), c.wide);
  }
}

TEST(Text, EveryIllFormedUnitIsReplaced) {
  const std::string replacement = "\xEF\xBF\xBD";
  const char16_t high = 0xD834, low = 0xDD1E;
  EXPECT_EQ(host::ToUtf8(std::u16string{high}), replacement);
  EXPECT_EQ(host::ToUtf8(std::u16string{low, high, u'x'}), replacement + replacement + "x");
  struct {
    std::string narrow;
    std::size_t replaced;
  } const kCases[] = {{"\x80", 1},
                      {"\xC0\xAF", 2},
                      {"\xE0\x9F\x80", 3},
                      {"\xED\xA0\x80", 3},
                      {"\xF4\x90\x80\x80", 4},
                      {"\xF5\x80\x80\x80", 4},
                      {"\xE2\x82", 2},
                      {"\xC3", 1}};
  for (const auto& c : kCases) {
    EXPECT_EQ(host::ToUtf16(c.narrow + "x"), std::u16string(c.replaced, 0xFFFD) + u"x")
        << testing::PrintToString(c.narrow);
  }
}

TEST(Text, ComparesWithoutCase) {
  struct {
    std::u16string left, right;
    int sign;
  } const kCases[] = {{u"Software", u"SOFTWARE", 0},
                      {u"\u00E4\u00F6\u00FF", u"\u00C4\u00D6\u0178", 0},
                      {u"\u00F7", u"\u00D7", 1},  // division and multiplication signs are no letters
                      {u"\u017E\u0101", u"\u017D\u0100", 0},
                      {u"\u03B1\u03C9\u03AC", u"\u0391\u03A9\u0386", 0},
                      {u"\u0430\u044F\u0451\u04C2", u"\u0410\u042F\u0401\u04C1", 0},
                      {u"abc", u"ABCD", -1},
                      {u"b", u"ABCD", 1},
                      {u"_", u"a", 1}};  // '_' lies between the capital and the small letters
  for (const auto& c : kCases) {
    const auto sign = [](int n) { return (n > 0) - (n < 0); };
    EXPECT_EQ(sign(host::CompareNoCase(c.left, c.right)), c.sign) << host::ToUtf8(c.left);
    EXPECT_EQ(sign(host::CompareNoCase(c.right, c.left)), -c.sign) << host::ToUtf8(c.left);
  }
  for (char32_t unit = 0; unit <= 0xFFFF; ++unit) {
    const char16_t upper = host::ToUpper(static_cast<char16_t>(unit));
    ASSERT_EQ(host::ToUpper(upper), upper) << std::hex << static_cast<unsigned>(unit);
  }
}

TEST(Faults, HappenAtTheCallTheyWereArrangedFor) {
  using Code = std::optional<DWORD>;
  EXPECT_EQ(host::InjectedFailure("Call"), Code());
  host::FailCall("Call", 2, 31);
  host::FailCall("Call", 3, 32);
  EXPECT_EQ(host::InjectedFailure("Other"), Code());
  EXPECT_EQ(host::InjectedFailure("Call"), Code());
  EXPECT_EQ(host::InjectedFailure("Call"), Code(31));
  EXPECT_EQ(host::InjectedFailure("Call"), Code(32));
  EXPECT_EQ(host::InjectedFailure("Call"), Code());
  host::FailEveryCall("Call", 5);
  EXPECT_EQ(host::InjectedFailure("Call"), Code(5));
  EXPECT_EQ(host::InjectedFailure("Call"), Code(5));
  int reached = 0;
  host::AtCall("Call", [&] { ++reached; });
  host::AtCall("Pause", [&] { host::ClearFaults(); });  // an action may change the arrangements
  EXPECT_EQ(host::InjectedFailure("Call"), Code(5));
  EXPECT_EQ(host::InjectedFailure("Pause"), Code());
  EXPECT_EQ(host::InjectedFailure("Call"), Code());
  EXPECT_EQ(reached, 1);
}

TEST(Errors, HresultFromWin32) {
  EXPECT_EQ(HRESULT_FROM_WIN32(0), S_OK);
  EXPECT_EQ(HRESULT_FROM_WIN32(5), E_ACCESSDENIED);
  EXPECT_EQ(HRESULT_FROM_WIN32(0x12345), static_cast<HRESULT>(0x80072345));
  EXPECT_EQ(HRESULT_FROM_WIN32(0x80004005), E_FAIL);
  std::thread([] { EXPECT_EQ(GetLastError(), 0u); }).join();
}

class MachineFolders : public testing::Test {
 protected:
  MachineFolders() {
    for (const char* name : {"HKD04A7_MACHINE", "XDG_RUNTIME_DIR", "XDG_STATE_HOME", "HOME"}) unsetenv(name);
    std::string pattern = (std::filesystem::temp_directory_path() / "hkd04a7-test-XXXXXX").string();
    root_ = mkdtemp(pattern.data());
    setenv("TMPDIR", root_.c_str(), 1);
  }
  ~MachineFolders() override {
    std::filesystem::remove_all(root_);
    unsetenv("TMPDIR");
  }

  static void Expect(const std::string& runtime, const std::string& state) {
    EXPECT_EQ(host::CurrentMachineDirectory().runtime, runtime);
    EXPECT_EQ(host::CurrentMachineDirectory().state, state);
  }

  static bool Ensure(std::string* error) {
    return host::EnsureMachineDirectory(host::CurrentMachineDirectory(), error);
  }

  std::string root_;
};

TEST_F(MachineFolders, AreChosenByTheFirstThatIsSet) {
  const std::string fallback = root_ + "/hkd04a7-" + std::to_string(geteuid());
  Expect(fallback + "/run", fallback + "/state");
  setenv("HOME", "/home/someone", 1);
  Expect(fallback + "/run", "/home/someone/.local/state/hkd04a7");
  setenv("XDG_STATE_HOME", "/states", 1);
  setenv("XDG_RUNTIME_DIR", "/run/user/7", 1);
  Expect("/run/user/7/hkd04a7", "/states/hkd04a7");
  setenv("HKD04A7_MACHINE", "/machines/one", 1);
  Expect("/machines/one/run", "/machines/one/state");
}

TEST_F(MachineFolders, AreMadeForTheirOwnerAlone) {
  std::string error;
  ASSERT_TRUE(Ensure(&error)) << error;
  const auto directory = host::CurrentMachineDirectory();
  std::filesystem::permissions(directory.state, std::filesystem::perms(0755));
  ASSERT_TRUE(Ensure(&error)) << error;
  const std::string parent = std::filesystem::path(directory.state).parent_path();
  for (const auto& folder : {parent, directory.runtime, directory.state}) {
    EXPECT_EQ(std::filesystem::status(folder).permissions(), std::filesystem::perms(0700)) << folder;
  }
}

TEST_F(MachineFolders, AreRefusedWithTheReason) {
  std::string error;
  const std::string fallback = root_ + "/hkd04a7-" + std::to_string(geteuid());
  std::filesystem::create_directory(root_ + "/elsewhere");
  std::filesystem::create_directory_symlink(root_ + "/elsewhere", fallback);
  EXPECT_FALSE(Ensure(&error));
  EXPECT_NE(error.find(fallback), std::string::npos);
  std::filesystem::remove(fallback);
  std::ofstream(fallback) << "a file";
  EXPECT_FALSE(Ensure(&error));
  std::filesystem::remove(fallback);
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a folder of someone else";
  std::filesystem::create_directory(fallback);
  ASSERT_EQ(chown(fallback.c_str(), 12345, 12345), 0);
  EXPECT_FALSE(Ensure(&error));
  EXPECT_NE(error.find("belongs to someone else"), std::string::npos) << error;
}

// Last: the choice holds for the rest of the process.
TEST_F(MachineFolders, CanBeChosenForTheProcessAndItsChildren) {
  setenv("HKD04A7_MACHINE", "/machines/one", 1);
  host::UseMachineDirectory("/machines/./two");
  Expect("/machines/two/run", "/machines/two/state");
  EXPECT_STREQ(getenv("HKD04A7_MACHINE"), "/machines/two");
}

}  // namespace
