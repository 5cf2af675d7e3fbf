// What making a string, an array or a variant of COM automation raises when there is no memory for it.
#pragma once

#include <new>

#include "platform/types.h"

namespace Quorvex::PC::Hkd04a7 {

// Like every other allocation failure to those who catch it.
class AutomationFailure : public std::bad_alloc {
 public:
  explicit AutomationFailure(HRESULT result) : result_(result) {}
  HRESULT Result() const { return result_; }
  const char* what() const noexcept override { return "no memory for automation data"; }

 private:
  HRESULT result_;
};

}  // namespace Quorvex::PC::Hkd04a7
