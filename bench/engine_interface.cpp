#include "bench/engine_interface.h"

#include <array>
#include <utility>

#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_thunk.h"

using namespace host::rpc;

namespace bench {

namespace {

struct Block {
  DWORD calls = 0;
};

HRESULT Open(handle_t, void** handle) {
  *handle = new Block;
  return 0;
}

HRESULT Close(void** handle) {
  delete static_cast<Block*>(std::exchange(*handle, nullptr));
  return 0;
}

HRESULT CallOnHandle(void* handle, DWORD word1, DWORD word2, DWORD word3, DWORD word4, DWORD* sum) {
  ++static_cast<Block*>(handle)->calls;
  *sum = word1 + word2 + word3 + word4;
  return 0;
}

void Rundown(void* handle) {
  delete static_cast<Block*>(handle);
}

constexpr Parameter Handle(Direction direction) {
  return {"handle", ParameterKind::Context, direction, 0};
}
constexpr Parameter kWord{"word", ParameterKind::Long, Direction::In};

constexpr std::array kOpens = {Parameter{"binding", ParameterKind::Binding, Direction::In}, Handle(Direction::Out)};
constexpr std::array kCloses = {Handle(Direction::InOut)};
constexpr std::array kCalls = {
    Handle(Direction::In), kWord, kWord, kWord, kWord, Parameter{"sum", ParameterKind::Long, Direction::Out}};

constexpr Procedure kProcedures[kEngineProcedureCount] = {
    {"Open", false, kOpens, &Thunk<&Open>::Invoke},
    {"Close", false, kCloses, &Thunk<&Close>::Invoke},
    {"Call", false, kCalls, &Thunk<&CallOnHandle>::Invoke},
};
constexpr ContextHandleType kHandleTypes[] = {{"bench handle", true, &Rundown}};

}  // namespace

const InterfaceDescription kEngineInterface = {
    {0x0d2f7c15, 0x6b3a, 0x4e88, {0xb4, 0x1f, 0x52, 0x9a, 0xc7, 0x03, 0xe6, 0x71}}, 1, 0, kProcedures, kHandleTypes};

bool OfferEngineInterface() {
  return RpcServerRegisterIf3(const_cast<InterfaceDescription*>(&kEngineInterface), nullptr, nullptr,
                              RPC_IF_AUTOLISTEN | RPC_IF_ALLOW_LOCAL_ONLY, RPC_C_LISTEN_MAX_CALLS_DEFAULT, 0, nullptr,
                              nullptr) == RPC_S_OK;
}

SyntaxId EngineInterface() {
  return {kEngineInterface.uuid, kEngineInterface.majorVersion, kEngineInterface.minorVersion};
}

Target EngineTarget(EngineProcedure procedure) {
  return {&kProcedures[procedure], procedure};
}

}  // namespace bench
