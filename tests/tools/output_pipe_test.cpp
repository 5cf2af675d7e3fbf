#include "tools/output_pipe.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tool {
namespace {

// What the pipe hands on, as text.
class Sink {
 public:
  ~Sink() { std::fclose(file_); }
  std::FILE* File() { return file_; }
  std::string Text() {
    std::string text(static_cast<std::size_t>(std::ftell(file_)), 0);
    std::rewind(file_);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file_), text.size());
    return text;
  }

 private:
  std::FILE* file_ = std::tmpfile();
};

int OpenWriter(const OutputPipe& pipe) {
  return open(pipe.WriterPath().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
}

TEST(OutputPipeTest, HandsOnWhatWasWrittenUntilTheWriterGoes) {
  OutputPipe pipe;
  Sink sink;
  ASSERT_TRUE(pipe.Open());
  const int writer = OpenWriter(pipe);
  ASSERT_GE(writer, 0);
  pipe.CloseWriter();
  EXPECT_TRUE(pipe.Relay(sink.File())) << "nothing is there yet";
  ASSERT_EQ(write(writer, "one\0two", 7), 7);
  EXPECT_TRUE(pipe.Relay(sink.File()));
  EXPECT_GE(pipe.Reader(), 0);
  ASSERT_EQ(write(writer, "last", 4), 4);
  close(writer);
  EXPECT_TRUE(pipe.Relay(sink.File()));
  EXPECT_TRUE(pipe.Relay(sink.File()));
  EXPECT_EQ(pipe.Reader(), -1);
  EXPECT_TRUE(pipe.Relay(sink.File()));
  EXPECT_EQ(sink.Text(), std::string("one\0twolast", 11));
}

TEST(OutputPipeTest, SaysWhenItsStreamTakesNothing) {
  OutputPipe pipe;
  ASSERT_TRUE(pipe.Open());
  const int writer = OpenWriter(pipe);
  ASSERT_EQ(write(writer, "lost", 4), 4);
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  EXPECT_FALSE(pipe.Relay(full));
  std::fclose(full);
  close(writer);
}

}  // namespace
}  // namespace tool
