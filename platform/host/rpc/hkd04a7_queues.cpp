// Tells the status of this process's RPC server how far its subscribers are behind. Linked into the programs that hold
// the product; nothing calls it.
#include "platform/host/rpc/server_status.h"
#include "rpc/event_notify_list.h"

namespace {

host::rpc::ServerQueues MeasureQueues() {
  Quorvex::PC::Hkd04a7::Service::RpcEventQueues queues;
  if (!Quorvex::PC::Hkd04a7::Service::TryMeasureQueues(&queues)) return {};
  return {{"events", queues.events}, {"longest", queues.longest}};
}

[[maybe_unused]] const bool g_told = [] {
  host::rpc::TellQueues(&MeasureQueues);
  return true;
}();

}  // namespace
