#include "appservice/event_value_set.h"

#include <new>

#include "appservice/runtime_string.h"
#include "platform/errors.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using Common::ReceiveInterface;
using Common::UniqueComPointer;

// The value set, and its face as a map.
struct EmptyMessage {
  UniqueComPointer<Runtime::IPropertySet> valueSet;
  UniqueComPointer<Runtime::IStringMap> map;
};

bool ActivateValueSet(EmptyMessage& message) {
  const RuntimeStringReference className(Runtime::kValueSetClass);
  UniqueComPointer<IInspectable> instance;
  return SUCCEEDED(className.Result()) && SUCCEEDED(RoActivateInstance(className.Get(), instance.Receive())) &&
         SUCCEEDED(instance.Get()->QueryInterface(Runtime::IID_IPropertySet, ReceiveInterface(message.valueSet))) &&
         SUCCEEDED(message.valueSet.Get()->QueryInterface(Runtime::IID_IStringMap, ReceiveInterface(message.map)));
}

bool GetPropertyValueStatics(UniqueComPointer<Runtime::IPropertyValueStatics>& statics) {
  const RuntimeStringReference className(Runtime::kPropertyValueClass);
  return SUCCEEDED(className.Result()) &&
         SUCCEEDED(
             RoGetActivationFactory(className.Get(), Runtime::IID_IPropertyValueStatics, ReceiveInterface(statics)));
}

UniqueComPointer<Runtime::IPropertySet> CreateMessage(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  EmptyMessage message;
  UniqueComPointer<Runtime::IPropertyValueStatics> statics;
  if (!ActivateValueSet(message) || !GetPropertyValueStatics(statics)) return {};
  const struct {
    const WCHAR* key;
    std::uint32_t value;
  } entries[] = {{W("hkd04a7event"), eventId}, {W("data1"), data1}, {W("data2"), data2}};
  for (const auto& [key, value] : entries) {
    if (FAILED(InsertUInt32Value(statics.Get(), message.map.Get(), key, value))) return {};
  }
  return std::move(message.valueSet);
}

}  // namespace

UniqueComPointer<Runtime::IPropertySet> CreateEventDataValueSet(std::uint32_t eventId, std::uint32_t data1,
                                                                std::uint32_t data2) {
  try {
    return CreateMessage(eventId, data1, data2);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

HRESULT InsertUInt32Value(Runtime::IPropertyValueStatics* statics, Runtime::IStringMap* map, const WCHAR* key,
                          std::uint32_t value) {
  const RuntimeStringReference name(key);
  UniqueComPointer<IInspectable> boxed;
  HRESULT result = name.Result();
  if (SUCCEEDED(result)) result = statics->CreateUInt32(value, boxed.Receive());
  boolean replaced = 0;
  if (SUCCEEDED(result)) result = map->Insert(name.Get(), boxed.Get(), &replaced);
  return result;
}

}  // namespace Quorvex::PC::Hkd04a7
