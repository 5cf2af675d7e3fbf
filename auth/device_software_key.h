// The registry key of the device's own driver, where its package keeps who may do what.
#pragma once

#include "common/handles.h"

namespace Quorvex::PC::Hkd04a7::Service {

// The software key of the first present device whose driver service is "hkd04a7", for KEY_READ; empty when there is no
// such device, or it has no such key. Looked up anew each time. Throws nothing; the last error means nothing.
Common::UniqueRegistryKey OpenDeviceSoftwareKey();

}  // namespace Quorvex::PC::Hkd04a7::Service
