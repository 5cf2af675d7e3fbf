// The one owner of a COM or Windows Runtime reference.
#pragma once

#include "common/unique_resource.h"
#include "platform/com.h"

namespace Quorvex::PC::Common {

template <typename Interface>
struct ReferenceCloser {
  using Type = Interface*;
  static Type Empty() { return nullptr; }
  static void Close(Type object) { object->Release(); }
};

// Owns one reference to an object and releases it.
template <typename Interface>
using UniqueComPointer = UniqueResource<ReferenceCloser<Interface>>;

// A reference of its own to `object`, which may be null.
template <typename Interface>
UniqueComPointer<Interface> AddReference(Interface* object) {
  if (object != nullptr) object->AddRef();
  return UniqueComPointer<Interface>(object);
}

// The location for a call that hands out an interface as void**; what was held is released first.
template <typename Interface>
void** ReceiveInterface(UniqueComPointer<Interface>& pointer) {
  return reinterpret_cast<void**>(pointer.Receive());
}

}  // namespace Quorvex::PC::Common
