// The order of names that differ in more than case: of services and of users.
#pragma once

#include <string>

#include "platform/host/base/text.h"

namespace machine {

struct NameLess {
  bool operator()(const std::string& left, const std::string& right) const {
    return host::CompareNoCase(host::ToUtf16(left), host::ToUtf16(right)) < 0;
  }
};

}  // namespace machine
