// What a boot does to the registry.
#include "platform/host/base/error_codes.h"
#include "platform/host/registry/database.h"
#include "platform/host/registry/registry_control.h"

namespace host {
namespace {

// Rows go, the file stays: other processes may have it open. The sequence of key numbers goes on.
constexpr const char* kClear =
    "BEGIN IMMEDIATE; DELETE FROM vol.entries; DELETE FROM vol.keys; DELETE FROM vol.hives; COMMIT;";

}  // namespace

LSTATUS ClearVolatileRegistry(const MachineDirectory& directory) {
  DWORD code = ERROR_SUCCESS;
  const auto database = registry::Database::Open(directory, &code);
  if (database) code = database->Execute(kClear);
  return static_cast<LSTATUS>(code);
}

}  // namespace host
