#include "client/status.h"

#include "client/code_names.h"

namespace client {
namespace {

constexpr std::uint32_t kNotAcceptingWaits = 0x80070015;
constexpr std::uint32_t kWaitCancelled = 0x800704C7;

}  // namespace

std::string_view Status::CodeName() const {
  return FromRuntime() ? client::CodeName(Code()) : ResultName(Code());
}

bool Status::ServiceNotReachable() const {
  switch (rpc) {
    case RPC_S_UNKNOWN_IF:
    case RPC_S_SERVER_UNAVAILABLE:
    case RPC_S_CALL_FAILED:
    case RPC_S_CALL_FAILED_DNE:
    case EPT_S_NOT_REGISTERED:
      return true;
    default:
      return false;
  }
}

bool Status::ServiceStopping() const {
  const auto code = static_cast<std::uint32_t>(result);
  return rpc == RPC_S_OK && (code == kNotAcceptingWaits || code == kWaitCancelled);
}

std::string Describe(const Status& status) {
  const std::string code = status.FromRuntime() ? DescribeCode(status.Code()) : DescribeResult(status.Code());
  return std::string(status.operation) + " answered " + code;
}

}  // namespace client
