#include "tools/status_text.h"

#include <nlohmann/json.hpp>

namespace tool {

std::string StatusText(const nlohmann::json& status) {
  return status.dump(2);
}

}  // namespace tool
