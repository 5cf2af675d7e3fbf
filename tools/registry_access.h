// The registry calls in the form that the tool needs: whole keys and values at once, codes as results.
#pragma once

#include <string>
#include <vector>

#include "platform/registry.h"
#include "tools/registry_path.h"

namespace tool {

// Owner of one open key.
class RegistryKey {
 public:
  RegistryKey() = default;
  ~RegistryKey();
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;

  // `access` includes the view's flag. Returns the Win32 code. Call one of them, once.
  LSTATUS Open(const RegistryPath& path, REGSAM access);
  LSTATUS Create(const RegistryPath& path, REGSAM access, bool isVolatile);

  LSTATUS Read(const WideString& name, RegistryValue* value) const;
  LSTATUS Write(const WideString& name, const RegistryValue& value) const;
  LSTATUS DeleteValue(const WideString& name) const;
  LSTATUS DeleteEverything() const;  // values and subkeys; the key stays

  struct Named {
    WideString name;
    RegistryValue value;
  };
  LSTATUS ReadAll(std::vector<Named>* values) const;
  LSTATUS SubKeys(std::vector<WideString>* names) const;

 private:
  HKEY key_ = nullptr;
};

}  // namespace tool
