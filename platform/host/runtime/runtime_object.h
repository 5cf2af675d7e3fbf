// What all objects of the runtime have in common: counted references, the interfaces they have, a class name. They may
// be called from every apartment.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "platform/host/base/com_method.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"
#include "platform/runtime.h"

namespace host::runtime {

// Adds to what LiveRuntimeObjects answers.
void CountObjects(int change);

// The name of a class as a string; E_POINTER for a null `name`.
HRESULT NameResult(std::u16string_view className, HSTRING* name);

// An interface that an object has.
template <typename T, const IID& Identity>
struct Has {
  using Interface = T;
  static constexpr const IID& kIdentity = Identity;
};

// Begins with one reference, its maker's; the last Release deletes it. Tests let "<short class name>.QueryInterface"
// fail.
template <typename First, typename... Others>
class RuntimeObject : public First::Interface, public Others::Interface... {
 public:
  RuntimeObject() { CountObjects(1); }
  RuntimeObject(const RuntimeObject&) = delete;
  RuntimeObject& operator=(const RuntimeObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    if (!object) return E_POINTER;
    *object = nullptr;
    return Method("IUnknown.QueryInterface", [&] {
      if (const auto code = InjectedFailure(ShortName() + ".QueryInterface")) return static_cast<HRESULT>(*code);
      *object = Find(iid);
      if (!*object) return E_NOINTERFACE;
      AddRef();
      return S_OK;
    });
  }

  ULONG STDMETHODCALLTYPE AddRef() final { return ++references_; }

  ULONG STDMETHODCALLTYPE Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE GetIids(ULONG*, IID**) final { Unsupported("IInspectable::GetIids", "any"); }

  HRESULT STDMETHODCALLTYPE GetRuntimeClassName(HSTRING* name) final {
    return Method("IInspectable.GetRuntimeClassName", [&] { return NameResult(ClassName(), name); });
  }

  HRESULT STDMETHODCALLTYPE GetTrustLevel(TrustLevel* level) final {
    if (!level) return E_POINTER;
    *level = BaseTrust;
    return S_OK;
  }

 protected:
  virtual ~RuntimeObject() { CountObjects(-1); }

  virtual std::u16string_view ClassName() const = 0;

 private:
  void* Find(REFIID iid) {
    void* found = nullptr;
    ((IsEqualIID(iid, Others::kIdentity) ? void(found = static_cast<typename Others::Interface*>(this)) : void()), ...);
    if (found) return found;
    const bool first = IsEqualIID(iid, First::kIdentity) || IsEqualIID(iid, IID_IUnknown) ||
                       IsEqualIID(iid, IID_IInspectable) || IsEqualIID(iid, IID_IAgileObject);
    return first ? static_cast<typename First::Interface*>(this) : nullptr;
  }

  std::string ShortName() const {
    const std::u16string_view name = ClassName();
    const auto last = name.substr(name.rfind(u'.') + 1);
    return {last.begin(), last.end()};
  }

  std::atomic<ULONG> references_ = 1;
};

}  // namespace host::runtime
