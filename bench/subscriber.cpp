#include "bench/subscriber.h"

#include "bench/temporary_machine.h"
#include "platform/host/rpc/hkd04a7_description.h"

using namespace host::rpc;

namespace bench {

EventClient Subscribe() {
  EventClient client;
  client.socket = ConnectAndBind(EndpointPath(), ProductInterface());
  if (client.socket < 0) CannotGoOn("connect");
  Call wait;
  wait.arguments.resize(2);
  wait.arguments[0].token = OpenHandle(client.socket, ProductProcedure(hkd04a7::kEventNotifyCreate));
  if (wait.arguments[0].token.IsNull()) CannotGoOn("subscribe");
  client.wait = RequestFor(ProductProcedure(hkd04a7::kEventNotifyWaitEventAsync), wait);
  return client;
}

}  // namespace bench
