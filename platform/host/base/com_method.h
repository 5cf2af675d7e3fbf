// What every method of a COM or runtime object on the host begins and ends with.
#pragma once

#include <new>
#include <string_view>
#include <system_error>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/types.h"

namespace host {

// Runs the body of a method that tests may let fail under the name `call`. Nothing is thrown out of it.
template <typename Body>
HRESULT Method(std::string_view call, Body body) {
  if (const auto code = InjectedFailure(call)) return static_cast<HRESULT>(*code);
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::system_error&) {
    return E_OUTOFMEMORY;  // no more threads
  }
}

}  // namespace host
