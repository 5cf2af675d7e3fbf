// The open registration with the event-tracing library.
#pragma once

#include <cstdint>

#include "device/hkd04a7_etw_dll.h"

namespace Quorvex::PC::Hkd04a7 {

// Provider and handle are set together by a successful open and cleared together. The library must stay loaded while
// the registration is open. Belongs to one thread.
class TraceRegistration {
 public:
  TraceRegistration() = default;
  // Closes the registration if it is open.
  ~TraceRegistration();
  TraceRegistration(const TraceRegistration&) = delete;
  TraceRegistration& operator=(const TraceRegistration&) = delete;

  // Opens a registration with `provider`. False with last error 1247 when one is held, 50 when the library cannot open
  // any, else with what the library left.
  bool Open(CHkd04a7etwDll& provider);

  bool IsOpen() const { return etwProvider_ != nullptr; }
  // Only while open.
  const CHkd04a7etwDll& Provider() const { return *etwProvider_; }
  std::uint64_t Handle() const { return etwHandle_; }

 private:
  CHkd04a7etwDll* etwProvider_ = nullptr;
  std::uint64_t etwHandle_ = 0;
};

}  // namespace Quorvex::PC::Hkd04a7
