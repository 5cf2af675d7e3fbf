// The registry through the tool.
#include <gmock/gmock.h>

#include <fstream>

#include "tests/system/tool_fixture.h"

namespace tool {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class RegistryTest : public ToolTest {};

TEST_F(RegistryTest, SetsShowsAndDeletes) {
  Done({"reg", "set", "HKLM\\Software\\Example", "Number", "0x10", "--type", "dword"});
  Done({"reg", "set", "HKLM\\Software\\Example", "Text", "two words"});
  Done({"reg", "set", "HKLM\\Software\\Example\\Below", "", "deep"});
  EXPECT_THAT(Done({"reg", "list", "HKLM\\software\\EXAMPLE"}),
              AllOf(HasSubstr("dword 0x00000010"), HasSubstr("sz two words"), HasSubstr("[Below]")));
  EXPECT_EQ(Run({"reg", "list", "HKLM\\Software\\Example", "--view", "32"}).exitCode, 1);
  EXPECT_THAT(Run({"reg", "delete", "HKLM\\Software\\Example"}).output, HasSubstr("5 (ERROR_ACCESS_DENIED"));
  Done({"reg", "delete", "HKLM\\Software\\Example", "Number"});
  EXPECT_THAT(Done({"reg", "list", "HKLM\\Software\\Example"}), Not(HasSubstr("Number")));
  Done({"reg", "delete", "HKLM\\Software\\Example", "--tree"});
  EXPECT_THAT(Run({"reg", "list", "HKLM\\Software\\Example"}).output, HasSubstr("2 (ERROR_FILE_NOT_FOUND"));
  EXPECT_EQ(Run({"reg", "delete", "HKLM", "--tree"}).exitCode, 1);
}

TEST_F(RegistryTest, ImportsWhatItExported) {
  const std::string file = Machine() + "/export";
  Done({"reg", "set", "HKLM\\Software\\Example", "Odd", "hex:010203", "--type", "dword"});
  Done({"reg", "set", "HKLM\\Software\\Example\\Below", "Many", "a", "b c", "--type", "multi"});
  Done({"reg", "export", "HKLM\\Software\\Example", file});
  const std::string exported = Done({"reg", "export", "HKLM\\Software\\Example"});
  Done({"reg", "delete", "HKLM\\Software\\Example", "--tree"});
  Done({"reg", "import", file});
  EXPECT_EQ(Done({"reg", "export", "HKLM\\Software\\Example"}), exported);
}

TEST_F(RegistryTest, ImportsAllOrNothingOfAFileItDoesNotUnderstand) {
  const std::string file = Machine() + "/broken";
  std::ofstream(file) << R"({"key":"HKLM\\Software\\Example"})"
                      << "\nnonsense\n";
  const ToolResult result = Run({"reg", "import", file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("line 2"));
  EXPECT_EQ(Run({"reg", "list", "HKLM\\Software\\Example"}).exitCode, 1);
}

}  // namespace
}  // namespace tool
