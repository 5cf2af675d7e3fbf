// Asynchronous operations: an object that somebody waits on, and that somebody else finishes.
#pragma once

#include <functional>
#include <mutex>
#include <utility>

#include "platform/host/runtime/pool_work.h"
#include "platform/host/runtime/reference.h"
#include "platform/host/runtime/runtime_object.h"

namespace host::runtime {

// How a result is kept, and handed out.
template <typename Result>
struct KeptResult {
  using Type = Result;
  static Result HandOut(const Type& kept) { return kept; }
};
template <typename Interface>
struct KeptResult<Interface*> {
  using Type = Reference<Interface>;
  static Interface* HandOut(const Type& kept) { return Type(kept).Detach(); }
};

// Where the handler of a finished operation may be called.
enum class CallOn {
  kThisThread,  // one of the pool, with no lock held
  kPool,
};

// Finished once, by the first of Finish and Cancel; its handler is called exactly once if one is put, before or after.
template <typename Result, const IID& Identity>
class AsyncOperation final : public RuntimeObject<Has<Runtime::IAsyncOperation<Result>, Identity>,
                                                  Has<Runtime::IAsyncInfo, Runtime::IID_IAsyncInfo>> {
 public:
  using Status = Runtime::AsyncStatus;
  using Handler = Runtime::IAsyncOperationCompletedHandler<Result>;
  using Kept = KeptResult<Result>;

  explicit AsyncOperation(std::u16string_view className) : className_(className) {}

  // Called when it is cancelled, on that thread; forgotten when it has finished. Set before anybody else knows it.
  void OnCancel(std::function<void()> action) { onCancel_ = std::move(action); }

  // False when it had ended already; then the result is not taken.
  bool Finish(typename Kept::Type result, CallOn where) {
    return End(Status::Completed, S_OK, std::move(result), where);
  }
  // Ends it with what it failed with, one that says "cancelled" as Canceled.
  bool Fail(HRESULT error, CallOn where) {
    const bool cancelled = error == HRESULT_FROM_WIN32(ERROR_CANCELLED);
    return End(cancelled ? Status::Canceled : Status::Error, error, {}, where);
  }

  HRESULT STDMETHODCALLTYPE put_Completed(Handler* handler) override {
    if (!handler) return E_POINTER;
    return Method("IAsyncOperation.put_Completed", [&] { return PutHandler(handler); });
  }

  HRESULT STDMETHODCALLTYPE get_Completed(Handler** handler) override {
    if (!handler) return E_POINTER;
    const std::lock_guard lock(mutex_);
    *handler = Reference<Handler>(handler_).Detach();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetResults(Result* results) override {
    if (!results) return E_POINTER;
    *results = {};
    return Method("IAsyncOperation.GetResults", [&] {
      const std::lock_guard lock(mutex_);
      if (closed_ || status_ == Status::Started) return E_ILLEGAL_METHOD_CALL;
      if (status_ == Status::Completed) *results = Kept::HandOut(result_);
      return error_;
    });
  }

  HRESULT STDMETHODCALLTYPE get_Id(UINT32*) override { Unsupported("IAsyncInfo::get_Id", "any"); }

  HRESULT STDMETHODCALLTYPE get_Status(Status* status) override {
    if (!status) return E_POINTER;
    const std::lock_guard lock(mutex_);
    if (closed_) return E_ILLEGAL_METHOD_CALL;
    *status = status_;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* errorCode) override {
    if (!errorCode) return E_POINTER;
    const std::lock_guard lock(mutex_);
    if (closed_) return E_ILLEGAL_METHOD_CALL;
    *errorCode = status_ == Status::Error ? error_ : S_OK;
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Cancel() override {
    return Method("IAsyncInfo.Cancel", [&] {
      std::function<void()> action;
      {
        const std::lock_guard lock(mutex_);
        if (closed_) return E_ILLEGAL_METHOD_CALL;
        if (status_ == Status::Started) action = onCancel_;
      }
      Fail(HRESULT_FROM_WIN32(ERROR_CANCELLED), CallOn::kPool);
      if (action) action();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE Close() override {
    typename Kept::Type result{};
    const std::lock_guard lock(mutex_);
    if (status_ == Status::Started) return E_ILLEGAL_STATE_CHANGE;
    closed_ = true;
    std::swap(result, result_);
    return S_OK;
  }

 private:
  std::u16string_view ClassName() const override { return className_; }

  HRESULT PutHandler(Handler* handler) {
    const std::lock_guard lock(mutex_);
    if (closed_) return E_ILLEGAL_METHOD_CALL;
    if (handlerWasPut_) return E_ILLEGAL_DELEGATE_ASSIGNMENT;
    if (status_ == Status::Started) {
      handler_ = Reference<Handler>(handler);
    } else if (!CallFromPool(Reference<Handler>(handler), status_)) {
      return E_OUTOFMEMORY;
    }
    handlerWasPut_ = true;
    return S_OK;
  }

  bool End(Status status, HRESULT error, typename Kept::Type result, CallOn where) {
    Reference<Handler> handler;
    std::function<void()> onCancel;  // what it holds goes after the lock has been left
    {
      const std::lock_guard lock(mutex_);
      if (status_ != Status::Started) return false;
      status_ = status;
      error_ = error;
      result_ = std::move(result);
      handler = std::move(handler_);
      onCancel.swap(onCancel_);
    }
    // A handler is never left out: without a thread of the pool it is called here.
    if (handler && (where == CallOn::kThisThread || !CallFromPool(handler, status))) handler->Invoke(this, status);
    return true;
  }

  bool CallFromPool(Reference<Handler> handler, Status status) {
    try {
      return RunOnPool([self = Reference<AsyncOperation>(this), handler = std::move(handler), status] {
        handler->Invoke(self.Get(), status);
      });
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  const std::u16string_view className_;
  std::mutex mutex_;
  Status status_ = Status::Started;  // and all below: guarded by mutex_
  HRESULT error_ = S_OK;
  typename Kept::Type result_{};
  Reference<Handler> handler_;
  bool handlerWasPut_ = false;
  bool closed_ = false;
  std::function<void()> onCancel_;
};

}  // namespace host::runtime
