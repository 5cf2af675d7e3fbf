#include "bench/device_control.h"

#include "platform/host/base/machine_directory.h"

namespace bench {

EventControl& DeviceControl() {
  return MapEventControl(host::CurrentMachineDirectory().runtime + "/control-device");
}

}  // namespace bench
