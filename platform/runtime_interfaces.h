// The runtime's interfaces that this code uses, declared once for both builds: the tool chain's own headers lack some
// and have wrong identities for others.
//
// Methods stand in the order of the binary contract. Some interfaces are declared up to the last method that is used,
// so they are there to be called; what the runtime calls (the handlers) is whole. Every result that is an interface
// carries a reference, every HSTRING result is the caller's to delete; on failure results are null. Objects may be
// called from any thread.
#pragma once

#include "platform/identity_text.h"

namespace Runtime {

// Where an asynchronous operation stands.
enum class AsyncStatus : int { Started = 0, Completed = 1, Canceled = 2, Error = 3 };

inline constexpr IID IID_IAsyncInfo = IdentityOf("00000036-0000-0000-c000-000000000046");
struct IAsyncInfo : public IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_Id(UINT32* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Status(AsyncStatus* status) = 0;
  // What an operation in state Error failed with; S_OK otherwise.
  virtual HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) = 0;
  // Asks a started operation to end as Canceled; nothing happens to any other.
  virtual HRESULT STDMETHODCALLTYPE Cancel() = 0;
  // Drops the result. E_ILLEGAL_STATE_CHANGE (0x8000000D) before completion.
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;

 protected:
  ~IAsyncInfo() = default;
};

template <typename Result>
struct IAsyncOperation;

// Called once by the runtime, on any of its threads, when `operation` has ended with `status`. `operation` is lent.
template <typename Result>
struct IAsyncOperationCompletedHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(IAsyncOperation<Result>* operation, AsyncStatus status) = 0;

 protected:
  ~IAsyncOperationCompletedHandler() = default;
};

// An operation that ends with a Result, as the binary contract has it (an interface pointer for a class).
template <typename Result>
struct IAsyncOperation : public IInspectable {
  // Takes a reference on `handler` until it has been called; an operation that has ended calls it at once, on a thread
  // of the pool. A second one fails with E_ILLEGAL_DELEGATE_ASSIGNMENT (0x80000018).
  virtual HRESULT STDMETHODCALLTYPE put_Completed(IAsyncOperationCompletedHandler<Result>* handler) = 0;
  // The handler, or null when none has been put.
  virtual HRESULT STDMETHODCALLTYPE get_Completed(IAsyncOperationCompletedHandler<Result>** handler) = 0;
  // E_ILLEGAL_METHOD_CALL (0x8000000E) before completion; the operation's error when it ended with one.
  virtual HRESULT STDMETHODCALLTYPE GetResults(Result* results) = 0;

 protected:
  ~IAsyncOperation() = default;
};

// IMap<HSTRING, IInspectable>.
inline constexpr IID IID_IStringMap = IdentityOf("1b0d3570-0877-5ec2-8a2c-3b9539506aca");
struct IStringMap : public IInspectable {
  // E_BOUNDS (0x8000000B) for a key that is not there.
  virtual HRESULT STDMETHODCALLTYPE Lookup(HSTRING key, IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) = 0;
  virtual HRESULT STDMETHODCALLTYPE HasKey(HSTRING key, boolean* found) = 0;
  // A snapshot of the map.
  virtual HRESULT STDMETHODCALLTYPE GetView(IInspectable** view) = 0;
  // Takes a reference on `value`. Whether there was a value of that key, which is gone then.
  virtual HRESULT STDMETHODCALLTYPE Insert(HSTRING key, IInspectable* value, boolean* replaced) = 0;

 protected:
  ~IStringMap() = default;
};

// Has no methods of its own; its objects have IStringMap too.
inline constexpr IID IID_IPropertySet = IdentityOf("8a43ed9f-f4e6-4421-acf9-1dab2986820c");
struct IPropertySet : public IInspectable {
 protected:
  ~IPropertySet() = default;
};

inline constexpr IID IID_IPropertyValueStatics = IdentityOf("629bdbc8-d932-4ff4-96b9-8d96c5c1e858");
struct IPropertyValueStatics : public IInspectable {
  virtual HRESULT STDMETHODCALLTYPE CreateEmpty(IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateUInt8(BYTE number, IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateInt16(INT16 number, IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateUInt16(UINT16 number, IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateInt32(INT32 number, IInspectable** value) = 0;
  virtual HRESULT STDMETHODCALLTYPE CreateUInt32(UINT32 number, IInspectable** value) = 0;

 protected:
  ~IPropertyValueStatics() = default;
};

// What a boxed value answers.
enum class PropertyType : int { Empty = 0, UInt8 = 1, Int16 = 2, UInt16 = 3, Int32 = 4, UInt32 = 5 };
inline constexpr IID IID_IPropertyValue = IdentityOf("4bd682dd-7554-40e9-9a9b-82654ede7e62");
struct IPropertyValue : public IInspectable {
  virtual HRESULT STDMETHODCALLTYPE get_Type(PropertyType* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsNumericScalar(boolean* numeric) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetUInt8(BYTE* number) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetInt16(INT16* number) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetUInt16(UINT16* number) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetInt32(INT32* number) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetUInt32(UINT32* number) = 0;

 protected:
  ~IPropertyValue() = default;
};

inline constexpr WCHAR kValueSetClass[] = W("Windows.Foundation.Collections.ValueSet");
inline constexpr WCHAR kPropertyValueClass[] = W("Windows.Foundation.PropertyValue");

}  // namespace Runtime
