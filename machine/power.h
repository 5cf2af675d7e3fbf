// Suspend and resume, as the services hear of them: operations "power.suspend" and "power.resume". Loop thread only.
#pragma once

#include "machine/op_registry.h"
#include "machine/service_manager.h"

namespace machine {

class Power {
 public:
  explicit Power(ServiceManager& services) : services_(services) {}

  // A resume sends the notifications it names (6, 7, 18; any of them, in any order, or none), by default 18 then 7, and
  // is answered when the last handler has. It needs no suspend before it, nor does a suspend need a resume.
  void AddOperations(OpRegistry& operations);

  bool suspended() const { return suspended_; }
  void Boot() { suspended_ = false; }

 private:
  void Resume(const Request& request);
  void Tell(std::vector<DWORD> eventTypes, const Responder& responder);

  ServiceManager& services_;
  bool suspended_ = false;
};

}  // namespace machine
