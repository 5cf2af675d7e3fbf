#include "client/interface_answers.h"

#include <algorithm>
#include <iterator>

namespace client {
namespace {

constexpr bool kRuntime = true;
constexpr bool kProcedure = false;

constexpr InterfaceAnswer kAnswers[] = {
    {0, kProcedure, "every procedure", "done"},
    {1, kProcedure, "device session: close; subscription: destroy", "nothing to close: the handle was null already"},
    {1, kProcedure, "subscription: wait", "the wait was cancelled, and its client had cancelled it too"},
    {1, kProcedure, "app service: query", "another app service is registered for the package and the event"},
    {0x80070006, kProcedure, "device session: call, wake-up status", "the session behind the handle is missing"},
    {0x80070057, kProcedure, "device session: wake-up status",
     "the kind is unknown, or there is no place for the answer"},
    {0x80070057, kProcedure, "run as system", "the command or its parameters are missing"},
    {0x800705B4, kProcedure, "device session: wake-up status",
     "the wake-up check after the last start or resume has not finished"},
    {0x80004005, kProcedure, "device session: call", "the device function failed"},
    {0x80004005, kProcedure, "device session: wake-up status", "the wake-up record could not be read"},
    {0x80004005, kProcedure, "app service: register, unregister, query", "the service could not tell who calls"},
    {0x8007007E, kProcedure, "device session: open",
     "the device utility library is not beside the service, or its path could not be formed"},
    {0x8007007F, kProcedure, "device session: open", "the device utility library lacks an entry point"},
    {0x8007000E, kProcedure, "device session: open; subscription: create", "out of memory"},
    {0x80070015, kProcedure, "subscription: wait", "the subscription no longer accepts waits: the service is stopping"},
    {0x800704C7, kProcedure, "subscription: wait", "the wait was cancelled by the service"},
    {0x800706FF, kRuntime, "subscription: wait", "another wait on the same subscription is still in progress"},
    {0x80070002, kProcedure, "app service: register", "the calling user's hive is not loaded"},
    {0x80070002, kProcedure, "app service: unregister, query", "nothing is registered for the package and the event"},
    {0x80070002, kProcedure, "run as system", "the program of the allow-list does not exist"},
    {0x800700EA, kProcedure, "app service: query", "the registered name has 40 characters or more"},
    {0x80070005, kProcedure, "run as system",
     "capability bit: the calling package is not granted this procedure, or the caller has no package; or the system "
     "denied access to the program"},
    {0x80004001, kProcedure, "run as system", "allow-list: it has no such command"},
    {0xFFFFFFFF, kProcedure, "run as system", "the wait for the program failed"},
    {5, kRuntime, "every procedure", "endpoint descriptor: the caller is not admitted to the endpoint"},
    {6, kRuntime, "every procedure on a handle",
     "the handle is of another type, of another client, or no longer there"},
    {87, kRuntime, "subscription: wait", "the subscription behind the handle is missing"},
    {1722, kRuntime, "every procedure", "nobody serves the endpoint: the service does not run"},
    {1723, kRuntime, "every procedure", "the service has as many calls as it takes"},
    {1726, kRuntime, "every procedure", "the service went away during the call"},
    {1727, kRuntime, "every procedure", "the service went away before the call was made"},
    {1745, kRuntime, "every procedure", "this version of the service does not offer the procedure"},
    {1775, kRuntime, "every procedure on a handle", "the handle is null: closed already, or never opened"},
    {1818, kRuntime, "every procedure", "the call was given up by its client"},
};

}  // namespace

std::vector<InterfaceAnswer> InterfaceAnswers(std::uint32_t code) {
  std::vector<InterfaceAnswer> found;
  auto match = [code](const InterfaceAnswer& answer) { return answer.code == code; };
  std::copy_if(std::begin(kAnswers), std::end(kAnswers), std::back_inserter(found), match);
  return found;
}

}  // namespace client
