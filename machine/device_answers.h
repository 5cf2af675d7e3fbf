// How the simulated device answers a function call.
#pragma once

#include "machine/device_map.h"

namespace machine {

// A new device's state: it has every event source, three indexes of 0x101C, and nothing pending. The lock is held.
void ResetDeviceState(DeviceState& state);

// Answers one call and enters it in the trace: a scripted answer if there is one, else the device's own rules. A
// function the device does not know fails. Takes the lock; any thread.
DeviceAnswer AnswerDeviceCall(DeviceMap& map, const DeviceFunction& call);

// The script for `call`, or null. The lock is held.
DeviceScript* FindDeviceScript(DeviceMap& map, const DeviceFunction& call);

}  // namespace machine
