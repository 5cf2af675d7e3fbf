// What the service answers to the procedures other than those of subscriptions, and what it was called with; led by the
// test.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "platform/rpc_interface.h"

namespace client {

class ScriptedProcedures {
 public:
  struct Answer {
    HRESULT result = 0;
    DWORD value = 0;       // of the [out] number
    RPC_STATUS raise = 0;  // not 0: the call ends with this status instead
  };

  // The one of this process, for the server routines.
  static ScriptedProcedures& Instance();

  // What `procedure` (without the prefix) answers from now on; without one it succeeds with 0.
  void Set(const std::string& procedure, const Answer& answer);
  // From now on calls do not answer until Release.
  void Hold();
  void Release();

  // "Device_CallFuncMethod 4098 1 2 3", in the order in which they came.
  std::vector<std::string> Calls();
  // Waits until so many calls have come; false after ten seconds.
  bool AwaitCalls(std::size_t number);

  // The server routines' part: notes the call and answers as scripted.
  Answer Serve(const std::string& procedure, const std::string& arguments = "");

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  std::map<std::string, Answer> answers_;
  std::vector<std::string> calls_;
  bool held_ = false;
};

}  // namespace client
