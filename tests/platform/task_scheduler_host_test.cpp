// The Task Scheduler's interfaces over the machine's scheduler.
#include <gmock/gmock.h>

#include "platform/com.h"
#include "platform/host/base/text.h"
#include "platform/task_scheduler.h"
#include "tests/machine/machine_fixture.h"

namespace {

using machine_test::Ask;
using machine_test::Code;
using nlohmann::json;

constexpr HRESULT kNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

// A string for the time of one call.
class Text {
 public:
  explicit Text(const std::string& text) : text_(SysAllocString(host::ToUtf16(text).c_str())) {}
  ~Text() { SysFreeString(text_); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  BSTR Get() const { return text_; }

 private:
  BSTR text_;
};

class TaskSchedulerTest : public machine_test::MachineTest {
 protected:
  TaskSchedulerTest() {
    Start();
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    void* made = nullptr;
    EXPECT_EQ(CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_ALL, IID_ITaskService, &made), S_OK);
    service_ = static_cast<ITaskService*>(made);
    EXPECT_EQ(Code("task.add", {{"path", "Tools\\Note"}, {"program", "/bin/true"}, {"instances", "parallel"}}), 0u);
  }
  ~TaskSchedulerTest() override {
    service_->Release();
    CoUninitialize();
    EXPECT_EQ(host::LiveStrings() + host::LiveArrays() + host::LiveTaskObjects(), 0);
  }

  HRESULT Connect() { return service_->Connect({}, {}, {}, {}); }

  // The first failure on the way to the task, or what `use` answers for it.
  template <typename Use>
  HRESULT WithTask(const std::string& folderPath, const std::string& taskPath, Use use) {
    ITaskFolder* folder = nullptr;
    HRESULT result = service_->GetFolder(Text(folderPath).Get(), &folder);
    EXPECT_EQ(folder != nullptr, SUCCEEDED(result));
    if (FAILED(result)) return result;
    IRegisteredTask* task = nullptr;
    result = folder->GetTask(Text(taskPath).Get(), &task);
    folder->Release();
    EXPECT_EQ(task != nullptr, SUCCEEDED(result));
    if (FAILED(result)) return result;
    result = use(task);
    task->Release();
    return result;
  }
  HRESULT Find(const std::string& folder, const std::string& task) {
    return WithTask(folder, task, [](IRegisteredTask*) { return S_OK; });
  }
  HRESULT Run(const VARIANT& parameters) {
    return WithTask("\\", "Tools\\Note", [&](IRegisteredTask* task) {
      IRunningTask* running = nullptr;
      const HRESULT result = task->RunEx(parameters, TASK_RUN_IGNORE_CONSTRAINTS, 0, nullptr, &running);
      EXPECT_EQ(running != nullptr, SUCCEEDED(result));
      if (running == nullptr) return result;
      BSTR guid = nullptr;
      EXPECT_EQ(running->get_InstanceGuid(&guid), S_OK);
      EXPECT_EQ(Ask("task.runs").at("runs").back().at("instance"), host::ToUtf8(guid));
      SysFreeString(guid);
      running->Release();
      return result;
    });
  }
  static json LastArguments() { return Ask("task.runs").at("runs").back().at("arguments"); }

  ITaskService* service_ = nullptr;
};

TEST_F(TaskSchedulerTest, FindsTasksBelowAnyFolder) {
  ASSERT_EQ(Connect(), S_OK);
  const std::tuple<const char*, const char*, HRESULT> cases[] = {
      {"\\", "Tools\\Note", S_OK},        {"", "\\TOOLS\\note", S_OK},
      {"\\tools", "Note", S_OK},          {"\\", "", kNotFound},
      {"\\", "Note", kNotFound},          {"\\", "Tools", kNotFound},
      {"\\Tools\\Note", "x", kNotFound},  {"\\None", "Note", kNotFound},
      {"\\", "Tools\\Note\\", kNotFound},
  };
  for (const auto& [folder, task, expected] : cases) EXPECT_EQ(Find(folder, task), expected) << folder << " " << task;
}

TEST_F(TaskSchedulerTest, TakesParametersInEachDocumentedForm) {
  ASSERT_EQ(Connect(), S_OK);
  VARIANT parameters;
  VariantInit(&parameters);
  EXPECT_EQ(Run(parameters), S_OK);
  EXPECT_EQ(LastArguments(), json::array());
  parameters.vt = VT_BSTR;
  parameters.bstrVal = SysAllocString(u"one \"text\" \u00E4");
  EXPECT_EQ(Run(parameters), S_OK);
  EXPECT_EQ(LastArguments(), json{"one \"text\" \u00E4"});
  VariantClear(&parameters);
  SAFEARRAYBOUND bound = {33, 0};
  parameters.vt = VT_ARRAY | VT_BSTR;
  parameters.parray = SafeArrayCreate(VT_BSTR, 1, &bound);
  EXPECT_EQ(Run(parameters), E_INVALIDARG);
  bound.cElements = 32;
  EXPECT_EQ(SafeArrayRedim(parameters.parray, &bound), S_OK);
  EXPECT_EQ(Run(parameters), S_OK);
  EXPECT_EQ(LastArguments().size(), 32u);
  EXPECT_EQ(VariantClear(&parameters), S_OK) << "the call has left it unlocked";
  parameters.vt = VT_I4;
  EXPECT_EQ(Run(parameters), E_INVALIDARG);
}

TEST_F(TaskSchedulerTest, AConnectionLastsAsLongAsTheScheduler) {
  EXPECT_EQ(Find("\\", "Tools\\Note"), SCHED_E_SERVICE_NOT_RUNNING);
  ASSERT_EQ(Connect(), S_OK);
  ASSERT_EQ(Code("task.service", {{"running", false}}), 0u);
  EXPECT_EQ(Find("\\", "Tools\\Note"), SCHED_E_SERVICE_NOT_RUNNING);
  EXPECT_EQ(Connect(), SCHED_E_SERVICE_NOT_RUNNING);
  ASSERT_EQ(Code("task.service", {{"running", true}}), 0u);
  EXPECT_EQ(Find("\\", "Tools\\Note"), HRESULT_FROM_WIN32(1727));
  EXPECT_EQ(Connect(), S_OK);
  EXPECT_EQ(Find("\\", "Tools\\Note"), S_OK);
  Stop();
  EXPECT_EQ(Connect(), HRESULT_FROM_WIN32(1722));
}

}  // namespace
