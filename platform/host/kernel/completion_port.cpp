#include "platform/host/kernel/completion_port.h"

#include <condition_variable>
#include <deque>
#include <mutex>

#include "platform/host/base/error_codes.h"
#include "platform/host/base/fault_injection.h"
#include "platform/host/base/last_error.h"
#include "platform/host/base/unsupported.h"
#include "platform/host/kernel/handle_table.h"

namespace {

struct Packet {
  DWORD bytes;
  ULONG_PTR key;
  LPOVERLAPPED overlapped;
};

class CompletionPort : public host::KernelObject {
 public:
  const char* Kind() const override { return "completion port"; }

  void OnLastHandleClosed() override {
    std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  void Post(const Packet& packet) {
    std::lock_guard lock(mutex_);
    packets_.push_back(packet);
    changed_.notify_one();
  }

  // 0 with the oldest packet, or the code to fail with.
  DWORD Take(const host::Deadline& deadline, Packet* packet) {
    std::unique_lock lock(mutex_);
    const auto ready = [this] { return closed_ || !packets_.empty(); };
    while (!ready()) {
      if (!deadline) {
        changed_.wait(lock);
      } else if (host::MonotonicNow() >= *deadline) {
        return WAIT_TIMEOUT;
      } else {
        changed_.wait_until(lock, host::BlockUntil(*deadline));
      }
    }
    if (closed_) return ERROR_ABANDONED_WAIT_0;
    *packet = packets_.front();
    packets_.pop_front();
    return ERROR_SUCCESS;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Packet> packets_;
  bool closed_ = false;
};

}  // namespace

HANDLE CreateIoCompletionPort(HANDLE file, HANDLE existingPort, ULONG_PTR, DWORD) {
  const auto injected = host::InjectedFailure("CreateIoCompletionPort");
  if (!injected && file != INVALID_HANDLE_VALUE) host::Unsupported("CreateIoCompletionPort", "a file handle");
  if (injected || existingPort) {
    SetLastError(injected.value_or(ERROR_INVALID_PARAMETER));
    return nullptr;
  }
  return host::OpenHandle(std::make_shared<CompletionPort>(), 0);
}

BOOL PostQueuedCompletionStatus(HANDLE port, DWORD bytes, ULONG_PTR key, LPOVERLAPPED overlapped) {
  if (const auto code = host::InjectedFailure("PostQueuedCompletionStatus")) return host::FailWith(*code);
  const auto object = host::ObjectOf<CompletionPort>(port, 0);
  if (object) object->Post({bytes, key, overlapped});
  return object != nullptr;
}

BOOL GetQueuedCompletionStatus(HANDLE port, LPDWORD bytes, ULONG_PTR* key, LPOVERLAPPED* overlapped,
                               DWORD milliseconds) {
  *overlapped = nullptr;
  if (const auto code = host::InjectedFailure("GetQueuedCompletionStatus")) return host::FailWith(*code);
  const auto object = host::ObjectOf<CompletionPort>(port, 0);
  if (!object) return FALSE;
  Packet packet{};
  if (const DWORD code = object->Take(host::DeadlineAfter(milliseconds), &packet)) return host::FailWith(code);
  *bytes = packet.bytes;
  *key = packet.key;
  *overlapped = packet.overlapped;
  return TRUE;
}
