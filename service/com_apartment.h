// Membership of the calling thread in the multithreaded COM apartment.
#pragma once

#include "platform/com.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7::Service {

// Joins at construction and leaves at destruction, on the same thread; leaves only what it has joined.
class ComApartment {
 public:
  ComApartment() : joined_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
  ~ComApartment() {
    if (joined_) CoUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

 private:
  bool joined_;
};

}  // namespace Quorvex::PC::Hkd04a7::Service
