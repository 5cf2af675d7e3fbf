// The service, which kills itself right before a chosen call: the file "doom" in its machine's run-time folder, where
// there is one, names the call and its how-manieth.
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <string>

#include "platform/host/base/fault_injection.h"
#include "platform/host/base/machine_directory.h"
#include "platform/process_entry.h"
#include "service/entry_point.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
  std::ifstream doom(host::CurrentMachineDirectory().runtime + "/doom");
  std::string call;
  unsigned nth = 0;
  if (doom >> call >> nth) {
    host::AtCall(call, [left = std::make_shared<std::atomic<unsigned>>(nth)] {
      if (--*left == 0) kill(getpid(), SIGKILL);
    });
  }
  return Quorvex::PC::Hkd04a7::Service::RunProcess(__argc, __wargv);
}
