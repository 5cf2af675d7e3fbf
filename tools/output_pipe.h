// A pipe for what another process of this user writes: it opens the end by its path.
#pragma once

#include <cstdio>
#include <string>

namespace tool {

class OutputPipe {
 public:
  OutputPipe() = default;
  ~OutputPipe();
  OutputPipe(const OutputPipe&) = delete;
  OutputPipe& operator=(const OutputPipe&) = delete;

  // False with errno.
  bool Open();

  // Names the end to write to, for any process of this user, while this process has it open: until CloseWriter.
  std::string WriterPath() const;
  void CloseWriter();

  // To wait for with poll; -1 once everybody who could write has gone.
  int Reader() const { return reader_; }

  // Hands what has been written so far on to `stream`, without waiting for more. False when the stream does not take
  // it.
  bool Relay(std::FILE* stream);

 private:
  void CloseReader();

  int reader_ = -1;
  int writer_ = -1;
};

}  // namespace tool
