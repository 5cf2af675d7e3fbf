#include "tools/doctor_rules.h"

#include <algorithm>

namespace tool::doctor {
namespace {

void Apply(std::span<const Rule> rules, const Snapshot& snapshot, Findings* findings) {
  for (const Rule& rule : rules)
    for (Finding& finding : rule.find(snapshot)) {
      finding.rule = rule.name;
      findings->push_back(std::move(finding));
    }
}

}  // namespace

Findings Diagnose(const Snapshot& snapshot) {
  Findings findings;
  for (const auto rules :
       {ServiceRules(), HandlerRules(), TaskRules(), RegistrationRules(), PackageRules(), GrantRules()})
    Apply(rules, snapshot, &findings);
  std::stable_sort(findings.begin(), findings.end(),
                   [](const Finding& one, const Finding& other) { return one.severity < other.severity; });
  return findings;
}

}  // namespace tool::doctor
