#include "standins/utility/answer_script.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes the text before the first of `separators` off `text`, and that separator with it.
std::string_view TakeUntil(std::string_view& text, std::string_view separators) {
  const std::size_t end = std::min(text.find_first_of(separators), text.size());
  const std::string_view taken = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return Trim(taken);
}

std::string_view TakeWord(std::string_view& text) {
  text = Trim(text);
  return TakeUntil(text, kBlanks);
}

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  if (isHex) text.remove_prefix(2);
  std::uint32_t number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, isHex ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

std::optional<ScriptedAnswer> ParseAnswer(std::string_view text) {
  ScriptedAnswer answer = {true, 0, text.ends_with('*')};
  if (answer.lasting) text = Trim(text.substr(0, text.size() - 1));
  answer.success = text != "fail";
  if (!answer.success) return answer;
  const std::optional<std::uint32_t> word = ParseNumber(text);
  if (!word) return std::nullopt;
  answer.word = *word;
  return answer;
}

bool Refuse(std::string* error, std::string_view what, std::string_view text) {
  *error = std::string(what) + ": \"" + std::string(text) + "\"";
  return false;
}

}  // namespace

std::optional<AnswerScript> AnswerScript::Parse(std::string_view text, std::string* error) {
  AnswerScript script;
  for (int number = 1; !text.empty(); ++number) {
    std::string_view line = TakeUntil(text, "\n");
    line = Trim(line.substr(0, line.find('#')));
    std::string what;
    if (!line.empty() && !script.ParseLine(line, &what)) {
      *error = "line " + std::to_string(number) + ": " + what;
      return std::nullopt;
    }
  }
  std::sort(script.notifications_.begin(), script.notifications_.end());
  return script;
}

bool AnswerScript::ParseLine(std::string_view line, std::string* error) {
  if (line.starts_with("notify")) {
    const std::string_view number = Trim(line.substr(6));
    const std::optional<std::uint32_t> milliseconds = ParseNumber(number);
    if (!milliseconds) return Refuse(error, "not a number of milliseconds", number);
    notifications_.push_back(*milliseconds);
    return true;
  }
  if (line.find('=') == std::string_view::npos) return Refuse(error, "neither a call with answers nor notify", line);
  std::string_view call = TakeUntil(line, "=");
  ScriptedCall key = {};
  for (std::uint32_t& part : key) {
    const std::string_view word = TakeWord(call);
    const std::optional<std::uint32_t> number = ParseNumber(word);
    if (!number) return Refuse(error, "not a function or argument", word);
    part = *number;
  }
  if (!call.empty()) return Refuse(error, "more than three arguments", call);
  return ParseAnswers(key, line, error);
}

bool AnswerScript::ParseAnswers(const ScriptedCall& call, std::string_view text, std::string* error) {
  std::deque<ScriptedAnswer>& answers = answers_[call];
  do {
    const std::string_view one = TakeUntil(text, ",");
    const std::optional<ScriptedAnswer> answer = ParseAnswer(one);
    if (!answer) return Refuse(error, "not an answer", one);
    answers.push_back(*answer);
  } while (!text.empty());
  return true;
}

ScriptedAnswer AnswerScript::Answer(const ScriptedCall& call) {
  const auto found = answers_.find(call);
  if (found == answers_.end() || found->second.empty()) return {false, 0, false};
  const ScriptedAnswer answer = found->second.front();
  if (!answer.lasting) found->second.pop_front();
  return answer;
}
