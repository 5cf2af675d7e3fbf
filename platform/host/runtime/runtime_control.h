// What tests do to the runtime, and what they look at afterwards. Any thread.
#pragma once

#include <string_view>

namespace host {

// From now on the class is not registered. RestoreRuntimeClasses undoes all of it.
void TakeAwayRuntimeClass(std::u16string_view name);
void RestoreRuntimeClasses();

// Objects and strings of this layer that somebody still holds, and what the layer holds itself for operations that go
// on.
int LiveRuntimeObjects();
int LiveRuntimeStrings();

}  // namespace host
