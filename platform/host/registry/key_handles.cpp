#include "platform/host/registry/key_handles.h"

#include <mutex>
#include <unordered_map>

#include "platform/host/registry/registry_control.h"

namespace host::registry {
namespace {

// Values are not used twice, so a stale handle is always found out. They are multiples of four, as the platform's.
class HandleTable {
 public:
  static HandleTable& Instance() {
    static auto* table = new HandleTable;
    return *table;
  }

  std::optional<KeyHandle> Find(HKEY handle) {
    std::scoped_lock lock(mutex_);
    const auto found = handles_.find(handle);
    return found == handles_.end() ? std::nullopt : std::optional(found->second);
  }

  HKEY Open(const KeyHandle& entry) {
    std::scoped_lock lock(mutex_);
    const auto handle = reinterpret_cast<HKEY>(next_);
    next_ += 4;
    handles_.emplace(handle, entry);
    return handle;
  }

  bool Close(HKEY handle) {
    std::scoped_lock lock(mutex_);
    return handles_.erase(handle) == 1;
  }

  std::size_t Count() {
    std::scoped_lock lock(mutex_);
    return handles_.size();
  }

 private:
  std::mutex mutex_;
  std::unordered_map<HKEY, KeyHandle> handles_;
  ULONG_PTR next_ = 0x10000;
};

REGSAM KeyRights(REGSAM access) {
  REGSAM rights = access & KEY_ALL_ACCESS;
  if (access & (GENERIC_ALL | MAXIMUM_ALLOWED)) rights |= KEY_ALL_ACCESS;
  if (access & (GENERIC_READ | GENERIC_EXECUTE)) rights |= KEY_READ;
  if (access & GENERIC_WRITE) rights |= KEY_WRITE;
  return rights;
}

}  // namespace

std::optional<KeyHandle> FindKeyHandle(HKEY handle) {
  if (handle == HKEY_LOCAL_MACHINE) return KeyHandle{kMachineRoot, KEY_ALL_ACCESS, true};
  if (handle == HKEY_USERS) return KeyHandle{kUsersRoot, KEY_ALL_ACCESS, true};
  if (handle == HKEY_CURRENT_USER) return KeyHandle{kCurrentUser, KEY_ALL_ACCESS, true};
  return HandleTable::Instance().Find(handle);
}

HKEY OpenKeyHandle(KeyId key, REGSAM access) {
  return HandleTable::Instance().Open({key, KeyRights(access), false});
}

bool CloseKeyHandle(HKEY handle) {
  return HandleTable::Instance().Close(handle);
}

}  // namespace host::registry

std::size_t host::OpenRegistryKeyCount() {
  return registry::HandleTable::Instance().Count();
}
