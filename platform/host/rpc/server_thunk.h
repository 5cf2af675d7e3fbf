// From a server routine's signature to the slots of a Call: Thunk<&Routine>::Invoke fits Procedure::invoke.
#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include "platform/host/rpc/rpc_async.h"
#include "platform/host/rpc/stub.h"

namespace host::rpc {

// An argument's storage, as a routine's parameter of type T. Anything not named here is a structure returned by
// pointer.
template <typename T>
T ArgumentAs(Argument& argument) {
  using Structure = std::remove_pointer_t<T>;
  static_assert(std::is_pointer_v<T> && std::is_trivial_v<Structure> && sizeof(Structure) == sizeof(argument.record));
  static_assert(alignof(Structure) <= alignof(std::uint32_t));
  return ::new (argument.record.data()) Structure{};
}
template <>
inline void* ArgumentAs<void*>(Argument& argument) {
  return argument.value;
}
template <>
inline void** ArgumentAs<void**>(Argument& argument) {
  return &argument.value;
}
template <>
inline DWORD ArgumentAs<DWORD>(Argument& argument) {
  return argument.number;
}
template <>
inline DWORD* ArgumentAs<DWORD*>(Argument& argument) {
  return &argument.number;
}
template <>
inline const WCHAR* ArgumentAs<const WCHAR*>(Argument& argument) {
  return argument.text.c_str();
}

template <auto routine>
struct Thunk;

template <typename... Parameters, HRESULT (*routine)(Parameters...)>
struct Thunk<routine> {
  static void Invoke(Call& call, void*) {
    [&]<std::size_t... index>(std::index_sequence<index...>) {
      call.result = static_cast<std::uint32_t>(routine(ArgumentAs<Parameters>(call.arguments[index])...));
    }
    (std::index_sequence_for<Parameters...>{});
  }
};

// An asynchronous routine gets the call's state ahead of the wire parameters; its result comes with the completion.
template <typename... Parameters, void (*routine)(PRPC_ASYNC_STATE, Parameters...)>
struct Thunk<routine> {
  static void Invoke(Call& call, void* asyncState) {
    [&]<std::size_t... index>(std::index_sequence<index...>) {
      routine(static_cast<PRPC_ASYNC_STATE>(asyncState), ArgumentAs<Parameters>(call.arguments[index])...);
    }
    (std::index_sequence_for<Parameters...>{});
  }
};

}  // namespace host::rpc
