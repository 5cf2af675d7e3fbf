// The one owner of platform resources: handles, registry keys, libraries, allocated blocks.
//
// Closing never disturbs the thread's last error, so a failure can still be reported after its scope has closed what it
// had opened. An owner is moved, never copied, and belongs to one thread at a time.
#pragma once

#include <utility>

#include "platform/errors.h"
#include "platform/types.h"

namespace Quorvex::PC::Common {

// Closer: a function object with `using Type = ...;`, `static Type Empty()` and `static void Close(Type)`.
template <typename Closer>
class UniqueResource {
 public:
  using Type = typename Closer::Type;

  UniqueResource() = default;
  explicit UniqueResource(Type resource) : resource_(resource) {}
  UniqueResource(UniqueResource&& other) noexcept : resource_(other.Release()) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  ~UniqueResource() { Reset(); }

  explicit operator bool() const { return resource_ != Closer::Empty(); }
  Type Get() const { return resource_; }
  Type Release() { return std::exchange(resource_, Closer::Empty()); }

  // Closes what is held, if anything, and holds `resource` from now on.
  void Reset(Type resource = Closer::Empty()) {
    const Type old = std::exchange(resource_, resource);
    if (old == Closer::Empty() || old == resource) return;
    const DWORD lastError = GetLastError();
    Closer::Close(old);
    SetLastError(lastError);
  }

  // The location for a platform call that hands out a new resource; what was held is closed first.
  Type* Receive() {
    Reset();
    return &resource_;
  }

 private:
  Type resource_ = Closer::Empty();
};

// A closer for resources whose empty value is null.
template <typename T, auto CloseFunction>
struct NullableCloser {
  using Type = T;
  static Type Empty() { return nullptr; }
  static void Close(Type resource) { CloseFunction(resource); }
};

}  // namespace Quorvex::PC::Common
