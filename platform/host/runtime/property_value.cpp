#include "platform/host/runtime/property_value.h"

#include "platform/host/runtime/runtime_object.h"

namespace host::runtime {

using namespace Runtime;

namespace {

[[noreturn]] void UnsupportedType(const char* method) {
  Unsupported(method, "any: only numbers of 32 bits are boxed");
}

class UInt32Value final : public RuntimeObject<Has<IPropertyValue, IID_IPropertyValue>> {
 public:
  explicit UInt32Value(UINT32 number) : number_(number) {}

  HRESULT STDMETHODCALLTYPE get_Type(PropertyType* type) override {
    if (!type) return E_POINTER;
    *type = PropertyType::UInt32;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_IsNumericScalar(boolean* numeric) override {
    if (!numeric) return E_POINTER;
    *numeric = TRUE;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetUInt8(BYTE*) override { UnsupportedType("IPropertyValue::GetUInt8"); }
  HRESULT STDMETHODCALLTYPE GetInt16(INT16*) override { UnsupportedType("IPropertyValue::GetInt16"); }
  HRESULT STDMETHODCALLTYPE GetUInt16(UINT16*) override { UnsupportedType("IPropertyValue::GetUInt16"); }
  HRESULT STDMETHODCALLTYPE GetInt32(INT32*) override { UnsupportedType("IPropertyValue::GetInt32"); }
  HRESULT STDMETHODCALLTYPE GetUInt32(UINT32* number) override {
    if (!number) return E_POINTER;
    *number = number_;
    return S_OK;
  }

 private:
  std::u16string_view ClassName() const override { return kPropertyValueClass; }

  const UINT32 number_;
};

class PropertyValueStatics final : public RuntimeObject<Has<IPropertyValueStatics, IID_IPropertyValueStatics>> {
 public:
  HRESULT STDMETHODCALLTYPE CreateEmpty(IInspectable**) override {
    UnsupportedType("IPropertyValueStatics::CreateEmpty");
  }
  HRESULT STDMETHODCALLTYPE CreateUInt8(BYTE, IInspectable**) override {
    UnsupportedType("IPropertyValueStatics::CreateUInt8");
  }
  HRESULT STDMETHODCALLTYPE CreateInt16(INT16, IInspectable**) override {
    UnsupportedType("IPropertyValueStatics::CreateInt16");
  }
  HRESULT STDMETHODCALLTYPE CreateUInt16(UINT16, IInspectable**) override {
    UnsupportedType("IPropertyValueStatics::CreateUInt16");
  }
  HRESULT STDMETHODCALLTYPE CreateInt32(INT32, IInspectable**) override {
    UnsupportedType("IPropertyValueStatics::CreateInt32");
  }
  HRESULT STDMETHODCALLTYPE CreateUInt32(UINT32 number, IInspectable** value) override {
    if (!value) return E_POINTER;
    *value = nullptr;
    return Method("IPropertyValueStatics.CreateUInt32", [&] {
      *value = BoxUInt32(number).Detach();
      return S_OK;
    });
  }

 private:
  std::u16string_view ClassName() const override { return kPropertyValueClass; }
};

}  // namespace

Reference<IPropertyValue> BoxUInt32(UINT32 number) {
  return Reference<IPropertyValue>::Adopt(new UInt32Value(number));
}

Reference<IInspectable> MakePropertyValueStatics() {
  return Reference<IInspectable>::Adopt(new PropertyValueStatics);
}

}  // namespace host::runtime
