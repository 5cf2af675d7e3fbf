#include "bench/processors.h"

#include <sched.h>

#include <cerrno>

namespace bench {

bool RunOn(const std::vector<unsigned>& processors) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (const unsigned processor : processors) {
    if (processor < CPU_SETSIZE) CPU_SET(processor, &set);
  }
  return sched_setaffinity(0, sizeof(set), &set) == 0;
}

}  // namespace bench
