// Owner of a file descriptor.
#pragma once

#include <unistd.h>

#include <utility>

namespace machine {

class UniqueDescriptor {
 public:
  UniqueDescriptor() = default;
  explicit UniqueDescriptor(int descriptor) : descriptor_(descriptor) {}
  UniqueDescriptor(UniqueDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~UniqueDescriptor() { Close(); }

  int get() const { return descriptor_; }
  bool valid() const { return descriptor_ >= 0; }
  int Release() { return std::exchange(descriptor_, -1); }
  void Close() {
    if (descriptor_ >= 0) close(std::exchange(descriptor_, -1));
  }

 private:
  int descriptor_ = -1;
};

}  // namespace machine
