#include "tools/program_path.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace tool {
namespace {

TEST(ProgramPathTest, FindsWhatCanBeExecuted) {
  namespace fs = std::filesystem;
  const fs::path folder = testing::TempDir() + "program_path_test";
  fs::remove_all(folder);
  fs::create_directories(folder / "first" / "tool");
  fs::create_directories(folder / "second");
  for (const char* file : {"first/data", "second/tool", "second/data"}) std::ofstream(folder / file) << "x";
  for (const char* file : {"second/tool", "second/data"}) chmod((folder / file).c_str(), 0700);
  fs::current_path(folder);
  const std::string path = (folder / "first").string() + "::" + (folder / "second").string();
  EXPECT_EQ(FindProgram("tool", path), folder / "second" / "tool") << "a folder is no program";
  EXPECT_EQ(FindProgram("data", path), folder / "second" / "data");
  EXPECT_EQ(FindProgram("missing", path), "");
  EXPECT_EQ(FindProgram("", path), "");
  EXPECT_EQ(FindProgram("second/tool", ""), folder / "second/tool");
  EXPECT_EQ(FindProgram((folder / "first/data").string(), path), "");
  fs::current_path("/");
  fs::remove_all(folder);
}

}  // namespace
}  // namespace tool
