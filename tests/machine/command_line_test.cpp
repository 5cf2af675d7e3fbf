#include "machine/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace machine_test {
namespace {

using Arguments = std::vector<std::string>;

TEST(CommandLineTest, IsSplitByThePlatformsRules) {
  struct {
    const char* line;
    Arguments arguments;
  } const kCases[] = {
      {"", {}},
      {"program", {"program"}},
      {" program a", {"", "program", "a"}},
      {R"("C:\my programs\p.exe" a)", {R"(C:\my programs\p.exe)", "a"}},
      {R"("/opt/p" )", {"/opt/p"}},
      {R"("/opt/p"  -a)", {"/opt/p", "-a"}},
      {R"("/opt/p)", {"/opt/p"}},
      // Backslashes and later quotation marks mean nothing in the program's name.
      {R"("/opt\" "a b")", {R"(/opt\)", "a b"}},
      {R"(p"q r" s)", {R"(p"q)", R"(r s)"}},
      {"p a\tb \t c", {"p", "a", "b", "c"}},
      {R"(p "a b" c)", {"p", "a b", "c"}},
      {R"(p "" c)", {"p", "", "c"}},
      {R"(p a"b c"d)", {"p", "ab cd"}},
      {R"(p "a b)", {"p", "a b"}},
      {R"(p a\b\\c)", {"p", R"(a\b\\c)"}},
      {R"(p \"a)", {"p", R"("a)"}},
      {R"(p "a\"b")", {"p", R"(a"b)"}},
      {R"(p "a\\" b)", {"p", R"(a\)", "b"}},
      {R"(p "a\\\" b")", {"p", R"(a\" b)"}},
      {R"(p a\\\\"b c" d)", {"p", R"(a\\b c)", "d"}},
      {R"(p a\ b)", {"p", R"(a\)", "b"}},
      {"p \xC3\xA4 b", {"p", "\xC3\xA4", "b"}},
  };
  for (const auto& [line, arguments] : kCases) {
    EXPECT_EQ(machine::SplitCommandLine(line), arguments) << line;
  }
}

}  // namespace
}  // namespace machine_test
