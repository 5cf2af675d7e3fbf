#include "service/command_line.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace Quorvex::PC::Hkd04a7::Service;

namespace {

// The argument vector of a command line, as the runtime library splits it.
class Arguments {
 public:
  explicit Arguments(const std::string& line) {
    std::istringstream words("program " + line);
    for (std::string word; words >> word;) texts_.emplace_back(word.begin(), word.end());
    for (WideString& text : texts_) pointers_.push_back(text.data());
  }
  CommandLineOptions Parse() { return ParseCommandLine(static_cast<int>(pointers_.size()), pointers_.data()); }

 private:
  std::vector<WideString> texts_;
  std::vector<WCHAR*> pointers_;
};

// "service", "nothing" (app-service mode with something missing) or the event's three numbers.
std::string RoleOf(const std::string& line) {
  Arguments arguments(line);
  const CommandLineOptions options = arguments.Parse();
  if (!SelectsAppServiceMode(options)) return "service";
  const auto event = EventOfCommandLine(options);
  if (!event) return "nothing";
  return std::to_string(event->eventId) + "," + std::to_string(event->data1) + "," + std::to_string(event->data2);
}

TEST(CommandLine, SelectsTheRoleAndTheEvent) {
  const struct {
    const char* line;
    const char* role;
  } cases[] = {
      {"", "service"},
      {"unknown -x", "service"},
      {"-service", "service"},
      {"-service -appservice -event 1 -data1 2 -data2 3", "service"},
      {"-appservice -service", "service"},
      {"-appservice -event 5 -data1 0x10 -data2 010", "5,16,8"},
      {"-data2 3 -data1 2 stray -event 1 -appservice", "1,2,3"},
      {"-appservice -event 1 -event 2 -data1 3 -data2 4", "1,3,4"},
      {"-appservice -event -data1 7 -data2 9", "0,7,9"},
      {"-APPSERVICE -event 1 -data1 2 -data2 3", "service"},
      {"-appservice -event 1 -data1 2 -data2", "nothing"},
      {"-appservice", "nothing"},
      // The value of "-data2" comes after it in the table's order, so nothing behind it is compared with it.
      {"-appservice -event 1 -data1 2 -data2 -service", "1,2,0"},
      {"-appservice -event -service -data1 1 -data2 2", "0,1,2"},
      // Once all five are seen the walk ends.
      {"-event 1 -data1 2 -data2 3 -appservice -service", "service"},
  };
  for (const auto& entry : cases) EXPECT_EQ(RoleOf(entry.line), entry.role) << entry.line;
}

TEST(CommandLine, ReadsNumbersWithAutomaticBase) {
  const struct {
    const WCHAR* text;
    std::uint32_t number;
  } cases[] = {
      {W("0"), 0},
      {W("42"), 42},
      {W("0x1F"), 31},
      {W("0XfF"), 255},
      {W("017"), 15},
      {W("089"), 0},
      {W("12abc"), 12},
      {W("abc"), 0},
      {W(""), 0},
      {W("-1"), 0xFFFFFFFF},
      {W("-0x10"), 0xFFFFFFF0},
      {W("4294967295"), 0xFFFFFFFF},
      {W("4294967296"), 0xFFFFFFFF},
      {W("99999999999999999999"), 0xFFFFFFFF},
      {W("0x"), 0},
      {W("0xg"), 0},
  };
  for (const auto& entry : cases) EXPECT_EQ(ParseUnsigned(entry.text), entry.number);
}

}  // namespace
