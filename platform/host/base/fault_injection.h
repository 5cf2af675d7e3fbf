// Fault injection and pause points: part of the host layer's test surface, never of the product.
//
// A flat function that can fail begins with
//   if (auto code = host::InjectedFailure("RegOpenKeyExW")) return ...;   // and sets the last error where the call
//   does
// and a test arranges the failure beforehand with FailCall. Without an arrangement the look-up costs one
// relaxed atomic load. All functions may be called from any thread.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/host/base/types.h"

namespace host {

// The `nth` call of `function` from now on (1 is the next one) fails once with `code`.
void FailCall(std::string_view function, unsigned nth, DWORD code);

// Every call of `function` from now on fails with `code`, until ClearFaults.
void FailEveryCall(std::string_view function, DWORD code);

// Runs `action` on the calling thread each time `function` (or a named pause point) is reached, before it acts.
void AtCall(std::string_view function, std::function<void()> action);

// Forgets every arrangement of this process.
void ClearFaults();

// For the flat functions: the code that the current call of `function` has to fail with, if one was arranged.
// Counts the call and runs the actions arranged for it.
std::optional<DWORD> InjectedFailure(std::string_view function);

}  // namespace host
