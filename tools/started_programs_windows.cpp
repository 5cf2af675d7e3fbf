#include "tools/started_programs.h"

namespace tool {

StartedPrograms::StartedPrograms() = default;

std::vector<StartedProgram> StartedPrograms::ByService(const StartedBy&) const {
  return {};
}

}  // namespace tool
