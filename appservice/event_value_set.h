// The message that app services get: a value set with the event's three numbers.
#pragma once

#include <cstdint>

#include "common/com_pointer.h"
#include "platform/runtime.h"

namespace Quorvex::PC::Hkd04a7 {

// A new value set with "hkd04a7event", "data1" and "data2", inserted in this order as boxed unsigned 32-bit numbers;
// null when a step fails. The calling thread must have joined the runtime.
Common::UniqueComPointer<Runtime::IPropertySet> CreateEventDataValueSet(std::uint32_t eventId, std::uint32_t data1,
                                                                        std::uint32_t data2);

// Boxes `value` and inserts it into `map` under `key`, instead of what was there.
HRESULT InsertUInt32Value(Runtime::IPropertyValueStatics* statics, Runtime::IStringMap* map, const WCHAR* key,
                          std::uint32_t value);

}  // namespace Quorvex::PC::Hkd04a7
