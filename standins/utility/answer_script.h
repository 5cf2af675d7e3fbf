// The script from which the Windows stand-in answers. One statement a line, numbers decimal or with 0x:
//
//   # what the device answers to the call with this function and these three arguments, one answer a call
//   0x1002 1 0 0 = 0x40000401, 0x40000300, 0
//   # an answer with a star stays; "fail" is a call that fails
//   0x1000 0 0 0 = fail, 0x1F*
//   # a notification this many milliseconds after the wait for notifications began
//   notify 500
//
// A call that the script does not name, or whose answers are used up, fails.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using ScriptedCall = std::array<std::uint32_t, 4>;  // function, arg1, arg2, arg3

struct ScriptedAnswer {
  bool success;
  std::uint32_t word;
  bool lasting;
  bool operator==(const ScriptedAnswer&) const = default;
};

class AnswerScript {
 public:
  // Nothing, with "line N: what is wrong" in `error`, for a text that is not such a script.
  static std::optional<AnswerScript> Parse(std::string_view text, std::string* error);

  // The next answer to `call`. Not synchronised.
  ScriptedAnswer Answer(const ScriptedCall& call);

  // When to notify, in milliseconds after the wait began, ascending.
  const std::vector<std::uint32_t>& Notifications() const { return notifications_; }

 private:
  bool ParseLine(std::string_view line, std::string* error);
  bool ParseAnswers(const ScriptedCall& call, std::string_view text, std::string* error);

  std::map<ScriptedCall, std::deque<ScriptedAnswer>> answers_;
  std::vector<std::uint32_t> notifications_;
};
