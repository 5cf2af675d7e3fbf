#include "machine/device_map.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "machine/device_answers.h"

namespace machine {
namespace {

// Names the layout; a change of it changes this.
constexpr std::uint64_t kMagic = 0x31304564'6B486476;

class File {
 public:
  File(const std::string& path, bool create)
      : descriptor_(open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0600)) {}
  ~File() {
    if (descriptor_ < 0) return;
    // A mapping keeps the open file, and with it its lock, beyond the descriptor.
    flock(descriptor_, LOCK_UN);
    close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int Descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

void SetError(std::string* error, const std::string& what) {
  if (error != nullptr) *error = what;
}

void InitializeSharedMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

// The file's pages are all zero here, which is what every member but these starts as.
void InitializeMap(DeviceMap& map) {
  InitializeSharedMutex(&map.lock);
  for (DeviceWaiterSlot& slot : map.waiters) InitializeSharedMutex(&slot.alive);
  ResetDeviceState(map.state);
  map.size = sizeof(DeviceMap);
  map.magic.store(kMagic, std::memory_order_release);
}

// True when the file has its full size; a new one is given it. The file is locked, so that one process alone makes it.
bool EnsureSize(int descriptor, bool create) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) return false;
  if (status.st_size == static_cast<off_t>(sizeof(DeviceMap))) return true;
  if (status.st_size != 0 || !create) {
    errno = EINVAL;
    return false;
  }
  return ftruncate(descriptor, sizeof(DeviceMap)) == 0;
}

}  // namespace

std::unique_ptr<DeviceMapping> DeviceMapping::Open(const std::string& runtime, bool create, std::string* error) {
  const std::string path = runtime + "/device.map";
  const File file(path, create);
  if (file.Descriptor() < 0) {
    SetError(error, path + ": " + std::strerror(errno));
    return nullptr;
  }
  if (flock(file.Descriptor(), LOCK_EX) != 0 || !EnsureSize(file.Descriptor(), create)) {
    SetError(error, path + ": not a device of this version (" + std::strerror(errno) + ")");
    return nullptr;
  }
  void* pages = mmap(nullptr, sizeof(DeviceMap), PROT_READ | PROT_WRITE, MAP_SHARED, file.Descriptor(), 0);
  if (pages == MAP_FAILED) {
    SetError(error, path + ": " + std::strerror(errno));
    return nullptr;
  }
  std::unique_ptr<DeviceMapping> mapping(new DeviceMapping(static_cast<DeviceMap*>(pages)));
  DeviceMap& map = mapping->Map();
  if (create && map.magic.load(std::memory_order_acquire) == 0) InitializeMap(map);
  if (map.magic.load(std::memory_order_acquire) != kMagic || map.size != sizeof(DeviceMap)) {
    SetError(error, path + ": not a device of this version");
    return nullptr;
  }
  return mapping;
}

std::unique_ptr<DeviceMapping> DeviceMapping::OpenOrCreate(const std::string& runtime, std::string* error) {
  return Open(runtime, true, error);
}

std::unique_ptr<DeviceMapping> DeviceMapping::OpenExisting(const std::string& runtime, std::string* error) {
  return Open(runtime, false, error);
}

DeviceMapping::~DeviceMapping() {
  munmap(map_, sizeof(DeviceMap));
}

DeviceLock::DeviceLock(DeviceMap& map) : map_(map) {
  const int result = pthread_mutex_lock(&map_.lock);
  if (result == EOWNERDEAD) {
    map_.callsInProgress.store(0, std::memory_order_relaxed);
    pthread_mutex_consistent(&map_.lock);
  } else if (result != 0) {
    // Only a map that something else has overwritten comes here; nothing in it can be trusted.
    std::fprintf(stderr, "device.map: its lock is damaged (%s)\n", std::strerror(result));
    std::abort();
  }
}

DeviceLock::~DeviceLock() {
  pthread_mutex_unlock(&map_.lock);
}

std::uint64_t MonotonicNanoseconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000u + static_cast<std::uint64_t>(now.tv_nsec);
}

}  // namespace machine
