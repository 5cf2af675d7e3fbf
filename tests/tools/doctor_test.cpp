#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/errors.h"
#include "platform/host/base/machine_directory.h"
#include "tools/doctor_names.h"
#include "tools/doctor_registry.h"
#include "tools/doctor_rules.h"
#include "tools/doctor_text.h"
#include "tools/software_key.h"
#include "tools/wide_text.h"

namespace tool::doctor {
namespace {

using testing::ElementsAre;

constexpr const char* kAnna = "S-1-5-21-1-2-3-1001";

KeyTree& Below(KeyTree& parent, const std::string& path) {
  if (path.empty()) return parent;
  const std::size_t end = std::min(path.find('\\'), path.size());
  const WideString name = ToWide(path.substr(0, end));
  for (KeyTree& child : parent.subKeys)
    if (child.name == name) return Below(child, path.substr(std::min(end + 1, path.size())));
  parent.subKeys.push_back({name, {}, {}});
  return Below(parent.subKeys.back(), path.substr(std::min(end + 1, path.size())));
}

// A machine with nothing wrong with it, and the lines of a case put into its registry.
class State {
 public:
  State() {
    snapshot_.registry.handlers = {{64, {}}, {32, {}}};
    snapshot_.registry.users = {{kAnna, {}}};
    snapshot_.registry.softwareKey = "HKLM\\Dev";
    snapshot_.registry.product = {Named("EnableLog", "dword", {"1"})};
    snapshot_.machine = {true, std::vector<TaskFact>(), true, std::vector<PackageFact>()};
    snapshot_.machine.users = {{"anna", kAnna, true}, {"bob", "S-2", false}};
    snapshot_.machine.services = {{"/service", 2}};
    snapshot_.machine.device.emplace();
    snapshot_.machine.tasks = {{"Lamp", true, true, "parallel", "", "/bin/true"},
                               {"Off", false, true, "queue", "", "/bin/true"},
                               {"Never", true, false, "queue", "", "/bin/true"},
                               {"Folder\\Once", true, true, "ignore-new", "", "/bin/true"},
                               {"Bob", true, true, "stop-existing", "bob", "/gone", false}};
    snapshot_.machine.packages = {{"App_1", {}, {"hello"}}, {"Bobs_1", {"S-2"}, {"hello"}}};
  }

  // "64 32\5" and "32 ..." are handler lists, "user ..." registrations; "utility", "product", "caps" are single keys.
  void Put(const std::string& where, const std::string& name, const std::string& type,
           const std::vector<std::string>& data) {
    RegistrySnapshot& registry = snapshot_.registry;
    const std::string root = where.substr(0, where.find(' '));
    const std::string path = where.size() > root.size() ? where.substr(root.size() + 1) : "";
    Values(registry, root, path).push_back(Named(name, type, data));
  }

  Snapshot& snapshot() { return snapshot_; }

  // What is found beyond what a case always has: "error no-such-task Events\32 (32) Lamp".
  std::vector<std::string> Found() const {
    std::vector<std::string> lines;
    for (const Finding& finding : Diagnose(snapshot_)) {
      if (finding.rule == "log-switch" || finding.rule == "user-not-loaded") continue;
      std::string text = FindingText(finding).substr(0, 7);
      text = text.substr(0, text.find(' ')) + ' ' + finding.rule + ' ';
      text += finding.place.key.substr(
          finding.place.key.rfind("\\Events") == std::string::npos ? 0 : finding.place.key.rfind("\\Events") + 1);
      if (finding.place.view == 32) text += " (32)";
      lines.push_back(text + (finding.place.value ? ' ' + finding.place.value->substr(0, 8) : ""));
    }
    return lines;
  }

 private:
  static RegistryKey::Named Named(const std::string& name, const std::string& type,
                                  const std::vector<std::string>& data) {
    return {ToWide(name), ParseValue(*ParseType(type), data).value()};
  }

  static std::vector<RegistryKey::Named>& Values(RegistrySnapshot& registry, const std::string& root,
                                                 const std::string& path) {
    if (root == "64") return Below(registry.handlers[0].events, path).values;
    if (root == "32") return Below(registry.handlers[1].events, path).values;
    if (root == "user") return Below(registry.users[0].keys, path).values;
    if (root == "utility") return registry.utility;
    return root == "caps" ? registry.capabilities : registry.product;
  }

  Snapshot snapshot_;
};

struct Line {
  std::string where;
  std::string name;
  std::string type = "sz";
  std::vector<std::string> data = {"hello"};
};

struct Case {
  std::vector<Line> lines;
  std::vector<std::string> found;
};

void Check(const std::vector<Case>& cases) {
  for (const Case& test : cases) {
    State state;
    for (const Line& line : test.lines) state.Put(line.where, line.name, line.type, line.data);
    EXPECT_EQ(state.Found(), test.found) << test.lines[0].where << ' ' << test.lines[0].name;
  }
}

TEST(DoctorTest, FindsNothingWhereNothingIsWrong) {
  Check({{{{"64 32", "Lamp", "binary", {""}}, {"32 33", "\\lamp"}}, {}},
         {{{"64 32", "Lamp"}, {"64 1\\1", "Lamp"}, {"user 32", "App_1"}, {"user 41-5", "app_1"}}, {}}});
}

TEST(DoctorTest, KnowsHandlerListsThatCannotWork) {
  Check({
      {{{"64", "Lamp"}}, {"error task-outside-lists Events Lamp"}},
      {{{"32 032", "Lamp"}}, {"error unknown-event Events\\032 (32)"}},
      {{{"64 43", "Lamp"}, {"64 39", "Lamp"}, {"64 0", "Lamp"}},
       {"error unknown-event Events\\43", "error unknown-event Events\\39", "error unknown-event Events\\0"}},
      {{{"64 32-5", "Lamp"}}, {"error data1-list-alone Events\\32-5"}},
      {{{"64 32\\0x40000401", "Lamp"}}, {"error unknown-data1 Events\\32\\0x40000401"}},
      {{{"64 1\\4", "Lamp"}, {"64 3\\4", "Lamp"}}, {"error unknown-data1 Events\\1\\4"}},
      {{{"64 33\\1073742849", "Lamp"}, {"64 33\\1073741824", "Lamp"}}, {"error unknown-data1 Events\\33\\1073742849"}},
      {{{"64 32", std::string(200, 'x')}}, {"error long-task-name Events\\32 xxxxxxxx"}},
      {{{"64 32", std::string(199, 'x')}}, {"error no-such-task Events\\32 xxxxxxxx"}},
      {{{"64 32", ""}}, {"error empty-task-name Events\\32 "}},
      {{{"64 32", "Lamp"}, {"32 32", "LAMP"}}, {"warning task-in-both-views Events\\32 (32) LAMP"}},
      {{{"64 32", "Lamp"}, {"32 32\\1073742849", "Lamp"}},
       {"warning task-for-event-and-data1 Events\\32\\1073742849 (32) Lamp"}},
      {{{"64 32", "Off"}}, {"error disabled-task Events\\32 Off"}},
      {{{"64 32", "Never"}}, {"error task-not-on-demand Events\\32 Never"}},
      {{{"64 32", "Folder\\Once"}}, {"warning task-drops-events Events\\32 Folder\\O"}},
      {{{"64 32", "Bob"}},
       {"error task-without-program Events\\32 Bob", "warning task-drops-events Events\\32 Bob",
        "warning task-of-absent-user Events\\32 Bob"}},
  });
}

TEST(DoctorTest, KnowsRegistrationsThatCannotWork) {
  const std::string at = " Events\\UwpAppService";
  Check({
      {{{"user", "App_1"}}, {"error registration-outside-keys" + at + " App_1"}},
      {{{"user 32\\5", "App_1"}}, {"error unknown-registration-key" + at + "\\32\\5"}},
      {{{"user 32-", "App_1"}}, {"error unknown-registration-key" + at + "\\32-"}},
      {{{"user 99", "App_1"}}, {"error unknown-registration-key" + at + "\\99"}},
      {{{"user 37-1", "App_1"}}, {"error unknown-registration-data1" + at + "\\37-1"}},
      {{{"user 32", "App_1", "expand"}}, {"error registration-type" + at + "\\32 App_1"}},
      {{{"user 32", std::string(200, 'x')}}, {"error long-registration-name" + at + "\\32 xxxxxxxx"}},
      {{{"user 32", "App_1", "sz", {std::string(199, 'x')}}}, {"error long-registration-name" + at + "\\32 App_1"}},
      {{{"user 32", "App_1", "sz", {std::string(198, 'x')}}},
       {"error no-such-app-service" + at + "\\32 App_1", "note name-not-queried" + at + "\\32 App_1"}},
      {{{"user 32", "App_1", "sz", {""}}}, {"error empty-registration-name" + at + "\\32 App_1"}},
      {{{"user 41", "App_1"}, {"user 41-5", "APP_1"}}, {"warning told-twice" + at + "\\41-5 APP_1"}},
      {{{"user 32", "Bobs_1"}}, {"error no-such-package" + at + "\\32 Bobs_1"}},
  });
}

TEST(DoctorTest, KnowsValuesThatCountAsAbsent) {
  Check({
      {{{"utility", "appservicedelayonresume", "qword", {"3000"}}},
       {"error delay " + std::string(kUtilityKey) + " appservi"}},
      {{{"utility", "AppServiceDelayOnLogon", "dword", {"60001"}}},
       {"warning delay " + std::string(kUtilityKey) + " AppServi"}},
      {{{"product", "CurrentVersion", "sz", {" +03.1"}}},
       {"error old-version " + std::string(kProductKey) + " CurrentV"}},
      {{{"product", "CurrentVersion", "sz", {"4"}}}, {}},
      {{{"product", "CurrentVersion", "sz", {""}}}, {}},
      {{{"product", "CurrentVersion", "dword", {"4"}}},
       {"warning old-version " + std::string(kProductKey) + " CurrentV"}},
      {{{"caps", "App_1", "sz", {"1"}}}, {"error capability HKLM\\Dev\\Extension\\RestrictedRpc App_1"}},
      {{{"caps", "App_1", "dword", {"2"}}}, {"note capability HKLM\\Dev\\Extension\\RestrictedRpc App_1"}},
      {{{"caps", std::string(64, 'x'), "dword", {"1"}}},
       {"error capability-name HKLM\\Dev\\Extension\\RestrictedRpc xxxxxxxx"}},
      {{{"caps", std::string(63, 'x'), "dword", {"1"}}}, {}},
  });
}

TEST(DoctorTest, KnowsWhatTheMachineLacks) {
  State state;
  state.Put("64 38", "Lamp", "sz", {""});
  state.Put("user 3", "App_1", "sz", {"hello"});
  MachineFacts& machine = state.snapshot().machine;
  machine.device->embeddedController = machine.device->appSwitch = false;
  machine.schedulerRuns = false;
  machine.services = {{"/service", 4, true, false, false}};
  state.snapshot().registry.softwareKey.clear();
  EXPECT_THAT(state.Found(), ElementsAre("error service-program ", "error start-type ", "error scheduler-stopped ",
                                         "error device-missing HKLM\\System\\CurrentControlSet\\Enum",
                                         "warning service-program ", "note handler-without-source Events\\38",
                                         "note registration-without-source Events\\UwpAppService\\3"));
  machine = {};
  EXPECT_THAT(state.Found(), ElementsAre("note not-looked-at ", "note device-missing "));
}

// From the registry itself: both views, and programs as files.
TEST(DoctorRegistryTest, ReadsWhatTheServiceReads) {
  const std::string folder = testing::TempDir() + "doctor-registry-test";
  host::UseMachineDirectory(folder);
  RegistrySnapshot registry;
  std::string where;
  EXPECT_EQ(TakeRegistry(&registry, &where), ERROR_CANTOPEN) << "no machine was ever there";
  ASSERT_TRUE(host::EnsureMachineDirectory(host::CurrentMachineDirectory(), &where)) << where;
  for (const REGSAM view : {KEY_WOW64_64KEY, KEY_WOW64_32KEY}) {
    const WideString path =
        ToWide(std::string(kEventsKey).substr(5)) + (view == KEY_WOW64_32KEY ? u"\\32" : u"\\33\\7");
    RegistryKey key;
    ASSERT_EQ(key.Create({HKEY_LOCAL_MACHINE, path}, KEY_ALL_ACCESS | view, false), ERROR_SUCCESS);
    ASSERT_EQ(key.Write(u"Lamp", {REG_NONE, {}}), ERROR_SUCCESS);
  }
  registry = {};
  ASSERT_EQ(TakeRegistry(&registry, &where), ERROR_SUCCESS) << where;
  ASSERT_EQ(registry.handlers.size(), 2u);
  EXPECT_EQ(registry.handlers[0].events.subKeys.at(0).subKeys.at(0).values.at(0).name, u"Lamp");
  EXPECT_EQ(registry.handlers[1].events.subKeys.at(0).name, u"32");
  EXPECT_TRUE(ProgramExists("\\bin\\sh"));
  EXPECT_FALSE(ProgramExists("/bin"));
  EXPECT_FALSE(ProgramExists(""));
  std::filesystem::remove_all(folder);
}

TEST(DoctorTextTest, SaysWhereWhyAndWhatToDo) {
  const Findings findings = {{Severity::Error, {std::string(kEventsKey) + "\\32", 32, "it's"}, "why", "what", "rule"}};
  EXPECT_EQ(FindingText(findings[0]),
            "error    HKLM\\Software\\Quorvex\\HKD04A7\\Events\\32 (32-bit view), value \"it's\"\n"
            "         why\n         do: what");
  EXPECT_EQ(FindingJson(findings[0]),
            R"({"severity":"error","rule":"rule","key":"HKLM\\Software\\Quorvex\\HKD04A7\\Events\\32","view":32,)"
            R"("value":"it's","why":"why","next":"what"})");
  EXPECT_EQ(SummaryText(findings), "1 error, 0 warnings, 0 notes");
  EXPECT_EQ(DeleteCommand(findings[0].place),
            "hkd04a7ctl reg --view 32 delete "
            "'HKLM\\Software\\Quorvex\\HKD04A7\\Events\\32' 'it'\\''s'");
}

}  // namespace
}  // namespace tool::doctor
