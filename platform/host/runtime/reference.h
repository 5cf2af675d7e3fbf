// The owner of one reference to an object with IUnknown's reference counting.
#pragma once

#include <utility>

namespace host::runtime {

template <typename Object>
class Reference {
 public:
  Reference() = default;
  // Shares `object`, which may be null.
  explicit Reference(Object* object) : object_(object) {
    if (object_) object_->AddRef();
  }
  Reference(const Reference& other) : Reference(other.object_) {}
  Reference(Reference&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Reference& operator=(Reference other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Reference() {
    if (object_) object_->Release();
  }

  // Takes over the reference that the caller has.
  static Reference Adopt(Object* object) {
    Reference reference;
    reference.object_ = object;
    return reference;
  }

  explicit operator bool() const { return object_ != nullptr; }
  Object* operator->() const { return object_; }
  Object* Get() const { return object_; }
  // Gives the reference to the caller.
  Object* Detach() { return std::exchange(object_, nullptr); }

 private:
  Object* object_ = nullptr;
};

// A new object, with its first reference.
template <typename Object, typename... Arguments>
Reference<Object> Make(Arguments&&... arguments) {
  return Reference<Object>::Adopt(new Object(std::forward<Arguments>(arguments)...));
}

}  // namespace host::runtime
