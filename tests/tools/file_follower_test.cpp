#include "tools/file_follower.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace tool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FileFollowerTest : public testing::Test {
 protected:
  FileFollowerTest() { std::filesystem::create_directories(folder_); }
  ~FileFollowerTest() override { std::filesystem::remove_all(folder_); }

  void Append(const std::string& text) { std::ofstream(path_, std::ios::app) << text; }
  void Replace(const std::string& text) { std::ofstream(path_, std::ios::trunc) << text; }

  const std::string folder_ = testing::TempDir() + "follower-" + std::to_string(getpid());
  const std::string path_ = folder_ + "/lines";
};

TEST_F(FileFollowerTest, ReadsWholeLinesAsTheyAreWritten) {
  FileFollower file(path_);
  EXPECT_FALSE(file.Exists());
  EXPECT_THAT(file.ReadNew(), IsEmpty());
  Append("one\ntwo\nthr");
  EXPECT_THAT(file.ReadNew(), ElementsAre("one", "two"));
  EXPECT_THAT(file.ReadNew(), IsEmpty());
  Append("ee\n\n");
  EXPECT_THAT(file.ReadNew(), ElementsAre("three", ""));
}

TEST_F(FileFollowerTest, StartsOverWhenTheFileIsReplacedOrCut) {
  FileFollower file(path_);
  Append("a long first line\nhalf");
  EXPECT_THAT(file.ReadNew(), ElementsAre("a long first line"));
  Replace("short\n");
  EXPECT_THAT(file.ReadNew(), ElementsAre("short")) << "cut; the half line is gone with it";
  std::filesystem::remove(path_);
  EXPECT_THAT(file.ReadNew(), IsEmpty());
  Append("short\nnew\n");
  EXPECT_THAT(file.ReadNew(), ElementsAre("short", "new")) << "another file of the same name";
}

}  // namespace
}  // namespace tool
