#include "tasks/task_parameters.h"

#include "common/format.h"
#include "platform/errors.h"
#include "tasks/automation_failure.h"

namespace Quorvex::PC::Hkd04a7 {
namespace {

using UniqueSafeArray = Common::UniqueResource<Common::NullableCloser<SAFEARRAY*, SafeArrayDestroy>>;

constexpr ULONG kParameterCount = 3;

void ThrowIfFailed(HRESULT result) {
  if (FAILED(result)) throw AutomationFailure(result);
}

UniqueBstr MakeDecimal(std::uint32_t number) {
  WCHAR text[20];
  Common::Format(text, W("%u"), number);
  return MakeBstr(text);
}

// An array that is locked cannot be destroyed.
class ArrayLock {
 public:
  explicit ArrayLock(SAFEARRAY* array) : array_(array) { ThrowIfFailed(SafeArrayLock(array)); }
  ~ArrayLock() { SafeArrayUnlock(array_); }
  ArrayLock(const ArrayLock&) = delete;
  ArrayLock& operator=(const ArrayLock&) = delete;

  // The element belongs to the array.
  BSTR& operator[](ULONG index) { return static_cast<BSTR*>(array_->pvData)[index]; }

 private:
  SAFEARRAY* array_;
};

UniqueSafeArray MakeArray(const TaskParameters& parameters) {
  SAFEARRAYBOUND bound{kParameterCount, 0};
  UniqueSafeArray array(SafeArrayCreate(VT_BSTR, 1, &bound));
  if (!array) throw AutomationFailure(E_OUTOFMEMORY);
  ArrayLock elements(array.Get());
  elements[0] = MakeBstr(parameters.eventId.Get()).Release();
  elements[1] = MakeBstr(parameters.data1.Get()).Release();
  elements[2] = MakeBstr(parameters.data2.Get()).Release();
  return array;
}

}  // namespace

UniqueBstr MakeBstr(const WCHAR* text) {
  UniqueBstr copy(SysAllocString(text));
  if (!copy) throw AutomationFailure(E_OUTOFMEMORY);
  return copy;
}

TaskParameters MakeTaskParameters(std::uint32_t eventId, std::uint32_t data1, std::uint32_t data2) {
  return {MakeDecimal(eventId), MakeDecimal(data1), MakeDecimal(data2)};
}

TaskParameterArray::TaskParameterArray(const TaskParameters& parameters) {
  const UniqueSafeArray array = MakeArray(parameters);
  VARTYPE elementType = VT_EMPTY;
  ThrowIfFailed(SafeArrayGetVartype(array.Get(), &elementType));
  SAFEARRAY* copy = nullptr;
  ThrowIfFailed(SafeArrayCopy(array.Get(), &copy));
  VariantInit(&variant_);
  variant_.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
  variant_.parray = copy;
}

TaskParameterArray::~TaskParameterArray() {
  VariantClear(&variant_);
}

}  // namespace Quorvex::PC::Hkd04a7
