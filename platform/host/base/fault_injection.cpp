#include "platform/host/base/fault_injection.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace host {
namespace {

struct Fault {
  unsigned callsUntil;  // 0: every call
  DWORD code;
};

struct Arrangement {
  std::vector<Fault> faults;
  std::vector<std::function<void()>> actions;
};

struct Arrangements {
  std::mutex mutex;
  std::map<std::string, Arrangement, std::less<>> byFunction;
};

// Set while anything is arranged; the only thing the flat functions look at otherwise.
std::atomic<bool> anyArranged{false};

Arrangements& All() {
  static auto* all = new Arrangements;
  return *all;
}

template <typename Change>
void Arrange(std::string_view function, Change change) {
  std::lock_guard lock(All().mutex);
  change(All().byFunction[std::string(function)]);
  anyArranged = true;
}

// Counts the call down; the first fault that is due is the answer.
std::optional<DWORD> TakeFault(Arrangement& arrangement) {
  std::optional<DWORD> code;
  std::erase_if(arrangement.faults, [&](Fault& fault) {
    if (fault.callsUntil == 0) {
      if (!code) code = fault.code;
      return false;
    }
    if (--fault.callsUntil > 0) return false;
    if (!code) code = fault.code;
    return true;
  });
  return code;
}

}  // namespace

void FailCall(std::string_view function, unsigned nth, DWORD code) {
  if (nth > 0) Arrange(function, [&](Arrangement& a) { a.faults.push_back({nth, code}); });
}

void FailEveryCall(std::string_view function, DWORD code) {
  Arrange(function, [&](Arrangement& a) { a.faults.push_back({0, code}); });
}

void AtCall(std::string_view function, std::function<void()> action) {
  Arrange(function, [&](Arrangement& a) { a.actions.push_back(std::move(action)); });
}

void ClearFaults() {
  std::lock_guard lock(All().mutex);
  All().byFunction.clear();
  anyArranged = false;
}

std::optional<DWORD> InjectedFailure(std::string_view function) {
  if (!anyArranged.load(std::memory_order_relaxed)) return std::nullopt;
  std::vector<std::function<void()>> actions;
  std::optional<DWORD> code;
  {
    std::lock_guard lock(All().mutex);
    const auto found = All().byFunction.find(function);
    if (found == All().byFunction.end()) return std::nullopt;
    actions = found->second.actions;
    code = TakeFault(found->second);
  }
  for (const auto& action : actions) action();
  return code;
}

}  // namespace host
