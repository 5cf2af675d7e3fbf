// What `doctor` finds: where, why it cannot work, what to do.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tool::doctor {

enum class Severity {
  Error,    // does not work
  Warning,  // works, but hardly as it was meant
  Note,     // worth knowing
};

// Where a finding lies. `key` as `reg` takes it; empty when the registry is not the matter.
struct Place {
  std::string key;
  int view = 64;                     // 64 or 32
  std::optional<std::string> value;  // the value's name; "" is the default value
};

struct Finding {
  Severity severity;
  Place place;
  std::string why;   // whole sentences without the last full stop
  std::string next;  // what to do; may be empty
  std::string rule;  // the name of the rule that found it; set by Diagnose
};

using Findings = std::vector<Finding>;

}  // namespace tool::doctor
