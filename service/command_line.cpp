#include "service/command_line.h"

namespace Quorvex::PC::Hkd04a7::Service {
namespace {

enum class WalkResult { Continue, EndOfParse };

// Compares the current argument with every option not yet seen. Consuming a value moves `index` on, so the options that
// follow in the table are compared with the value.
WalkResult WalkTable(CommandLineOptions& options, int argumentCount, WCHAR* const* arguments, int& index, int& unseen) {
  for (CommandLineOption* option : options.Table()) {
    if (option->seen || WideStringView(arguments[index]) != option->name) continue;
    if (option->takesValue) {
      if (++index >= argumentCount) return WalkResult::EndOfParse;
      option->value = arguments[index];
    }
    option->seen = true;
    if (option->endsParsing) return WalkResult::EndOfParse;
    --unseen;
  }
  return WalkResult::Continue;
}

int DigitOf(WCHAR character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return 16;
}

// Takes a base prefix off `text`.
int TakeBase(const WCHAR*& text) {
  if (text[0] != '0') return 10;
  if ((text[1] != 'x' && text[1] != 'X') || DigitOf(text[2]) >= 16) return 8;
  text += 2;
  return 16;
}

bool IsBlank(WCHAR character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

}  // namespace

CommandLineOptions ParseCommandLine(int argumentCount, WCHAR* const* arguments) {
  CommandLineOptions options;
  int unseen = static_cast<int>(options.Table().size());
  for (int index = 1; index < argumentCount && unseen > 0; ++index) {
    if (WalkTable(options, argumentCount, arguments, index, unseen) == WalkResult::EndOfParse) break;
  }
  return options;
}

bool SelectsAppServiceMode(const CommandLineOptions& options) {
  return !options.service.seen && options.appService.seen;
}

std::optional<CommandLineEvent> EventOfCommandLine(const CommandLineOptions& options) {
  if (!options.event.seen || !options.data1.seen || !options.data2.seen) return std::nullopt;
  return CommandLineEvent{ParseUnsigned(options.event.value), ParseUnsigned(options.data1.value),
                          ParseUnsigned(options.data2.value)};
}

std::uint32_t ParseUnsigned(const WCHAR* text) {
  while (IsBlank(*text)) ++text;
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  const int base = TakeBase(text);
  std::uint64_t number = 0;
  for (; DigitOf(*text) < base; ++text) {
    number = number * static_cast<unsigned>(base) + static_cast<unsigned>(DigitOf(*text));
    if (number > 0xFFFFFFFFu) return 0xFFFFFFFFu;
  }
  const auto value = static_cast<std::uint32_t>(number);
  return negative ? 0u - value : value;
}

}  // namespace Quorvex::PC::Hkd04a7::Service
