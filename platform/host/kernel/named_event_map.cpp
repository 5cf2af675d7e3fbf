#include "platform/host/kernel/named_event_map.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace host {
namespace {

bool HasWholeSize(int fd, bool create) {
  if (create && ftruncate(fd, sizeof(NamedEventMap)) != 0) return false;
  struct stat status {};
  if (fstat(fd, &status) != 0) return false;
  if (static_cast<std::size_t>(status.st_size) >= sizeof(NamedEventMap)) return true;
  errno = EINVAL;
  return false;
}

void* MapDescriptor(int fd, bool create) {
  if (!HasWholeSize(fd, create)) return MAP_FAILED;
  return mmap(nullptr, sizeof(NamedEventMap), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
}

}  // namespace

std::shared_ptr<NamedEventMap> OpenNamedEventMap(const std::string& runtime, bool create) {
  const std::string path = runtime + "/events.map";
  const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0600);
  if (fd < 0) return nullptr;
  void* memory = MapDescriptor(fd, create);
  const int error = errno;
  close(fd);
  errno = error;
  if (memory == MAP_FAILED) return nullptr;
  return {static_cast<NamedEventMap*>(memory), [](NamedEventMap* map) { munmap(map, sizeof(*map)); }};
}

}  // namespace host
