#include "machine/task_instance.h"

#include <cstdint>
#include <cstdio>
#include <random>

namespace machine {

std::string NewTaskInstance() {
  std::random_device random;
  const std::uint32_t first = random(), second = random(), third = random(), fourth = random();
  constexpr unsigned kVersion = 0x4000, kVariant = 0x8000;
  char text[40];
  std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%04X-%04X%08X}", first, second >> 16, kVersion | (second & 0x0FFF),
                kVariant | (third >> 16 & 0x3FFF), third & 0xFFFF, fourth);
  return text;
}

}  // namespace machine
