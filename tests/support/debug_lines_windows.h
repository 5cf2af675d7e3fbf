// The debug lines that this process writes on Windows while an object of the class lives; one at a time.
#pragma once

#include <string>
#include <vector>

#include "platform/windows/sdk.h"

namespace Quorvex::PC::Hkd04a7 {

class DebugLines {
 public:
  DebugLines() {
    lines_.clear();
    handler_ = AddVectoredExceptionHandler(1, &KeepLine);
  }
  ~DebugLines() { RemoveVectoredExceptionHandler(handler_); }
  DebugLines(const DebugLines&) = delete;
  DebugLines& operator=(const DebugLines&) = delete;

  const std::vector<std::string>& Lines() const { return lines_; }

 private:
  // The platform hands each debug line to the process as an exception first, in ANSI; newer ones in wide form, with the
  // ANSI text behind it.
  static LONG CALLBACK KeepLine(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const bool isWide = record.ExceptionCode == 0x4001000A;
    if (!isWide && record.ExceptionCode != 0x40010006) return EXCEPTION_CONTINUE_SEARCH;
    lines_.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[isWide ? 3 : 1]));
    return EXCEPTION_CONTINUE_EXECUTION;
  }

  static inline std::vector<std::string> lines_;
  PVOID handler_ = nullptr;
};

}  // namespace Quorvex::PC::Hkd04a7
