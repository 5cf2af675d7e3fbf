// Joining the runtime, and making objects of its classes by name.
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>

#include "platform/host/base/error_codes.h"
#include "platform/host/kernel/com.h"
#include "platform/host/runtime/app_service_connection.h"
#include "platform/host/runtime/property_value.h"
#include "platform/host/runtime/runtime_control.h"
#include "platform/host/runtime/string_text.h"
#include "platform/host/runtime/value_set.h"

namespace {

using host::runtime::Make;
using host::runtime::Reference;

// What a class offers; what is empty it does not.
struct RuntimeClass {
  std::function<Reference<IInspectable>()> activate;
  std::function<Reference<IInspectable>()> statics;
};

template <typename Object, typename Interface>
Reference<IInspectable> Activate() {
  return Reference<IInspectable>::Adopt(static_cast<Interface*>(Make<Object>().Detach()));
}

const std::map<std::u16string_view, RuntimeClass>& Classes() {
  using namespace host::runtime;
  static const auto* const classes = new std::map<std::u16string_view, RuntimeClass>{
      {Runtime::kValueSetClass, {Activate<ValueSet, Runtime::IPropertySet>, {}}},
      {Runtime::kPropertyValueClass, {{}, MakePropertyValueStatics}},
      {Runtime::kAppServiceConnectionClass, {Activate<AppServiceConnection, Runtime::IAppServiceConnection>, {}}}};
  return *classes;
}

struct TakenAway {
  std::mutex mutex;
  std::set<std::u16string, std::less<>> names;
};

TakenAway& Taken() {
  static auto* const taken = new TakenAway;
  return *taken;
}

// Null when it is not registered.
const RuntimeClass* FindClass(std::u16string_view name) {
  const auto found = Classes().find(name);
  if (found == Classes().end()) return nullptr;
  const std::lock_guard lock(Taken().mutex);
  return Taken().names.contains(name) ? nullptr : &found->second;
}

}  // namespace

HRESULT RoInitialize(RO_INIT_TYPE type) {
  if (const auto code = host::InjectedFailure("RoInitialize")) return static_cast<HRESULT>(*code);
  if (type != RO_INIT_SINGLETHREADED && type != RO_INIT_MULTITHREADED) return E_INVALIDARG;
  return CoInitializeEx(nullptr, type == RO_INIT_MULTITHREADED ? COINIT_MULTITHREADED : COINIT_APARTMENTTHREADED);
}

void RoUninitialize() {
  CoUninitialize();
}

HRESULT RoActivateInstance(HSTRING className, IInspectable** instance) {
  if (!instance) return E_POINTER;
  *instance = nullptr;
  return host::Method("RoActivateInstance", [&]() -> HRESULT {
    if (!host::IsInApartment()) return CO_E_NOTINITIALIZED;
    const RuntimeClass* found = FindClass(host::runtime::TextOf(className));
    if (!found) return REGDB_E_CLASSNOTREG;
    if (!found->activate) return E_NOTIMPL;
    *instance = found->activate().Detach();
    return S_OK;
  });
}

HRESULT RoGetActivationFactory(HSTRING className, REFIID iid, void** factory) {
  if (!factory) return E_POINTER;
  *factory = nullptr;
  return host::Method("RoGetActivationFactory", [&]() -> HRESULT {
    if (!host::IsInApartment()) return CO_E_NOTINITIALIZED;
    const RuntimeClass* found = FindClass(host::runtime::TextOf(className));
    if (!found) return REGDB_E_CLASSNOTREG;
    return found->statics ? found->statics()->QueryInterface(iid, factory) : E_NOINTERFACE;
  });
}

namespace host {

void TakeAwayRuntimeClass(std::u16string_view name) {
  const std::lock_guard lock(Taken().mutex);
  Taken().names.emplace(name);
}

void RestoreRuntimeClasses() {
  const std::lock_guard lock(Taken().mutex);
  Taken().names.clear();
}

}  // namespace host
