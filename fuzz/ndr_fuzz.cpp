// Stub data of the ten procedures, in either direction and in the transfer syntax HKD_FUZZ_SYNTAX: what can be read is
// written again and must then read the same.
#include <cstdint>

#include "fuzz/check.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/stub.h"

namespace {

using namespace host::rpc;

constexpr Syntax kSyntax = Syntax::HKD_FUZZ_SYNTAX;
constexpr std::uint8_t kResponseBit = 0x20;

bool SameArguments(const Call& left, const Call& right) {
  if (left.result != right.result || left.arguments.size() != right.arguments.size()) return false;
  for (std::size_t i = 0; i < left.arguments.size(); ++i) {
    const Argument& one = left.arguments[i];
    const Argument& other = right.arguments[i];
    if (one.number != other.number || one.text != other.text) return false;
    if (one.token != other.token || one.record != other.record) return false;
  }
  return true;
}

}  // namespace

// The first byte chooses procedure and direction.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Procedure& procedure = hkd04a7::kProcedures[(data[0] & 0x0F) % hkd04a7::kProcedureCount];
  const bool response = (data[0] & kResponseBit) != 0;
  const auto read = response ? &ReadResponse : &ReadRequest;
  const auto write = response ? &WriteResponse : &WriteRequest;

  Call call;
  if (read(procedure, kSyntax, std::as_bytes(std::span(data + 1, size - 1)), call) != 0) return 0;
  std::vector<std::byte> again;
  write(procedure, kSyntax, call, again);
  Check(again.size() <= size - 1, "stub data is not longer when written again");
  Call reread;
  Check(read(procedure, kSyntax, again, reread) == 0, "written stub data can be read");
  Check(SameArguments(call, reread), "written stub data reads the same");
  return 0;
}
