// The run-time parameters of a task: an event in three decimal strings.
#pragma once

#include <cstdint>

#include "common/unique_resource.h"
#include "platform/automation.h"

namespace Quorvex::PC::Hkd04a7 {

using UniqueBstr = Common::UniqueResource<Common::NullableCloser<BSTR, SysFreeString>>;

// A copy of `text`, which is not null. Throws AutomationFailure.
UniqueBstr MakeBstr(const WCHAR* text);

struct TaskParameters {
  UniqueBstr eventId;
  UniqueBstr data1;
  UniqueBstr data2;
};

// Throws AutomationFailure.
TaskParameters MakeTaskParameters(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2);

// The parameters as a task is given them: an array of three strings, from 0, that are copies. Belongs to one thread.
class TaskParameterArray {
 public:
  // Throws AutomationFailure.
  explicit TaskParameterArray(const TaskParameters& parameters);
  ~TaskParameterArray();
  TaskParameterArray(const TaskParameterArray&) = delete;
  TaskParameterArray& operator=(const TaskParameterArray&) = delete;

  // What it holds stays the object's.
  const VARIANT& Variant() const { return variant_; }

 private:
  VARIANT variant_;
};

}  // namespace Quorvex::PC::Hkd04a7
