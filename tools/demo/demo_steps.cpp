#include "tools/demo/demo_steps.h"

#include "platform/host/base/text.h"
#include "tools/demo/demo_people.h"
#include "tools/device_key.h"
#include "tools/exit_codes.h"
#include "tools/power_control.h"
#include "tools/report.h"
#include "tools/session_control.h"

namespace tool {
namespace {

constexpr unsigned kListedSwitch = 2;
constexpr std::uint32_t kOneTouch = 0x40000401;
constexpr std::uint32_t kIrOpe = 0x40000300;
constexpr std::uint32_t kBothButtons = 0x40000000;
constexpr std::uint32_t kWakeSwitch = 0x00000004;

int Taken(const DemoStage& stage, bool taken) {
  if (taken) return kDone;
  return Report(stage.options, kFailed, {"play the step", "the device did not take it", 0, ""});
}

int PressSwitches(DemoStage& stage) {
  return Taken(stage, stage.device.PressMask(0x00000005));
}

int PressListedSwitch(DemoStage& stage) {
  return Taken(stage, stage.device.Press(kListedSwitch));
}

int PressButtons(DemoStage& stage) {
  machine::Device& device = stage.device;
  return Taken(stage, device.Button(kOneTouch) && device.Button(kIrOpe) && device.Button(kBothButtons));
}

int Accelerate(DemoStage& stage) {
  return Taken(stage, stage.device.Sensor(0x00000001));
}

int InterruptEc(DemoStage& stage) {
  return Taken(stage, stage.device.Ec(0x00000003));
}

int RaiseEmergency(DemoStage& stage) {
  return Taken(stage, stage.device.Emergency(0x00000002));
}

int ControlPhone(DemoStage& stage) {
  machine::Device& device = stage.device;
  const bool answers = device.SetPhonePcAnswer(1, 0x11) && device.SetPhonePcAnswer(2, 0x22);
  return Taken(stage, answers && device.PhonePc(0x00000006));
}

int AnswerFunction101C(DemoStage& stage) {
  machine::Device& device = stage.device;
  const bool scripted = device.Answers({0x101C, 3, 1, 0}, {0}) && device.Answers({0x101C, 3, 2, 0}, {7}) &&
                        device.Answers({0x101C, 3, 3, 0}, {0});
  if (scripted) device.Raise();
  return Taken(stage, scripted);
}

int SendToSleep(DemoStage& stage) {
  return Suspend(stage.options);
}

int WakeByOneTouch(DemoStage& stage) {
  ResumeRequest resume;
  resume.switchWord = kWakeSwitch;
  resume.buttonWord = kOneTouch;
  return Resume(stage.options, resume);
}

int LogOn(DemoStage& stage) {
  return Logon(stage.options, {kDemoUser}, &stage.session);
}

int LogOff(DemoStage& stage) {
  return Logoff(stage.options, stage.session);
}

int AnswerFunction2001(DemoStage& stage) {
  return Taken(stage, stage.device.Answers({0x2001, 1, 2, 3}, {0x00C0FFEE}));
}

int DoNothing(DemoStage&) {
  return kDone;
}

int Forget(DemoStage& stage, const char* subKey, const char* name) {
  RegistryKey table;
  bool opened = false;
  const int code = OpenDeviceTable(stage.options, "clear the device's tables", subKey, false, &table, &opened);
  if (code == kDone && opened) table.DeleteValue(host::ToUtf16(name));
  return code;
}

// The machine may have played the demo before.
int ForgetGrants(DemoStage& stage) {
  if (int code = Forget(stage, kCapabilitySubKey, kDemoPackage); code != kDone) return code;
  return Forget(stage, kCommandSubKey, kDemoCommand);
}

std::vector<DemoRequest> AppServiceRequests() {
  const auto ask = [](const char* what) {
    return std::vector<std::string>{"app", what, kDemoPackage, "hello", "--event", "33", "--data1", "0x40000300"};
  };
  const std::vector<std::string> unregister = {"app", "unregister", kDemoPackage, "--event",
                                               "33",  "--data1",    "0x40000300"};
  return {{Asker::Package, ask("register"), kDone, "registered: "},
          {Asker::Package, ask("query"), kDone, "is registered: "},
          {Asker::Package, unregister, kDone, "unregistered: "},
          {Asker::Package, ask("query"), kFailed, "0x80070002"}};
}

// Whom switch 2 is to reach: a task, and the user's app service.
std::vector<DemoRequest> TargetRequests() {
  const std::string event = std::to_string(kListedSwitch);
  return {{Asker::Owner,
           {"task", "add", "Demo\\Press", "--for", event, "--replace", "/bin/sh", "--", "-c \"exit $(Arg2)\""},
           kDone,
           "Demo\\Press"},
          {Asker::Owner, {"package", "add", kDemoPackage, "--service", "hello"}, kDone, kDemoPackage},
          {Asker::Package, {"app", "register", kDemoPackage, "hello", "--event", event}, kDone, "registered: "}};
}

// The command's own parameters end in a place for the one that the client appends.
std::vector<DemoRequest> CommandRequests() {
  const std::vector<std::string> wakeup = {"wakeup", "switch"};
  const std::vector<std::string> command = {"run-as-system", kDemoCommand, "7"};
  return {{Asker::Container, wakeup, kFailed, "gate: endpoint descriptor"},
          {Asker::Package, command, kFailed, "gate: capability bit"},
          {Asker::Owner, {"caps", "grant", kDemoPackage}, kDone, "may run commands as system"},
          {Asker::Package, command, kFailed, "gate: allow-list"},
          {Asker::Owner, {"allow", "add", kDemoCommand, "/bin/sh", "--", "-c \"exit $0\""}, kDone, kDemoCommand},
          {Asker::Package, command, kDone, "\"/bin/sh\" -c \"exit $0\" 7\nexit code 7\n"},
          {Asker::Package, {"run-as-system", kDemoCommand, "8", "--client-session"}, kDone, "exit code 8\n"}};
}

}  // namespace

const std::vector<DemoStep>& DemoSteps() {
  static const std::vector<DemoStep> steps = {
      {"application switches, mask 0x00000005", PressSwitches, {{1, 5, 0}, {3, 5, 0}}},
      {"button answers 0x40000401, 0x40000300, 0x40000000",
       PressButtons,
       {{32, kOneTouch, 0, 0}, {33, kIrOpe, 0, 1}, {32, kBothButtons, 0, 2}, {33, kBothButtons, 0, 2}}},
      {"acceleration sensor, answer 0x00000001", Accelerate, {{34, 1, 0}}},
      {"embedded-controller interrupt, answer 0x00000003", InterruptEc, {{38, 1, 3}}},
      {"emergency notification, answer 0x00000002", RaiseEmergency, {{35, 2, 0}}},
      {"phone-PC data control, mask 0x00000006", ControlPhone, {{36, 1, 0x11}, {36, 2, 0x22}}},
      {"function 0x101C, count 3, answers 0, 7, 0", AnswerFunction101C, {{42, 2, 7}}},
      {"logon of a user", LogOn, {{41, 5, 0, 0, true}}},
      {"switch 2 gets a task and an app service of the user's", DoNothing, {}, false, TargetRequests()},
      {"switch 2, on all four roads", PressListedSwitch, {{2, 2, 0}}, false, {}, true},
      {"suspend", SendToSleep, {}, true},
      {"resume, woken by the one-touch button (0x40000401) and a switch (0x00000004)",
       WakeByOneTouch,
       {{37, 0, 0}},
       true,
       {{Asker::Package, {"wakeup", "switch"}, kDone, "switch: 0x00000004"},
        {Asker::Package, {"wakeup", "one-touch"}, kDone, "one-touch: 0x40000401"}}},
      {"a device session: function 0x2001 with three arguments",
       AnswerFunction2001,
       {},
       false,
       {{Asker::Package, {"call", "0x2001", "1", "2", "3"}, kDone, "answered 0x00C0FFEE"}}},
      {"an app service of the user's, told of one event with one value", DoNothing, {}, false, AppServiceRequests()},
      {"a command run as system: refused at each gate, then granted", ForgetGrants, {}, false, CommandRequests()},
      {"logoff", LogOff, {{41, 6, 0, 0, true}}, true},
  };
  return steps;
}

}  // namespace tool
