// The owner of a Windows Runtime string, and a string over text that is there anyway.
#pragma once

#include "common/unique_resource.h"
#include "platform/runtime.h"

namespace Quorvex::PC::Hkd04a7 {

using UniqueRuntimeString = Common::UniqueResource<Common::NullableCloser<HSTRING, WindowsDeleteString>>;

// A string over null-terminated text, which must outlive it; nothing is copied. Stays where it is made.
class RuntimeStringReference {
 public:
  explicit RuntimeStringReference(WideStringView text)
      : result_(WindowsCreateStringReference(text.data(), static_cast<UINT32>(text.size()), &header_, &string_)) {}
  RuntimeStringReference(const RuntimeStringReference&) = delete;
  RuntimeStringReference& operator=(const RuntimeStringReference&) = delete;

  // Whether the string could be made; Get is null where not.
  HRESULT Result() const { return result_; }
  HSTRING Get() const { return string_; }

 private:
  HSTRING_HEADER header_{};
  HSTRING string_ = nullptr;
  HRESULT result_;
};

}  // namespace Quorvex::PC::Hkd04a7
