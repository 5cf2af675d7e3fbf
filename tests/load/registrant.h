// A package that registers its app service again and again, and holds the service to what it was answered.
#pragma once

#include <string>

#include "client/app_services.h"

namespace load {

// Whatever becomes of the service: a change that was answered is there, one that was not is there whole or not at all.
// One thread.
class Registrant {
 public:
  explicit Registrant(unsigned number);

  // Looks what has become of the last change, then makes the next. Answers what is wrong, or nothing.
  std::string Round();

 private:
  std::string Begin(client::AppServices& services);
  std::string Change(client::AppServices& services, unsigned to);
  bool Look(client::AppServices& services, std::string* fault);
  client::Status Query(client::AppServices& services, unsigned name);

  const WideString package_;
  unsigned names_ = 0;  // given so far; an app service's name is a number
  unsigned last_ = 0;   // the name that was answered last, 0 for no registration
  unsigned tried_ = 0;  // the one that was asked for after that
};

}  // namespace load
