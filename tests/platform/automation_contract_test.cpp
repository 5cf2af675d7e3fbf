// Contract: who owns what in variants, strings and arrays of COM automation.
#include "platform/automation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/errors.h"

namespace {

SAFEARRAY* NewArray(const std::vector<WideString>& texts) {
  SAFEARRAYBOUND bound = {static_cast<ULONG>(texts.size()), 0};
  SAFEARRAY* array = SafeArrayCreate(VT_BSTR, 1, &bound);
  auto** elements = static_cast<BSTR*>(array->pvData);
  for (std::size_t i = 0; i < texts.size(); ++i) elements[i] = SysAllocString(texts[i].c_str());
  return array;
}

std::vector<WideString> Texts(SAFEARRAY* array) {
  std::vector<WideString> texts;
  if (FAILED(SafeArrayLock(array))) return texts;
  auto** elements = static_cast<BSTR*>(array->pvData);
  for (ULONG i = 0; i < array->rgsabound[0].cElements; ++i)
    texts.emplace_back(elements[i] == nullptr ? W("(null)") : elements[i], SysStringLen(elements[i]));
  SafeArrayUnlock(array);
  return texts;
}

TEST(Automation, AStringIsACopyWithItsLength) {
  WCHAR source[] = W("1073741824");
  const BSTR text = SysAllocString(source);
  source[0] = W('x');
  EXPECT_EQ(WideStringView(text), W("1073741824"));
  EXPECT_EQ(SysStringLen(text), 10u);
  SysFreeString(text);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST(Automation, ACopyOwnsItsStrings) {
  SAFEARRAY* array = NewArray({W("32"), W("")});
  VARTYPE type = VT_EMPTY;
  EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
  EXPECT_EQ(type, VT_BSTR);
  EXPECT_EQ(SafeArrayLock(array), S_OK);
  SAFEARRAY* copy = nullptr;
  ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
  EXPECT_EQ(copy->cLocks, 0u);
  static_cast<BSTR*>(array->pvData)[0][0] = W('x');
  EXPECT_EQ(SafeArrayUnlock(array), S_OK);
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
  EXPECT_EQ(Texts(copy), (std::vector<WideString>{W("32"), W("")}));
  EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
}

TEST(Automation, ALockedArrayIsNeitherDestroyedNorResized) {
  SAFEARRAY* array = NewArray({W("1")});
  SAFEARRAYBOUND bound = {2, 0};
  EXPECT_EQ(SafeArrayLock(array), S_OK);
  EXPECT_EQ(SafeArrayLock(array), S_OK);
  EXPECT_EQ(SafeArrayUnlock(array), S_OK);
  EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayRedim(array, &bound), DISP_E_ARRAYISLOCKED);
  VARIANT holder;
  VariantInit(&holder);
  holder.vt = VT_ARRAY | VT_BSTR;
  holder.parray = array;
  EXPECT_EQ(VariantClear(&holder), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayUnlock(array), S_OK);
  EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
  EXPECT_EQ(Texts(array), std::vector<WideString>{W("1")});
  EXPECT_EQ(VariantClear(&holder), S_OK);
  EXPECT_EQ(holder.vt, VT_EMPTY);
}

TEST(Automation, ResizingKeepsElementsAndFreesWhatGoes) {
  SAFEARRAY* array = NewArray({W("a"), W("b"), W("c")});
  SAFEARRAYBOUND fewer = {1, 0};
  SAFEARRAYBOUND more = {3, 5};
  EXPECT_EQ(SafeArrayRedim(array, &fewer), S_OK);
  EXPECT_EQ(SafeArrayRedim(array, &more), S_OK);
  EXPECT_EQ(array->rgsabound[0].lLbound, 5);
  EXPECT_EQ(SysStringLen(static_cast<BSTR*>(array->pvData)[1]), 0u);
  EXPECT_EQ(Texts(array).front(), W("a"));
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
  EXPECT_EQ(SafeArrayRedim(nullptr, &more), E_INVALIDARG);
  EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
}

TEST(Automation, ClearingAVariantFreesItAndLeavesItEmpty) {
  VARIANT text;
  VariantInit(&text);
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(W("text"));
  EXPECT_EQ(VariantClear(&text), S_OK);
  EXPECT_EQ(text.vt, VT_EMPTY);
  EXPECT_EQ(VariantClear(&text), S_OK);
  text.vt = 0x0FFE;
  EXPECT_EQ(VariantClear(&text), DISP_E_BADVARTYPE);
}

}  // namespace
