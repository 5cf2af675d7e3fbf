#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <new>

#include "platform/host/automation/automation.h"
#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/unsupported.h"

namespace {

std::atomic<int> liveArrays{0};

bool HoldsStrings(const SAFEARRAY& array) {
  return (array.fFeatures & FADF_BSTR) != 0;
}

BSTR* Strings(SAFEARRAY& array) {
  return static_cast<BSTR*>(array.pvData);
}

// Zeroes; null when there is no memory. Never null for no elements.
void* NewElements(std::size_t count, std::size_t size) {
  const std::size_t bytes = std::max<std::size_t>(count * size, 1);
  void* data = operator new(bytes, std::nothrow);
  if (data != nullptr) std::memset(data, 0, bytes);
  return data;
}

void FreeStrings(SAFEARRAY& array, std::size_t from) {
  if (!HoldsStrings(array)) return;
  for (std::size_t at = from; at < array.rgsabound[0].cElements; ++at) SysFreeString(Strings(array)[at]);
}

bool CopyElements(SAFEARRAY& from, SAFEARRAY& to) {
  const std::size_t count = from.rgsabound[0].cElements;
  if (!HoldsStrings(from)) {
    std::memcpy(to.pvData, from.pvData, count * from.cbElements);
    return true;
  }
  for (std::size_t at = 0; at < count; ++at) {
    const BSTR text = Strings(from)[at];
    if (text == nullptr) continue;
    Strings(to)[at] = SysAllocString(text);
    if (Strings(to)[at] == nullptr) return false;
  }
  return true;
}

}  // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) {
  if (host::InjectedFailure("SafeArrayCreate") || dimensions == 0 || bounds == nullptr) return nullptr;
  if (type == VT_EMPTY || type == VT_NULL || (type & VT_ARRAY) != 0) return nullptr;
  if (type != VT_BSTR && type != VT_I4) host::Unsupported("SafeArrayCreate", "elements other than VT_BSTR and VT_I4");
  if (dimensions > 1) host::Unsupported("SafeArrayCreate", "more than one dimension");
  auto* array = new (std::nothrow) SAFEARRAY{};
  if (array == nullptr) return nullptr;
  array->cDims = 1;
  array->fFeatures = FADF_HAVEVARTYPE | (type == VT_BSTR ? FADF_BSTR : 0);
  array->cbElements = type == VT_BSTR ? sizeof(BSTR) : sizeof(LONG);
  array->rgsabound[0] = bounds[0];
  array->pvData = NewElements(bounds[0].cElements, array->cbElements);
  if (array->pvData == nullptr) {
    delete array;
    return nullptr;
  }
  ++liveArrays;
  return array;
}

HRESULT SafeArrayRedim(SAFEARRAY* array, SAFEARRAYBOUND* bound) {
  if (const auto code = host::InjectedFailure("SafeArrayRedim")) return static_cast<HRESULT>(*code);
  if (array == nullptr || bound == nullptr) return E_INVALIDARG;
  if (array->cLocks > 0) return DISP_E_ARRAYISLOCKED;
  void* data = NewElements(bound->cElements, array->cbElements);
  if (data == nullptr) return E_OUTOFMEMORY;
  const std::size_t kept = std::min(array->rgsabound[0].cElements, bound->cElements);
  std::memcpy(data, array->pvData, kept * array->cbElements);
  FreeStrings(*array, kept);
  operator delete(array->pvData);
  array->pvData = data;
  array->rgsabound[0] = *bound;
  return S_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* array) {
  if (const auto code = host::InjectedFailure("SafeArrayLock")) return static_cast<HRESULT>(*code);
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == std::numeric_limits<std::uint16_t>::max()) return E_UNEXPECTED;
  ++array->cLocks;
  return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* array) {
  if (array == nullptr) return E_INVALIDARG;
  if (array->cLocks == 0) return E_UNEXPECTED;
  --array->cLocks;
  return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) {
  if (copy == nullptr) return E_INVALIDARG;
  *copy = nullptr;
  if (const auto code = host::InjectedFailure("SafeArrayCopy")) return static_cast<HRESULT>(*code);
  if (array == nullptr) return E_INVALIDARG;
  VARTYPE type = VT_EMPTY;
  SafeArrayGetVartype(array, &type);
  SAFEARRAY* made = SafeArrayCreate(type, 1, array->rgsabound);
  if (made == nullptr) return E_OUTOFMEMORY;
  if (!CopyElements(*array, *made)) {
    SafeArrayDestroy(made);
    return E_OUTOFMEMORY;
  }
  *copy = made;
  return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) {
  if (array == nullptr || type == nullptr) return E_INVALIDARG;
  *type = HoldsStrings(*array) ? VT_BSTR : VT_I4;
  return S_OK;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) {
  if (array == nullptr) return S_OK;
  if (array->cLocks > 0) return DISP_E_ARRAYISLOCKED;
  FreeStrings(*array, 0);
  operator delete(array->pvData);
  delete array;
  --liveArrays;
  return S_OK;
}

namespace host {

int LiveArrays() {
  return liveArrays;
}

}  // namespace host
