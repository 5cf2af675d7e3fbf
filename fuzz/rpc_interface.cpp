#include "fuzz/rpc_interface.h"

#include <array>
#include <utility>

#include "fuzz/check.h"
#include "platform/host/rpc/hkd04a7_description.h"
#include "platform/host/rpc/server_thunk.h"

namespace {

using namespace host::rpc;

int liveValues;

constexpr int kMark = 0x51AE;

struct Value {
  Value() { ++liveValues; }
  ~Value() { --liveValues; }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
  const int mark = kMark;
};

HRESULT Open(handle_t, void** handle) {
  *handle = new Value;
  return 0;
}

HRESULT Close(void** handle) {
  delete static_cast<Value*>(std::exchange(*handle, nullptr));
  return 0;
}

HRESULT Use(void* handle, DWORD number, DWORD* answer) {
  Check(static_cast<Value*>(handle)->mark == kMark, "a routine gets the value of its handle");
  *answer = number;
  return 0;
}

void Rundown(void* value) {
  delete static_cast<Value*>(value);
}

constexpr ContextHandleType kContextTypes[] = {{"value", true, &Rundown}};
constexpr Parameter Handle(Direction direction) {
  return {"handle", ParameterKind::Context, direction, 0};
}
constexpr std::array kOpenParameters = {hkd04a7::kBinding, Handle(Direction::Out)};
constexpr std::array kCloseParameters = {Handle(Direction::InOut)};
constexpr std::array kUseParameters = {Handle(Direction::In), hkd04a7::InLong("number"), hkd04a7::OutLong("answer")};
constexpr Procedure kProcedures[kFuzzProcedureCount] = {{"Open", false, kOpenParameters, &Thunk<&Open>::Invoke},
                                                        {"Close", false, kCloseParameters, &Thunk<&Close>::Invoke},
                                                        {"Use", false, kUseParameters, &Thunk<&Use>::Invoke}};

}  // namespace

const InterfaceDescription kOpenInterface{
    {0x0F0E0D0C, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}}, 1, 4, kProcedures, kContextTypes};
const InterfaceDescription kGuardedInterface{
    {0x0F0E0D0C, 1, 3, {3, 4, 5, 6, 7, 8, 9, 10}}, 1, 0, kProcedures, kContextTypes};

int LiveValues() {
  return liveValues;
}
