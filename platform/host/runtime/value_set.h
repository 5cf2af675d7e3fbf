// The class "Windows.Foundation.Collections.ValueSet": values by name, in the order of their first insertion.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/host/runtime/reference.h"
#include "platform/host/runtime/runtime_object.h"

namespace host::runtime {

class ValueSet final : public RuntimeObject<Has<Runtime::IPropertySet, Runtime::IID_IPropertySet>,
                                            Has<Runtime::IStringMap, Runtime::IID_IStringMap>> {
 public:
  using Entry = std::pair<std::u16string, Reference<IInspectable>>;

  HRESULT STDMETHODCALLTYPE Lookup(HSTRING key, IInspectable** value) override;
  HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) override;
  HRESULT STDMETHODCALLTYPE HasKey(HSTRING key, boolean* found) override;
  HRESULT STDMETHODCALLTYPE GetView(IInspectable** view) override;
  HRESULT STDMETHODCALLTYPE Insert(HSTRING key, IInspectable* value, boolean* replaced) override;

  // As they stand now.
  std::vector<Entry> Entries() const;

 private:
  std::u16string_view ClassName() const override { return Runtime::kValueSetClass; }
  std::size_t Position(std::u16string_view key) const;

  mutable std::mutex mutex_;
  std::vector<Entry> entries_;  // guarded by mutex_
};

}  // namespace host::runtime
