// Boxed numbers, and what boxes them.
#pragma once

#include "platform/host/runtime/reference.h"
#include "platform/runtime.h"

namespace host::runtime {

// A boxed number of 32 bits.
Reference<Runtime::IPropertyValue> BoxUInt32(UINT32 number);

// What the class "Windows.Foundation.PropertyValue" has apart from objects.
Reference<IInspectable> MakePropertyValueStatics();

}  // namespace host::runtime
