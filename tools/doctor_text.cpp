#include "tools/doctor_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/doctor_names.h"
#include "tools/printable.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

const char* SeverityName(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Note:
      return "note";
  }
  return "";
}

bool HasViews(const Place& place) {
  return place.key.starts_with(kProductKey);
}

std::string PlaceText(const Place& place) {
  std::string text = place.key.empty() ? "the machine" : place.key;
  if (HasViews(place) && place.view == 32) text += " (32-bit view)";
  if (!place.value) return text;
  return text + (place.value->empty() ? ", default value" : ", value " + Quoted(ToWide(*place.value)));
}

std::string CountText(const Findings& findings, Severity severity) {
  const auto isOne = [&](const Finding& finding) { return finding.severity == severity; };
  const auto count = std::count_if(findings.begin(), findings.end(), isOne);
  return std::to_string(count) + ' ' + SeverityName(severity) + (count == 1 ? "" : "s");
}

}  // namespace

std::string FindingText(const Finding& finding) {
  constexpr const char* kIndent = "\n         ";
  std::string head = SeverityName(finding.severity);
  head.resize(9, ' ');
  std::string text = head + Printable(PlaceText(finding.place)) + kIndent + Printable(finding.why);
  return finding.next.empty() ? text : text + kIndent + "do: " + Printable(finding.next);
}

std::string FindingJson(const Finding& finding) {
  nlohmann::ordered_json object = {{"severity", SeverityName(finding.severity)}, {"rule", finding.rule}};
  if (!finding.place.key.empty()) object["key"] = finding.place.key;
  if (HasViews(finding.place)) object["view"] = finding.place.view;
  if (finding.place.value) object["value"] = *finding.place.value;
  object["why"] = finding.why;
  if (!finding.next.empty()) object["next"] = finding.next;
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

std::string SummaryText(const Findings& findings) {
  return CountText(findings, Severity::Error) + ", " + CountText(findings, Severity::Warning) + ", " +
         CountText(findings, Severity::Note);
}

bool HasErrors(const Findings& findings) {
  return std::any_of(findings.begin(), findings.end(),
                     [](const Finding& finding) { return finding.severity == Severity::Error; });
}

}  // namespace tool::doctor
