// The walk over the command line of the service's program, and the numbers in it.
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/format.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "service/command_line.h"

namespace {

using namespace Quorvex::PC::Hkd04a7::Service;

// An argument vector as the program's entry gets it: the program first, a null behind the last.
class Arguments {
 public:
  explicit Arguments(std::vector<WideString> words) : words_(std::move(words)) {
    pointers_.push_back(program_.data());
    for (WideString& word : words_) pointers_.push_back(word.data());
  }

  int Count() const { return static_cast<int>(pointers_.size()); }
  CommandLineOptions Parse() {
    // Copied to its exact size, so that a look behind the last argument is seen.
    const std::vector<WCHAR*> exact(pointers_.begin(), pointers_.end());
    return ParseCommandLine(Count(), exact.data());
  }
  // Where an argument stands, 0 for none of them.
  int IndexOf(const WCHAR* text) const {
    for (int i = 1; i < Count(); ++i)
      if (pointers_[static_cast<std::size_t>(i)] == text) return i;
    return 0;
  }
  // The first argument after `index` that reads `text`, 0 for none.
  int Find(WideStringView text, int index) const {
    for (int i = index + 1; i < Count(); ++i)
      if (text == pointers_[static_cast<std::size_t>(i)]) return i;
    return 0;
  }

 private:
  WideString program_ = W("program");
  std::vector<WideString> words_;
  std::vector<WCHAR*> pointers_;
};

// The C library reads the same numbers, as long as they are written in its alphabet.
void CheckNumber(const WCHAR* text) {
  std::string narrow;
  for (; *text != 0 && *text < 0x80; ++text) narrow += static_cast<char>(*text);
  const std::uint32_t number = ParseUnsigned(WideString(narrow.begin(), narrow.end()).c_str());
  std::string_view rest = narrow;
  while (!rest.empty() && std::isspace(rest[0]) != 0) rest.remove_prefix(1);
  const bool negative = rest.starts_with('-');
  if (negative || rest.starts_with('+')) rest.remove_prefix(1);
  if (rest.empty() || std::isdigit(rest[0]) == 0) return Check(number == 0, "what is no number reads as 0");
  const bool hexadecimal = rest.starts_with("0x") || rest.starts_with("0X");
  const int base = hexadecimal ? 16 : rest[0] == '0' ? 8 : 10;
  const unsigned long long magnitude = std::strtoull(std::string(rest).c_str(), nullptr, base);
  const auto low = static_cast<std::uint32_t>(magnitude);
  const std::uint32_t expected = magnitude > 0xFFFFFFFFu ? 0xFFFFFFFFu : negative ? 0 - low : low;
  Check(number == expected, "a number reads as the C library reads it");
}

void CheckOption(const CommandLineOption& option, const Arguments& arguments) {
  const int first = arguments.Find(option.name, 0);
  if (!option.seen) return Check(option.value == nullptr, "an option not seen has no value");
  Check(first != 0, "an option seen stands on the command line");
  Check(option.takesValue == (option.value != nullptr), "an option seen has the value it takes");
  if (option.value == nullptr) return;
  const int at = arguments.IndexOf(option.value);
  Check(at > first && arguments.Find(option.name, at - 2) == at - 1, "a value follows its option");
}

// Nothing goes before the first argument that is an option, so it counts.
void CheckFirst(const CommandLineOption& option, int at, const Arguments& arguments) {
  const bool complete = !option.takesValue || at + 1 < arguments.Count();
  Check(option.seen == complete, "the first option counts");
  Check(!complete || !option.takesValue || arguments.IndexOf(option.value) == at + 1, "its value is what follows");
}

void TryWords(std::vector<WideString> words) {
  Arguments arguments(std::move(words));
  CommandLineOptions options = arguments.Parse();
  const CommandLineOption* first = nullptr;
  int firstAt = arguments.Count();
  for (const CommandLineOption* option : options.Table()) {
    CheckOption(*option, arguments);
    const int at = arguments.Find(option->name, 0);
    if (at == 0 || at >= firstAt) continue;
    firstAt = at;
    first = option;
  }
  if (first != nullptr) CheckFirst(*first, firstAt, arguments);
  const bool any = arguments.Find(options.appService.name, 0) != 0;
  Check(any || !SelectsAppServiceMode(options), "nothing but its option selects the delivery of an event");
  const auto event = EventOfCommandLine(options);
  const bool all = options.event.seen && options.data1.seen && options.data2.seen;
  Check(event.has_value() == all, "an event needs its three numbers");
  for (const CommandLineOption* option : {&options.event, &options.data1, &options.data2})
    if (option->value != nullptr) CheckNumber(option->value);
}

// What the service puts on the command line is what its other role takes from it.
void TryLaunch(std::uint32_t event, std::uint32_t data1, std::uint32_t data2) {
  WCHAR line[100];
  Check(Quorvex::PC::Common::Format(line, W("-appservice -event %u -data1 %u -data2 %u"), event, data1, data2),
        "a launch's command line fits");
  std::vector<WideString> words(1);
  for (const WCHAR character : WideStringView(line)) {
    if (character == ' ') words.emplace_back();
    if (character != ' ') words.back() += character;
  }
  Arguments arguments(std::move(words));
  const CommandLineOptions options = arguments.Parse();
  const auto taken = EventOfCommandLine(options);
  Check(SelectsAppServiceMode(options) && taken.has_value(), "a launch selects the delivery of its event");
  Check(taken->eventId == event && taken->data1 == data1 && taken->data2 == data2, "a launch keeps its numbers");
}

}  // namespace

// Three numbers, then arguments with a zero between them; single characters stand for whole options.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto event = input.Get<std::uint32_t>();
  const auto data1 = input.Get<std::uint32_t>();
  TryLaunch(event, data1, input.Get<std::uint32_t>());
  CommandLineOptions options;
  std::vector<WideString> words;
  while (input.HasMore()) {
    WideString& word = words.emplace_back();
    for (std::uint8_t byte; (byte = input.Get<std::uint8_t>()) != 0;) {
      const bool names = byte >= 1 && byte <= 5;
      word += names ? WideString(options.Table()[byte - 1u]->name) : WideString(1, static_cast<WCHAR>(byte));
    }
  }
  TryWords(std::move(words));
  return 0;
}
