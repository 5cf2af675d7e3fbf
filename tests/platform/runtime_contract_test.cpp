// Contract: the runtime's strings, and what activation answers for what is not there.
#include <gtest/gtest.h>

#include <thread>

#include "platform/errors.h"
#include "platform/runtime.h"

namespace {

WideStringView TextIn(HSTRING string) {
  UINT32 length = 0;
  const PCWSTR text = WindowsGetStringRawBuffer(string, &length);
  EXPECT_EQ(text[length], 0);
  return {text, length};
}

const HSTRING kNotAString = reinterpret_cast<HSTRING>(static_cast<ULONG_PTR>(1));

TEST(RuntimeStrings, AStringIsACopyAndTheEmptyOneIsNull) {
  WCHAR text[] = W("ab\0cd");
  HSTRING string = kNotAString;
  ASSERT_EQ(WindowsCreateString(text, 5, &string), S_OK);
  text[0] = W('x');
  EXPECT_EQ(TextIn(string), WideStringView(W("ab\0cd"), 5));
  EXPECT_EQ(WindowsGetStringLen(string), 5u);
  HSTRING copy = nullptr;
  ASSERT_EQ(WindowsDuplicateString(string, &copy), S_OK);
  EXPECT_EQ(WindowsDeleteString(string), S_OK);
  EXPECT_EQ(TextIn(copy), WideStringView(W("ab\0cd"), 5));
  EXPECT_EQ(WindowsDeleteString(copy), S_OK);

  EXPECT_EQ(WindowsCreateString(text, 0, &string), S_OK);
  EXPECT_EQ(string, nullptr);
  EXPECT_EQ(WindowsCreateString(nullptr, 0, &string), S_OK);
  EXPECT_EQ(TextIn(nullptr), W(""));
  EXPECT_EQ(WindowsDeleteString(nullptr), S_OK);
  copy = kNotAString;
  EXPECT_EQ(WindowsDuplicateString(nullptr, &copy), S_OK);
  EXPECT_EQ(copy, nullptr);
}

TEST(RuntimeStrings, AReferenceIsOverItsMakersTextAndACopyOfItIsNot) {
  WCHAR text[] = W("name");
  HSTRING_HEADER header;
  HSTRING string = nullptr, copy = nullptr;
  ASSERT_EQ(WindowsCreateStringReference(text, 4, &header, &string), S_OK);
  EXPECT_EQ(WindowsGetStringRawBuffer(string, nullptr), text);
  ASSERT_EQ(WindowsDuplicateString(string, &copy), S_OK);
  text[0] = W('g');
  EXPECT_EQ(TextIn(string), W("game"));
  EXPECT_EQ(TextIn(copy), W("name"));
  EXPECT_EQ(WindowsDeleteString(string), S_OK);
  EXPECT_EQ(WindowsDeleteString(copy), S_OK);
  EXPECT_EQ(WindowsCreateStringReference(nullptr, 0, &header, &string), S_OK);
  EXPECT_EQ(string, nullptr);
}

TEST(RuntimeStrings, WhatIsMissingIsAnError) {
  HSTRING_HEADER header;
  HSTRING string = nullptr;
  EXPECT_EQ(WindowsCreateString(W("a"), 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(WindowsCreateString(nullptr, 1, &string), E_POINTER);
  EXPECT_EQ(WindowsCreateStringReference(nullptr, 1, &header, &string), E_POINTER);
  EXPECT_EQ(WindowsCreateStringReference(W("ab"), 1, &header, &string), E_INVALIDARG);  // not terminated there
  EXPECT_EQ(WindowsCreateStringReference(W("a"), 1, nullptr, &string), E_INVALIDARG);
  EXPECT_EQ(WindowsCreateStringReference(W("a"), 1, &header, nullptr), E_INVALIDARG);
  EXPECT_EQ(WindowsDuplicateString(nullptr, nullptr), E_INVALIDARG);
}

HRESULT ActivateByName(WideStringView name) {
  HSTRING_HEADER header;
  HSTRING string = nullptr;
  EXPECT_EQ(WindowsCreateStringReference(name.data(), static_cast<UINT32>(name.size()), &header, &string), S_OK);
  IInspectable* object = nullptr;
  const HRESULT result = RoActivateInstance(string, &object);
  EXPECT_EQ(object, nullptr);
  void* factory = nullptr;
  EXPECT_EQ(RoGetActivationFactory(string, IID_IUnknown, &factory), result);
  EXPECT_EQ(factory, nullptr);
  return result;
}

TEST(RuntimeActivation, NeedsARegisteredClass) {
  ASSERT_EQ(RoInitialize(RO_INIT_MULTITHREADED), S_OK);
  EXPECT_EQ(ActivateByName(W("Sample.NoSuchClass")), REGDB_E_CLASSNOTREG);
  // A thread that has joined none is in the multithreaded apartment while there is one.
  std::thread([] { EXPECT_EQ(ActivateByName(W("Sample.NoSuchClass")), REGDB_E_CLASSNOTREG); }).join();
  RoUninitialize();
}

TEST(RuntimeActivation, NeedsAnApartment) {
  EXPECT_EQ(ActivateByName(W("Sample.NoSuchClass")), CO_E_NOTINITIALIZED);
}

TEST(RuntimeActivation, JoiningCountsTogetherWithCom) {
  std::thread([] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(RoInitialize(RO_INIT_MULTITHREADED), S_FALSE);
    EXPECT_EQ(RoInitialize(RO_INIT_SINGLETHREADED), RPC_E_CHANGED_MODE);
    RoUninitialize();
    CoUninitialize();
    EXPECT_EQ(RoInitialize(RO_INIT_SINGLETHREADED), S_OK);
    RoUninitialize();
  }).join();
}

}  // namespace
