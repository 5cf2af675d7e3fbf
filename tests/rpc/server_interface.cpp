#include "tests/rpc/server_interface.h"

#include <array>
#include <utility>

#include "platform/host/rpc/rpc_calls.h"
#include "platform/host/rpc/server_thunk.h"

using host::rpc::ContextHandleType;
using host::rpc::Direction;
using host::rpc::InterfaceDescription;
using host::rpc::Parameter;
using host::rpc::ParameterKind;
using host::rpc::Procedure;
using host::rpc::Thunk;

namespace {

struct Block {
  std::uint32_t number;
};

struct Record {
  std::uint32_t words[3];
};

HRESULT Open(handle_t, void** handle) {
  auto& server = TestServer::Instance();
  std::lock_guard guard(server.lock);
  *handle = new Block{++server.created};
  return 0;
}

HRESULT Close(void** handle) {
  delete static_cast<Block*>(std::exchange(*handle, nullptr));
  return 0;
}

HRESULT Work(handle_t, DWORD number, DWORD* answer) {
  auto& server = TestServer::Instance();
  const int running = ++server.running;
  int most = server.mostRunning;
  while (most < running && !server.mostRunning.compare_exchange_weak(most, running)) {
  }
  *answer = server.use ? server.use(number) : number;
  --server.running;
  return 0;
}

HRESULT Use(void*, DWORD number, DWORD* answer) {
  return Work(nullptr, number, answer);
}

void Wait(PRPC_ASYNC_STATE state, void*, Record* record) {
  auto& server = TestServer::Instance();
  const PendingWait wait{state, record->words};
  if (server.wait) return server.wait(wait);
  std::lock_guard guard(server.lock);
  server.pending.push_back(wait);
}

HRESULT Length(handle_t, const WCHAR* text, DWORD* length) {
  *length = static_cast<DWORD>(std::u16string_view(text).size());
  return 0;
}

template <int type>
void Rundown(void* value) {
  auto& server = TestServer::Instance();
  const std::string kind = type == 0 ? "session " : "subscription ";
  std::lock_guard guard(server.lock);
  server.rundowns.push_back(kind + std::to_string(static_cast<Block*>(value)->number));
  delete static_cast<Block*>(value);
}

constexpr ContextHandleType kContextTypes[] = {{"session", true, &Rundown<0>}, {"subscription", false, &Rundown<1>}};

constexpr Parameter kBinding{"binding", ParameterKind::Binding, Direction::In};
constexpr Parameter Handle(Direction direction, std::uint8_t type) {
  return {"handle", ParameterKind::Context, direction, type};
}
constexpr Parameter kNumber{"number", ParameterKind::Long, Direction::In};
constexpr Parameter kAnswer{"answer", ParameterKind::Long, Direction::Out};
constexpr Parameter kText{"text", ParameterKind::WideString, Direction::In};
constexpr Parameter kRecord{"record", ParameterKind::Record, Direction::Out};

template <std::uint8_t type>
constexpr std::array kOpens = {kBinding, Handle(Direction::Out, type)};
template <std::uint8_t type>
constexpr std::array kCloses = {Handle(Direction::InOut, type)};
template <std::uint8_t type>
constexpr std::array kUses = {Handle(Direction::In, type), kNumber, kAnswer};
template <std::uint8_t type>
constexpr std::array kWaits = {Handle(Direction::In, type), kRecord};
constexpr std::array kWorks = {kBinding, kNumber, kAnswer};
constexpr std::array kMeasures = {kBinding, kText, kAnswer};

constexpr Procedure kProcedures[kTestProcedureCount] = {
    {"OpenSession", false, kOpens<0>, &Thunk<&Open>::Invoke},
    {"CloseSession", false, kCloses<0>, &Thunk<&Close>::Invoke},
    {"UseSession", false, kUses<0>, &Thunk<&Use>::Invoke},
    {"SessionWait", true, kWaits<0>, &Thunk<&Wait>::Invoke},
    {"OpenSubscription", false, kOpens<1>, &Thunk<&Open>::Invoke},
    {"CloseSubscription", false, kCloses<1>, &Thunk<&Close>::Invoke},
    {"UseSubscription", false, kUses<1>, &Thunk<&Use>::Invoke},
    {"Wait", true, kWaits<1>, &Thunk<&Wait>::Invoke},
    {"Work", false, kWorks, &Thunk<&Work>::Invoke},
    {"Length", false, kMeasures, &Thunk<&Length>::Invoke},
};

}  // namespace

const InterfaceDescription kTestInterface = {
    {0x3f1c6a52, 0x8d0e, 0x4b7a, {0x91, 0x5c, 0x2e, 0x60, 0x7b, 0x14, 0xd3, 0x08}}, 1, 2, kProcedures, kContextTypes};
const InterfaceDescription kOtherInterface = {
    {0x7b90e211, 0x05c4, 0x4f3d, {0xa6, 0x77, 0x19, 0xd8, 0x4a, 0x2c, 0x5e, 0x90}},
    1,
    0,
    std::span(&kProcedures[kWork], 1),
    {}};

TestServer& TestServer::Instance() {
  static TestServer server;
  return server;
}

void TestServer::Reset() {
  running = mostRunning = 0;
  use = nullptr;
  wait = nullptr;
  std::lock_guard guard(lock);
  pending.clear();
  rundowns.clear();
  created = 0;
}

std::size_t TestServer::PendingCount() {
  std::lock_guard guard(lock);
  return pending.size();
}

PendingWait TestServer::TakePending() {
  std::lock_guard guard(lock);
  const PendingWait oldest = pending.front();
  pending.erase(pending.begin());
  return oldest;
}

std::vector<std::string> TestServer::Rundowns() {
  std::lock_guard guard(lock);
  return rundowns;
}
