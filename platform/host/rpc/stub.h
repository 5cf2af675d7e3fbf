// The road between stub data and a routine: how one procedure's arguments are read from and written to the wire.
//
// An interface is described once, as data (hkd04a7_description.h); both transfer syntaxes and both sides (server
// and client) are driven by that description. The runtime owns everything that is not stub data: which value a context
// handle stands for, serialisation, asynchronous state, faults.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/host/base/types.h"

namespace host::rpc {

enum class Syntax : std::uint8_t { Ndr, Ndr64 };

// A context handle as it travels: 4 bytes of attributes and a UUID. Null is all zero.
struct ContextToken {
  std::array<std::byte, 20> bytes{};
  bool IsNull() const { return *this == ContextToken{}; }
  bool operator==(const ContextToken&) const = default;
};

struct ContextHandleType {
  const char* name;
  bool serialized;                         // calls on one handle run one after another
  void (*rundown)(void* value) = nullptr;  // called with the value behind the handle; null in a client's description
};

enum class ParameterKind : std::uint8_t { Binding, Long, WideString, Context, Record };
enum class Direction : std::uint8_t { In, Out, InOut };

struct Parameter {
  const char* name;
  ParameterKind kind;
  Direction direction;
  std::uint8_t contextType = 0;  // index into InterfaceDescription::contextTypes, for Context

  constexpr bool IsContextIn() const { return kind == ParameterKind::Context && direction != Direction::Out; }
  constexpr bool IsContextOut() const { return kind == ParameterKind::Context && direction != Direction::In; }
};

// One argument of one call. Which members count follows from the parameter's kind.
struct Argument {
  std::uint32_t number = 0;  // Long
  std::u16string text;       // WideString, without its terminator
  // Record: storage of three 32-bit words, in which the routine's structure lies.
  alignas(std::uint32_t) std::array<std::byte, 12> record{};
  ContextToken token;     // Context, as on the wire
  void* value = nullptr;  // Context: what the handle stands for in this process; Binding: the binding
};

struct Call {
  std::vector<Argument> arguments;  // one for each parameter, Binding included
  std::uint32_t result = 0;         // the procedure's HRESULT
};

struct Procedure {
  const char* name;
  bool asynchronous;
  std::span<const Parameter> parameters;
  // Calls the server routine with the arguments' storage: [out] locations point into `call`, which must stay where it
  // is until the call is complete. `asyncState` (a PRPC_ASYNC_STATE) is null for a synchronous procedure. Leaves with
  // host::rpc::Raised where the routine raises. Null in a client's description.
  void (*invoke)(Call& call, void* asyncState) = nullptr;
};

struct InterfaceDescription {
  UUID uuid;
  std::uint16_t majorVersion;
  std::uint16_t minorVersion;
  std::span<const Procedure> procedures;
  std::span<const ContextHandleType> contextTypes;
};

// Reads the [in] parameters of a request and makes room for the others: afterwards `call` has one argument for each
// parameter, [out] ones zero. Answers 0, or the fault to send: 0x6F7 (bad stub data), and `call` is then of no use.
// Reads nothing outside `stub` and keeps no reference to it. A null context token is not looked at here.
std::uint32_t ReadRequest(const Procedure& procedure, Syntax syntax, std::span<const std::byte> stub, Call& call);

// Appends the [out] parameters and the result; `stub` must begin as an empty vector (alignment counts from its start).
void WriteResponse(const Procedure& procedure, Syntax syntax, const Call& call, std::vector<std::byte>& stub);

// The client's side of the same: [in] parameters out, [out] parameters and the result in.
void WriteRequest(const Procedure& procedure, Syntax syntax, const Call& call, std::vector<std::byte>& stub);
std::uint32_t ReadResponse(const Procedure& procedure, Syntax syntax, std::span<const std::byte> stub, Call& call);

}  // namespace host::rpc
