#include "tools/service_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tool {
namespace {

using nlohmann::json;
using testing::HasSubstr;

TEST(ServiceTextTest, TellsHowTheServiceStands) {
  struct Case {
    const char* service;
    const char* text;
  };
  const Case cases[] = {
      {R"({"state":4,"pid":7})", "running, process 7"},
      {R"({"state":2,"pid":7})", "start pending, process 7"},
      {R"({"state":1,"pid":0,"win32ExitCode":0})", "stopped, exit code 0"},
      {R"({"state":1,"win32ExitCode":1066,"serviceSpecificExitCode":190})",
       "stopped, exit code 1066 (ERROR_SERVICE_SPECIFIC_ERROR: the service ended with a code of its own), service code "
       "190"},
      {R"({"state":1,"endedUnexpectedly":true,"lastError":"ended unexpectedly: killed by signal 9"})",
       "stopped, ended unexpectedly: killed by signal 9"},
      {R"({"state":1,"win32ExitCode":0,"lastError":"a status was reported after STOPPED"})",
       "stopped, exit code 0; a status was reported after STOPPED"},
      {R"({"state":9})", "state 9"},
  };
  for (const Case& test : cases) EXPECT_EQ(ServiceStateText(json::parse(test.service)), test.text);
}

TEST(ServiceTextTest, TellsWhatHappened) {
  struct Case {
    const char* entry;
    const char* part;
  };
  const Case cases[] = {
      {R"({"kind":"state","state":2,"checkPoint":1})", "start pending, checkpoint 1"},
      {R"({"kind":"state","state":1,"win32ExitCode":1066,"serviceSpecificExitCode":149})", "service code 149"},
      {R"({"kind":"control","control":1,"result":0})", "stop, answered 0"},
      {R"({"kind":"control","control":13,"eventType":18,"result":0})", "power event: resume automatic"},
      {R"({"kind":"control","control":14,"eventType":5,"session":3,"result":0})", "session change: logon, session 3"},
      {R"({"kind":"control","control":2,"result":120})", "120 (ERROR_CALL_NOT_IMPLEMENTED"},
      {R"({"kind":"process-ended","pid":9,"text":"killed by signal 9"})", "killed by signal 9, process 9"},
  };
  for (const Case& test : cases) EXPECT_THAT(HistoryLine(json::parse(test.entry)), HasSubstr(test.part));
}

}  // namespace
}  // namespace tool
