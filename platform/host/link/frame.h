// How messages lie on the control socket: a 4-byte little-endian length, then that many bytes of text.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

// A longer message is refused by both ends, and ends the connection it came on.
inline constexpr std::size_t kMaxFrameSize = std::size_t{16} << 20;

// Likewise one with more lists and objects within one another: parsed values are copied by recursion, so that a
// message of brackets would take the reader's whole stack.
inline constexpr int kMaxFrameNesting = 64;

// The bytes to send for `payload`, which is at most kMaxFrameSize long.
std::string EncodeFrame(std::string_view payload);

// Cuts a stream of bytes into messages. Not thread safe.
class FrameReader {
 public:
  enum class Result { kMessage, kIncomplete, kTooLarge };  // the last: too long, or nested too deeply

  void Append(const char* bytes, std::size_t count) { buffer_.append(bytes, count); }

  // Takes the next whole message into `payload`. After kTooLarge the stream cannot be read any further.
  Result Take(std::string* payload);

 private:
  std::string buffer_;
  std::size_t start_ = 0;  // what lies before it has been taken
};

}  // namespace host
