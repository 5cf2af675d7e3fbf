#include "machine/instance_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstring>

namespace machine {

UniqueDescriptor LockInstance(const std::string& path, std::string* error) {
  UniqueDescriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!file.valid()) {
    *error = "cannot open " + path + ": " + std::strerror(errno);
    return {};
  }
  if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    char holder[32] = {};
    const bool known = pread(file.get(), holder, sizeof(holder) - 1, 0) > 0;
    *error = std::string("the machine is up already") + (known ? " (process " + std::string(holder) + ")" : "");
    return {};
  }
  const std::string pid = std::to_string(getpid());
  if (ftruncate(file.get(), 0) != 0 || pwrite(file.get(), pid.data(), pid.size(), 0) < 0) {
    *error = "cannot write " + path + ": " + std::strerror(errno);
    return {};
  }
  return file;
}

}  // namespace machine
