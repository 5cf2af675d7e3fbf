#include "platform/host/automation/automation.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"

void VariantInit(VARIANT* variant) {
  *variant = VARIANT{};
}

HRESULT VariantClear(VARIANT* variant) {
  if (const auto code = host::InjectedFailure("VariantClear")) return static_cast<HRESULT>(*code);
  switch (variant->vt) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I4:
      break;
    case VT_BSTR:
      SysFreeString(variant->bstrVal);
      break;
    case VT_ARRAY | VT_BSTR:
    case VT_ARRAY | VT_I4:
      if (const HRESULT destroyed = SafeArrayDestroy(variant->parray); FAILED(destroyed)) return destroyed;
      break;
    default:
      return DISP_E_BADVARTYPE;
  }
  *variant = VARIANT{};
  return S_OK;
}
