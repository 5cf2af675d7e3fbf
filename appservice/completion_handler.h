// What every completion handler of an asynchronous operation has in common: it counts its references, may be called
// from any apartment, and has one chance to go on.
#pragma once

#include <atomic>

#include "platform/errors.h"
#include "platform/runtime.h"

namespace Quorvex::PC::Hkd04a7 {

// A handler with the interface `Interface`, identified by `Identity`; derived classes add Invoke. Made by new with one
// reference, which is its maker's; the last Release deletes it, on whatever thread.
template <typename Interface, const IID& Identity>
class CompletionHandler : public Interface {
 public:
  CompletionHandler() = default;
  CompletionHandler(const CompletionHandler&) = delete;
  CompletionHandler& operator=(const CompletionHandler&) = delete;

  // Whether the caller is the first to ask. Invoke asks before it does anything, and so does whoever wants to report
  // that the handler could not be attached: an operation may call it and then answer with a failure.
  bool Claim() { return !claimed_.exchange(true); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) final {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, Identity) && !IsEqualIID(iid, IID_IAgileObject)) {
      return E_NOINTERFACE;
    }
    // The agile interface has no methods of its own.
    *object = static_cast<Interface*>(this);
    AddRef();
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() final { return ++references_; }

  ULONG STDMETHODCALLTYPE Release() final {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~CompletionHandler() = default;

 private:
  std::atomic<ULONG> references_ = 1;
  std::atomic<bool> claimed_ = false;
};

}  // namespace Quorvex::PC::Hkd04a7
